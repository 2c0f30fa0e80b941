// kvl-media check: media that try to mislead the user, to keep the program busy, or to use up
// memory.
#include <nlohmann/json.hpp>

#include "companion/check/media_check.h"
#include "tests/companion/check_world.h"
#include "tests/support/sanitized.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

TEST(CheckOfAHostileMedia, SendsNoCharacterThatATerminalObeys) {
  CheckWorld world("two volumes");
  const std::vector<std::pair<std::string, std::string>> names = {
      {"a\x1B[2J", "a\\x1B[2J"},
      {"e\xE2\x80\xAEtxt.exe", "e\\xE2\\x80\\xAEtxt.exe"},
      {"h\xC3\xA4\xE2\x82\xAC", "h\xC3\xA4\xE2\x82\xAC"},
  };
  std::string lines;
  std::vector<std::string> paths;
  for (const auto& [name, shown] : names) {
    world.Volume("2").Link(name, "nowhere");
    lines += "warning: this link leads nowhere: {2}/" + shown +
             "; restore what the link leads to, or remove the link if nothing needs it\n";
    paths.push_back(world.Text("{2}/" + shown));
  }
  world.ExpectReport(
      world.Check(),
      Report(kInPlace, lines + "3 problems: the installer will be started in place\n"));

  const Outcome json = world.Check({"--json"});
  std::vector<std::string> seen;
  const auto report = nlohmann::json::parse(json.out);
  for (const auto& finding : report["findings"]) seen.push_back(finding["path"]);
  EXPECT_EQ(seen, paths);
  EXPECT_EQ(json.err, "");
  EXPECT_EQ(json.status, 1);
}

TEST(CheckOfAHostileMedia, EscapesThePathsOfMissingVolumes) {
  CheckWorld world;
  world.FirstVolume("a\x1B/1").Announces("3").Marker(1, "SET-A");
  const Outcome seen = world.Companion(
      {"check", "{a\x1B/1}", "--os", "linux", "--installer", "installer"}, {{"TMPDIR", "{tmp}"}});
  world.ExpectReport(seen, R"(Media      {}/a\x1B/1
System     linux, from --os
Installer  {}/a\x1B/1/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    3, layout unknown, tag SET-A
             1  found       {}/a\x1B/1
           2-3  missing     {}/a\x1B/2 to {}/a\x1B/3
Start      staged in {tmp}/<identifier>: 9 files, <n> bytes; <n> bytes free
warning: volumes 2 to 3 have no markers: {}/a\x1B/2/2.txt; copy all of these volumes, or correct the number in volumes.txt
1 problem: the installer will be staged and started
)");
}

// --- files that keep the reader waiting ----------------------------------------------------------

/// Ends the child that calls this after some seconds, even if it waits for ever.
void EndSoon() {
  constexpr unsigned kSeconds = 20;
  ::alarm(kSeconds);
}

const std::vector<std::string> kFilesThatAreRead = {
    "1/1.txt",       "2/2.txt",       "1/inst/volumes.txt",
    "1/StartTUI.sh", "1/StartGUI.sh", "1/inst/linux/code/bin/installer"};

/// A media above which a search of the launcher ends.
constexpr char kMedia[] = "two volumes; .: 9=AM; ";

TEST(CheckOfAHostileMedia, EndsWhenAFileBecomesAPipeBeforeItIsOpened) {
  for (const std::string& name : kFilesThatAreRead) {
    SCOPED_TRACE(name);
    CheckWorld world(kMedia);
    const Outcome seen = RunIsolated([&] {
      EndSoon();
      ::setenv("TMPDIR", world.Path("tmp").c_str(), 1);
      const BeforeOpen exchange(world.Path(name), [&] { world.Change("pipe " + name); });
      const MediaReport report = CheckMedia({world.Path("1"), "linux", "installer", {}});
      return report.findings.Count() == 0 ? 0 : 1;
    });
    EXPECT_EQ(seen.status, 1);
  }
}

/// The messages of the kernel: they look like a regular file, but a reader waits for more.
constexpr char kWaits[] = "/proc/kmsg";

TEST(CheckOfAHostileMedia, EndsAtAFileWhoseReaderWaits) {
  const int file = ::open(kWaits, O_RDONLY | O_NONBLOCK);
  if (file < 0) GTEST_SKIP() << "only the superuser reads it";
  char bytes[65536];
  while (::read(file, bytes, sizeof bytes) > 0) continue;  // takes the messages, as any reader
  const bool waits = errno == EAGAIN;
  ::close(file);
  if (!waits) GTEST_SKIP() << "its reader does not wait here";
  for (const std::string& name : kFilesThatAreRead) {
    SCOPED_TRACE(name);
    const CheckWorld world(kMedia + ("link " + name) + " " + kWaits);
    const Outcome seen = world.Check({}, {}, EndSoon);
    EXPECT_THAT(seen.out, testing::HasSubstr(
                              ": the system cannot read this entry (Resource temporarily "
                              "unavailable): " +
                              world.Path(name) +
                              "; examine the disc, and copy the entry again if it is part of the "
                              "media\n"));
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 1);
  }
}

// --- lines without an end ------------------------------------------------------------------------

class CheckOfEndlessLines : public testing::Test {
 protected:
  void SetUp() override {
    if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  }

  /// Returns the report of a check that may use at most 8 MiB of data memory.
  Outcome Check(const std::vector<std::string>& further = {}) const {
    return world_.Check(further, {}, [] {
      constexpr rlim_t kBytes = 8'388'608;
      const rlimit limit = {kBytes, kBytes};
      if (::setrlimit(RLIMIT_DATA, &limit) != 0) ::_exit(kImpossibleHere);
      EndSoon();
    });
  }

  nlohmann::ordered_json JsonOf(int status) const {
    const Outcome json = Check({"--json"});
    EXPECT_EQ(json.err, "");
    EXPECT_EQ(json.status, status);
    EXPECT_LT(json.out.size(), 10'000U);
    return nlohmann::ordered_json::parse(json.out);
  }

  /// Makes a file of one line: the text and then zeros, more than anybody can read.
  void MakeEndless(const std::string& name, const std::string& text) const {
    world_.Directory().Write(name, text);
    std::error_code error;
    fs::resize_file(world_.Path(name), 1ULL << 40U, error);  // a sparse file
    if (error) ::truncate(world_.Path(name).c_str(), 1L << 34);
  }

  /// Returns the report about two volumes with this tag.
  static std::string WithTag(const std::string& tag, const std::string& rest) {
    return Report(kInPlace, "Volumes    2, layout sibling, tag " + tag +
                                "\n           1  found       {1}\n           2  found       {2}\n" +
                                rest);
  }

  CheckWorld world_{"two volumes"};
};

TEST_F(CheckOfEndlessLines, TakesLittleMemoryForTagsWithoutAnEnd) {
  MakeEndless("1/1.txt", "MTBDIR=");
  MakeEndless("2/2.txt", "MTBDIR=");
  std::string zeros;
  for (int i = 0; i < 256; ++i) zeros += "\\x00";
  // A variable ends at its first zero, so the installer gets an empty one.
  world_.ExpectReport(Check(), WithTag(zeros + "... (1048569 bytes)",
                                       "Fine: the installer will be started in place\n"));
}

TEST_F(CheckOfEndlessLines, TakesLittleMemoryForATagOfAMillionBytes) {
  for (const char* name : {"1/1.txt", "2/2.txt"}) {
    world_.Directory().Write(name, "MTBDIR=" + std::string(2'000'000, 't') + "\n");
  }
  const std::string shown = std::string(256, 't') + "... (1048569 bytes)";
  world_.ExpectReport(Check(), WithTag(shown, R"(
error: this variable of the installer is longer than the system passes to a program: KVLAdmInstMTBDIR; shorten the text that the variable is set from
1 problem: the installer cannot be started, and the launcher will end with status 255
)"));
  const auto report = JsonOf(/*status=*/1);
  EXPECT_EQ(report["tag"], shown);
  EXPECT_EQ(report["volumes"][1]["tag"], shown);
  EXPECT_EQ(report["variables"]["KVLAdmInstMTBDIR"], shown);

  EXPECT_EQ(world_.Launch("1").status, 255);  // as the check says
}

TEST_F(CheckOfEndlessLines, TakesLittleMemoryForAnEndlessNumberOfVolumes) {
  MakeEndless("1/inst/volumes.txt", "2");
  world_.ExpectReport(Check(), Report(kInPlace, "Fine: the installer will be started in place\n"));
  EXPECT_EQ(JsonOf(/*status=*/0)["volume_count"], 2);
}

}  // namespace
}  // namespace kvl::test
