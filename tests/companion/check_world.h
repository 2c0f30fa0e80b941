// CheckWorld: a MediaWorld for kvl-media, and what it says as a transcript.
#pragma once

#include "tests/support/media_world.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {

/// What a `before` of a program ends the process with where it cannot do its work.
inline constexpr int kImpossibleHere = 99;

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
  Outcome Companion(const std::vector<std::string>& arguments, const Environment& env = {},
                    const std::function<void()>& before = {}) const;

  /// Runs it in this process, as it is, which costs less than loading a program.
  static Outcome CompanionHere(const std::vector<std::string>& arguments);

  /// Checks the media in {1} as a launcher would be started by MediaWorld::Launch.
  Outcome Check(const std::vector<std::string>& further = {}, const Environment& env = {},
                const std::function<void()>& before = {}) const;

  /// Compares what a check said with a report, in which numbers of bytes are written as "<n>", and
  /// the status with its last line. Texts as in MediaWorld.
  void ExpectReport(const Outcome& seen, const std::string& report) const;

  /// Compares with a refusal: one line on standard error, behind the name of the program.
  void ExpectRefused(const Outcome& seen, const std::string& line, int status = 2) const;

 private:
  void Step(const std::string& step);
};

/// To be called in the child: the superuser, too, is to ask for permissions.
void GiveUpPermissions();

/// A line "# Name: given", or "# Name:", then maybe "$ call", then what is said.
struct Transcript {
  std::string name, given, call, says;
};
/// For the test's framework.
void PrintTo(const Transcript& transcript, std::ostream* stream);
std::string NameOf(const testing::TestParamInfo<Transcript>& row);

/// All transcripts of a text.
std::vector<Transcript> ReadTranscripts(const std::string& text);

/// What is said of TwoVolumes with a problem, and of the same media when it has "2: 2=SET-B", must be
/// staged therefore, and cannot be.
extern const char kInPlace[];
extern const char kStaged[];

/// A report of which only those parts are given that differ from the usual one: "Media", "System",
/// "Installer", "Volumes", "Start", the last line. Findings are added to the usual ones. A text that
/// begins with "Media" is whole.
std::string Report(const std::string& usual, const std::string& differing);

/// The numbers of bytes, which depend on the machine, written as "<n>".
std::string WithoutBytes(const std::string& text);
/// The number of free bytes in a report for programs, which depends on the machine, written as 0.
std::string WithoutFreeBytes(const std::string& json);

}  // namespace kvl::test
