// CheckWorld: a MediaWorld for tests of kvl-media, and transcripts of its reports.
#pragma once

#include "tests/insio/surroundings.h"
#include "tests/support/media_world.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

using Lines = std::vector<std::string>;

class CheckWorld : public MediaWorld {
 public:
  /// Makes an empty world and applies Change.
  explicit CheckWorld(const std::string& steps = {}) { Change(steps); }

  /// Makes a volume with an installer, description files, and executable start scripts that start
  /// no launcher.
  VolumeBuilder FirstVolume(const std::string& name);
  /// Makes a media of two volumes: volume 1 with an installer in "1", volume 2 in "2".
  CheckWorld& TwoVolumes();

  /// Applies steps, separated by "; ":
  ///   two volumes; first NAME; installer NAME       TwoVolumes, FirstVolume, an installer in NAME
  ///   starter                                       StartTUI.sh of {1} starts a launcher in {1}
  ///   NAME: volumes=3 1=SET-A                       MediaWorld::Make
  ///   file NAME TEXT                                keeps the mode of an existing file
  ///   dir NAME; pipe NAME; socket NAME; link NAME TARGET      replaces an existing entry
  ///   mode 644 NAME; remove NAME; move NAME NAME
  /// In names and texts, "\n", "\r", "\\" and "\xFF" stand for bytes. Only the last word may
  /// contain blanks.
  CheckWorld& Change(const std::string& steps);

  /// Runs kvl-media with these arguments and exactly this environment, all of them a
  /// MediaWorld::Text.
  Outcome Companion(const Lines& arguments, const Environment& env = {},
                    const std::function<void()>& before = {}) const;

  /// Runs kvl-media in this process and its environment, which is faster than loading a program.
  static Outcome CompanionHere(const Lines& arguments);

  /// Checks the media in {1} for a launcher that MediaWorld::Launch starts.
  Outcome Check(const Lines& further = {}, const Environment& env = {},
                const std::function<void()>& before = {}) const;

  /// Does the same for a line of words, in which "''" stands for an empty word and "\x20" for a
  /// blank. The words are, in this order,
  ///   - conditions: "without-rights"; "noexec" for {1}; "older-container", which refuses a new
  ///     system call; "umask-077",
  ///   - variables,
  ///   - arguments; if the first one is "check", they replace all usual ones but `options`.
  Outcome CheckBy(const std::string& line, const Lines& options = {}) const;

  /// Makes a media with the tag "T 1" from "payload" and the installer "setup".
  Outcome MakeMedia(const Lines& further = {}, const std::string& directory = "media",
                    const std::function<void()>& before = {}) const;

  /// Compares with the message about a new media. `first` is its first volume with an opening
  /// quote, but without the closing one.
  void ExpectMade(const Outcome& seen, const std::string& first,
                  const std::string& layout = "single", int volumes = 1) const;

  /// Compares the output of a check with a report that has "<n>" for numbers of bytes, and the
  /// status with the last line of the report, which is a MediaWorld::Text.
  void ExpectReport(const Outcome& seen, const std::string& report) const;

  /// Compares with a refusal: one line on standard error that begins with the name of the program.
  void ExpectRefused(const Outcome& seen, const std::string& line, int status = 2) const;
  /// Expects a refusal from MakeMedia that changes nothing.
  void ExpectRefusedAndUntouched(const Lines& further, const std::string& line) const;

 private:
  void Step(const std::string& step);
};

/// A row of a table of checks: a line "# Name: given", an optional line "$ call", and the parts of
/// the report that differ from the usual one of the section, see Report. A section begins with a
/// line "= what the media is".
struct Transcript {
  std::string name, steps, given, call, usual, differing;
};
/// Prints the name for the test framework.
void PrintTo(const Transcript& transcript, std::ostream* stream);
std::string NameOf(const testing::TestParamInfo<Transcript>& row);

/// Expects kvl-media check to report what the transcript says.
class CheckFinds : public testing::TestWithParam<Transcript> {};

/// Returns all transcripts of a text, each with the steps and the usual report of its section.
std::vector<Transcript> ReadTranscripts(const std::string& text);

/// The report about TwoVolumes with a problem that does not stop the launch.
extern const char kInPlace[];
/// The report about TwoVolumes with "2: 2=SET-B", which needs staging, and staging fails.
extern const char kStaged[];

/// Returns the usual report with the parts of `differing` in place of its own: "Media", "System",
/// "Installer", "Volumes", "Start" and the last line. Adds findings, and volumes at the beginning,
/// to the usual ones. A text that begins with "Media" is a whole report.
std::string Report(const std::string& usual, const std::string& differing);

/// Compares the findings, the outcome and the status of a JSON report with those of a text report.
void ExpectTheSame(const Outcome& json, const Outcome& text);

/// Mounts the directory noexec for the child that calls this.
void ForbidToExecute(const std::string& directory);

/// Replaces numbers of bytes, which depend on the machine, by "<n>".
std::string WithoutBytes(const std::string& text);
/// Replaces the free room in a JSON report, which depends on the machine, by 0.
std::string WithoutFreeBytes(const std::string& json);

}  // namespace kvl::test
