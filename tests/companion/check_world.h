// CheckWorld: a MediaWorld for kvl-media, and what it says as a transcript.
#pragma once

#include "tests/insio/surroundings.h"
#include "tests/support/media_world.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

using Lines = std::vector<std::string>;

class CheckWorld : public MediaWorld {
 public:
  /// Begins with these changes.
  explicit CheckWorld(const std::string& steps = {}) { Change(steps); }

  /// A volume with an installer, description files and start scripts that can be executed, but start
  /// no launcher.
  VolumeBuilder FirstVolume(const std::string& name);
  /// A media in "1" with an installer, and the second of its two volumes in "2".
  CheckWorld& TwoVolumes();

  /// Changes what is there, in steps apart by "; ":
  ///   two volumes; first NAME; installer NAME       TwoVolumes, FirstVolume, an installer in NAME
  ///   starter                                       StartTUI.sh of {1} starts a launcher in {1}
  ///   NAME: volumes=3 1=SET-A                       MediaWorld::Make
  ///   file NAME TEXT                                keeps the mode of a file that is there
  ///   dir NAME; pipe NAME; socket NAME; link NAME TARGET      in place of what is there
  ///   mode 644 NAME; remove NAME; move NAME NAME
  /// In names and texts, "\n", "\r", "\\" and "\xFF" are bytes. Only the last word may hold blanks.
  CheckWorld& Change(const std::string& steps);

  /// Runs kvl-media with these arguments and exactly this environment. Texts as in MediaWorld.
  Outcome Companion(const Lines& arguments, const Environment& env = {},
                    const std::function<void()>& before = {}) const;

  /// Runs it in this process, as it is, which costs less than loading a program.
  static Outcome CompanionHere(const Lines& arguments);

  /// Checks the media in {1} as a launcher would be started by MediaWorld::Launch.
  Outcome Check(const Lines& further = {}, const Environment& env = {},
                const std::function<void()>& before = {}) const;

  /// The same by a line of words, in which "''" stands for an empty one and "\x20" for a blank:
  /// "without-rights", "noexec" of {1} or "older-container", which refuses a new system call, "umask-077";
  /// variables; arguments. With "check" in front of the arguments they are all that is given, but for `options`.
  Outcome CheckBy(const std::string& line, const Lines& options = {}) const;

  /// Makes a media with the tag "T 1" of "payload" and the installer "setup".
  Outcome MakeMedia(const Lines& further = {}, const std::string& directory = "media",
                    const std::function<void()>& before = {}) const;

  /// Compares with what is said of a media made; `first` is its first volume in quotes, the last of
  /// which is left out.
  void ExpectMade(const Outcome& seen, const std::string& first,
                  const std::string& layout = "single", int volumes = 1) const;

  /// Compares what a check said with a report, in which numbers of bytes are written as "<n>", and
  /// the status with its last line. Texts as in MediaWorld.
  void ExpectReport(const Outcome& seen, const std::string& report) const;

  /// Compares with a refusal: one line on standard error, behind the name of the program.
  void ExpectRefused(const Outcome& seen, const std::string& line, int status = 2) const;
  /// Makes a media, which is refused and leaves everything as it is.
  void ExpectRefusedAndUntouched(const Lines& further, const std::string& line) const;

 private:
  void Step(const std::string& step);
};

/// A row of a table of checks: a line "# Name: given", then maybe "$ call", then what is said that
/// differs from the usual of the section, see Report. Sections begin with "= what the media is".
struct Transcript {
  std::string name, steps, given, call, usual, differing;
};
/// For the test's framework.
void PrintTo(const Transcript& transcript, std::ostream* stream);
std::string NameOf(const testing::TestParamInfo<Transcript>& row);

/// kvl-media check of TwoVolumes says what the transcript does.
class CheckFinds : public testing::TestWithParam<Transcript> {};

/// All transcripts of a text, each with the steps of its section and the usual report.
std::vector<Transcript> ReadTranscripts(const std::string& text);

/// What is said of TwoVolumes with a problem.
extern const char kInPlace[];
/// Of the same media when it has "2: 2=SET-B", must be staged therefore, and cannot be.
extern const char kStaged[];

/// A report of which only those parts are given that differ from the usual one: "Media", "System",
/// "Installer", "Volumes", "Start", the last line. Findings, and volumes given first, are added to the
/// usual ones. A text that begins with "Media" is whole.
std::string Report(const std::string& usual, const std::string& differing);

/// Compares the findings, the end and the status of a report for programs with those of a text.
void ExpectTheSame(const Outcome& json, const Outcome& text);

/// To be called in the child: nothing of the directory can be executed there.
void ForbidToExecute(const std::string& directory);

/// The numbers of bytes, which depend on the machine, written as "<n>".
std::string WithoutBytes(const std::string& text);
/// What is free in a report for programs, which depends on the machine, written as 0.
std::string WithoutFreeBytes(const std::string& json);

}  // namespace kvl::test
