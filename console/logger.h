// Logger writes every message of the launcher; nothing else writes to the two console streams. A
// Logger that collects shows nothing.
//
// A message is one line or several; the later lines are indented. The Logger writes a message in
// one piece. It has no log file, no time stamp and no level filter.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

namespace kvl {

/// The level of a message, which determines its prefix and its stream.
enum MessageLevel : int {
  kContinuation = 0,  ///< seven blanks; the stream of the previous message
  kInformation = 1,   ///< " INFO: ", standard output
  kWarning = 2,       ///< " WARN: ", standard error
  kError = 3,         ///< "ERROR: ", standard error
};

/// The values of Message's `marked`.
inline constexpr bool kMarked = true;
inline constexpr bool kUnmarked = false;

class Logger {
 public:
  /// Writes to standard output and standard error.
  Logger() = default;
  /// Passes each message to `collect`, in the form in which a stream would get it.
  explicit Logger(std::function<void(std::string_view)> collect) : collect_(std::move(collect)) {}

  /// Writes the level's prefix, the text and a line feed. Puts seven blanks behind each line feed
  /// in the text, so a line feed at the text's end gives a last line of seven blanks. Writes the
  /// prefix alone for an empty text. Any other level counts as kContinuation. On purpose `marked`
  /// has no effect, but callers keep stating it.
  ///
  /// Reports no failed write: the text is lost, and the next message is written as usual. With
  /// SIGPIPE at its default, a reader that went away would end the process, so SignalScope blocks
  /// SIGPIPE. Does not copy a text that has room for eight more bytes, because a tag in it can be
  /// long.
  void Message(std::string text, int level, bool marked);

 private:
  std::function<void(std::string_view)> collect_;
  bool LogToErrorStream = false;  // the stream of the last message with its own level
};

}  // namespace kvl
