// Logger: every message that the launcher shows, and the only writer to its two console streams.
// One that collects shows nothing.
//
// A message is one line, or several with the later ones indented under the first, written whole and
// at once. There is no log file, no time stamp, no level filter.
#pragma once

#include <functional>
#include <string_view>
#include <utility>

namespace kvl {

/// The level of a message: its prefix, and its stream.
enum MessageLevel : int {
  kContinuation = 0,  ///< seven blanks; the stream of the message before it
  kInformation = 1,   ///< " INFO: ", standard output
  kWarning = 2,       ///< " WARN: ", standard error
  kError = 3,         ///< "ERROR: ", standard error
};

/// The two values of Message's last argument.
inline constexpr bool kMarked = true;
inline constexpr bool kUnmarked = false;

class Logger {
 public:
  /// Writes to standard output and standard error.
  Logger() = default;
  /// Gives each message to `collect`, as it would be written to either stream.
  explicit Logger(std::function<void(std::string_view)> collect) : collect_(std::move(collect)) {}

  /// Writes the level's prefix, the text and a line feed. Each line feed inside the text is
  /// followed by seven blanks; one at the end of the text thus gives a last line of seven blanks.
  /// Any level but the four named ones counts as kContinuation. An empty text gives the prefix
  /// alone. `marked` has no effect, on purpose: callers keep stating it. A failed write is not
  /// reported; the text is lost and the next message is tried again. With SIGPIPE at its default a
  /// reader that went away ends the process, so the program ignores it.
  /// A text that has room for eight bytes more is not copied: a tag in it can be long.
  void Message(std::string text, int level, bool marked);

 private:
  std::function<void(std::string_view)> collect_;
  bool LogToErrorStream = false;  // where the last message with a level of its own went
};

}  // namespace kvl
