// Laws: statements that hold for every input. Each function checks one input, so that random cases,
// fuzzing and stored inputs can share the laws. It compares the product with a slow model, which is
// written in another way on purpose.
#pragma once

#include "tests/models/scan_table.h"
#include "tests/support/test.h"

namespace kvl::test {

/// Thrown if a law does not hold. Ends a fuzzer, fails a test.
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

/// The arguments behind the program's own name; nothing means a null pointer.
using ArgumentList = std::vector<std::optional<std::string>>;

/// Every option, and words that resemble one.
extern const std::vector<std::string> kCommandLineWords;

/// Constructs a Launcher from the arguments, starts nothing, and compares all fields, the
/// environment, the messages and the status.
void CheckCommandLineLaws(const ArgumentList& arguments);

// --- the environment (environment/environment.h) -------------------------------------------------

struct EnvironmentStep {
  bool is_backup = false;  ///< else the value is set
  std::string name = {};
  std::string value = {};
};

std::ostream& operator<<(std::ostream& stream, const EnvironmentStep& step);

/// Takes the steps in turn and compares the whole environment after each.
void CheckEnvironmentLaws(const std::vector<EnvironmentStep>& steps);

// --- path values and path texts (insio/path.h, insio/path_text.h) --------------------------------

/// Checks one path as a user may have typed it.
void CheckPathLaws(const std::string& typed);

/// Checks two such paths: joining, combining, comparing, and the relative path between them.
void CheckPathPairLaws(const std::string& one, const std::string& other);

// --- the media scan (media/volume_scan.h) --------------------------------------------------------

/// Creates everything in the table below `top`, which is the working directory of a relative media.
void MakeWorld(const ScanTable& table, const std::string& top);

/// Creates the table's files in a directory below `directory`, scans them, and compares the
/// results, messages and variables. Changes the working directory of the process for a while.
void CheckScanLaws(const ScanTable& table, const std::string& directory);

// --- splitting a command's text (console/command_split.h) ----------------------------------------

void CheckSplitLaws(const std::string& command);

/// Checks that quoting the arguments and splitting the text gives them back, except empty ones.
/// `choices` decides, byte by byte, how each part is quoted; at its end, the first way applies.
void CheckQuotingLaws(const std::vector<std::string>& arguments, const std::string& choices);

/// Checks that the installer's command arrives unchanged if it contains no quote and no backslash.
void CheckInstallerCommandLaws(const std::vector<std::string>& texts);

// --- texts and files of text (console/text.h, media/marker.h, insio/replace_in_lines.h) ----------

/// Checks a text that may begin with a number.
void CheckNumberLaws(const std::string& text);

/// Checks a text that is read line by line.
void CheckReadLineLaws(const std::string& contents);

void CheckReplaceAllLaws(const std::string& text, const std::string& what, const std::string& with,
                         std::size_t start);

/// Checks a file with these contents, which lies in `directory` meanwhile.
void CheckReplaceInLinesLaws(const std::string& directory, const std::string& contents,
                             const std::string& what, const std::string& with);

/// Checks the same file as a marker and as "volumes.txt".
void CheckMarkerLaws(const std::string& directory, const std::string& contents);

}  // namespace kvl::test
