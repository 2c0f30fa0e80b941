// Laws: what holds for every input. Each is checked for one input at a time, so that random cases,
// fuzzing and stored inputs can all use the same ones. What the product gives is compared with a slow
// model of it, which is written in another way on purpose.
#pragma once

#include "tests/models/scan_table.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Thrown when a law does not hold. Ends a fuzzer, fails a test.
class LawBroken : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

inline void Require(bool holds, std::string_view law) {
  if (!holds) throw LawBroken(std::string(law));
}

template <typename Value>
void RequireEqual(std::string_view what, const Value& seen, const Value& expected) {
  if (seen == expected) return;
  throw LawBroken(std::string(what) + "\n  seen:     " + testing::PrintToString(seen) +
                  "\n  expected: " + testing::PrintToString(expected));
}

// --- the command line (launcher/command_line.h) --------------------------------------------------

/// The arguments behind the program's own name; nothing stands for a null pointer.
using ArgumentList = std::vector<std::optional<std::string>>;

/// Every option, and words that look like one.
extern const std::vector<std::string> kCommandLineWords;

/// Makes a Launcher from the arguments, starting nothing, and compares all its fields, the
/// environment, what was said and the status.
void CheckCommandLineLaws(const ArgumentList& arguments);

// --- the environment (environment/environment.h) -------------------------------------------------

struct EnvironmentStep {
  bool is_backup = false;  ///< else the value is set
  std::string name = {};
  std::string value = {};
};

std::ostream& operator<<(std::ostream& stream, const EnvironmentStep& step);

/// Takes the steps one after the other and compares the whole environment after each.
void CheckEnvironmentLaws(const std::vector<EnvironmentStep>& steps);

// --- path values and path texts (insio/path.h, insio/path_text.h) --------------------------------

/// Of one path as a user may have typed it.
void CheckPathLaws(const std::string& typed);

/// Of two of them: joining, combining, comparing, leading from one to the other.
void CheckPathPairLaws(const std::string& one, const std::string& other);

// --- the media scan (media/volume_scan.h) --------------------------------------------------------

/// Makes everything of the table below `top`, which is the working directory of a relative media.
void MakeWorld(const ScanTable& table, const std::string& top);

/// Makes the table true in a directory below `directory`, scans it, and compares what that finds, says
/// and leaves behind. The working directory of the process changes for a while.
void CheckScanLaws(const ScanTable& table, const std::string& directory);

// --- splitting a command's text (console/command_split.h) ----------------------------------------

void CheckSplitLaws(const std::string& command);

/// Quoting the arguments and splitting the text gives them back, all but the empty ones. `choices`
/// decides, byte by byte, how each part is quoted; when it is used up, the first way is taken.
void CheckQuotingLaws(const std::vector<std::string>& arguments, const std::string& choices);

/// The installer's command arrives as it was put together where no quote and no backslash is in it.
void CheckInstallerCommandLaws(const std::vector<std::string>& texts);

// --- texts, and the files that hold them (console/text.h, media/marker.h, insio/replace_in_lines.h)

/// Of a text that may begin with a number.
void CheckNumberLaws(const std::string& text);

/// Of a text read line by line.
void CheckReadLineLaws(const std::string& contents);

void CheckReplaceAllLaws(const std::string& text, const std::string& what, const std::string& with,
                         std::size_t start);

/// Of a file with these contents, which lies in `directory` while it is looked at.
void CheckReplaceInLinesLaws(const std::string& directory, const std::string& contents,
                             const std::string& what, const std::string& with);

/// Of the same as a marker, and as "volumes.txt".
void CheckMarkerLaws(const std::string& directory, const std::string& contents);

}  // namespace kvl::test
