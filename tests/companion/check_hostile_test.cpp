// kvl-media check: media that are made to lead somebody astray, keep the program busy, or take its
// memory.

#include <nlohmann/json.hpp>

#include "companion/check/media_check.h"
#include "tests/companion/check_world.h"
#include "tests/support/path_faults.h"
#include "tests/support/sanitized.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kImpossibleHere = 99;

TEST(CheckOfAHostileMedia, SendsNoCharacterToATerminalThatItWouldObey) {
  CheckWorld world;
  world.TwoVolumes();
  const std::vector<std::pair<std::string, std::string>> names = {
      {"a\x1B[2J", "a\\x1B[2J"},
      {"b\x7F", "b\\x7F"},
      {"c\xC2\x9B"
       "31m",
       "c\\xC2\\x9B31m"},
      {"d\xE2\x80\xA8", "d\\xE2\\x80\\xA8"},
      {"e\xE2\x80\xAEtxt.exe", "e\\xE2\\x80\\xAEtxt.exe"},
      {"f\xE2\x81\xA6", "f\\xE2\\x81\\xA6"},
      {"g\xD8\x9C", "g\\xD8\\x9C"},
      {"h\xC3\xA4\xE2\x82\xAC", "h\xC3\xA4\xE2\x82\xAC"},
  };
  std::string lines, paths;
  for (const auto& [name, shown] : names) {
    world.Volume("2").Link(name, "nowhere");
    lines += "warning    {2}/" + shown +
             ": a link that leads nowhere; put there what it leads to, or remove the link\n";
    std::string escaped = shown;
    for (std::size_t at = 0; (at = escaped.find('\\', at)) != std::string::npos; at += 2) {
      escaped.insert(at, "\\");
    }
    paths += "      \"path\": \"{2}/" + escaped + "\"\n";
  }
  const Outcome text = world.Check();
  EXPECT_EQ(text.out, world.Text(std::string(kTwoVolumes) + lines +
                                 "8 problems: the installer will be started in place\n"));
  EXPECT_EQ(text.err, "");
  EXPECT_EQ(text.status, 1);

  const Outcome json = world.Check({"--json"});
  std::string seen;
  std::istringstream stream(json.out);
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with("      \"path\": "))
      seen += line.substr(0, line.find_last_not_of(',') + 1) + "\n";
  }
  EXPECT_EQ(seen, world.Text(paths));
  EXPECT_EQ(json.err, "");
  EXPECT_EQ(json.status, 1);
}

// --- files that keep the reader waiting ----------------------------------------------------------

/// To be called in the child: a program that waits for ever is ended.
void EndSoon() {
  constexpr unsigned kSeconds = 20;
  ::alarm(kSeconds);
}

const std::vector<std::string> kFilesThatAreRead = {
    "1/1.txt",       "2/2.txt",       "1/inst/volumes.txt",
    "1/StartTUI.sh", "1/StartGUI.sh", "1/inst/linux/code/bin/installer"};

/// A media of two volumes, or what looks like one; a search of the directories above ends in it.
void MakeMedia(CheckWorld& world) {
  world.TwoVolumes().Volume(".").Marker(9, "AM");
}

TEST(CheckOfAHostileMedia, EndsWhenAFileIsExchangedForAPipeBetweenLookAndOpen) {
  for (const std::string& name : kFilesThatAreRead) {
    SCOPED_TRACE(name);
    CheckWorld world;
    MakeMedia(world);
    const Outcome seen = RunIsolated([&] {
      EndSoon();
      ::setenv("TMPDIR", world.Path("tmp").c_str(), 1);
      const BeforeOpen exchange(world.Path(name), [&] {
        fs::remove(world.Path(name));
        world.Directory().Pipe(name);
      });
      const MediaReport report = CheckMedia({world.Path("1"), "linux", "installer", {}});
      return report.findings.Count() == 0 ? 0 : 1;
    });
    EXPECT_EQ(seen.status, 1);
  }
}

/// What the kernel says: as it claims a regular file, whose reader waits for more.
constexpr char kWaits[] = "/proc/kmsg";

TEST(CheckOfAHostileMedia, EndsAtAFileWhoseReaderWaits) {
  if (const int file = ::open(kWaits, O_RDONLY | O_NONBLOCK); file >= 0) {
    char bytes[65536];
    while (::read(file, bytes, sizeof bytes) > 0) continue;  // as others do who read it
    const bool waits = errno == EAGAIN;
    ::close(file);
    if (!waits) GTEST_SKIP() << "its reader does not wait here";
  } else {
    GTEST_SKIP() << "only the superuser reads it";
  }
  for (const std::string& name : kFilesThatAreRead) {
    SCOPED_TRACE(name);
    CheckWorld world;
    MakeMedia(world);
    fs::remove(world.Path(name));
    world.Directory().Link(name, kWaits);
    const Outcome seen = world.Check({}, {}, EndSoon);
    const std::string line = world.Path(name) +
                             ": it cannot be read: Resource temporarily unavailable; look at the "
                             "disc, and copy it again\n";
    EXPECT_NE(seen.out.find(line), std::string::npos) << seen.out;
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 1);
  }
}

// --- lines without an end ------------------------------------------------------------------------

/// To be called in the child: it has no more than 8 MiB to write into.
void GiveLittleMemory() {
  constexpr rlim_t kBytes = 8'388'608;
  const rlimit limit = {kBytes, kBytes};
  if (::setrlimit(RLIMIT_DATA, &limit) != 0) ::_exit(kImpossibleHere);
  EndSoon();
}

/// A line that begins with the text and goes on, as far as anybody can read, with zeros.
void MakeEndless(const CheckWorld& world, const std::string& name, const std::string& text) {
  world.Directory().Write(name, text);
  std::error_code error;
  fs::resize_file(world.Path(name), 1ULL << 40U, error);  // a hole
  if (error) ::truncate(world.Path(name).c_str(), 1L << 34);
}

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

constexpr char kTooLong[] =
    ": a variable of the installer that is longer than the system hands to a program; shorten what "
    "it is set from\n";

TEST(CheckOfAHostileMedia, TakesLittleMemoryForTagsWithoutAnEnd) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  CheckWorld world;
  world.TwoVolumes();
  MakeEndless(world, "1/1.txt", "MTBDIR=");
  MakeEndless(world, "2/2.txt", "MTBDIR=");
  std::string head = kTwoVolumes;
  head.replace(head.find("SET-A"), 5, Repeated("\\x00", 256) + "... (1048569 bytes)");
  // A variable ends at its first zero, so that the installer gets an empty one.
  const Outcome text = world.Check({}, {}, GiveLittleMemory);
  EXPECT_EQ(text.out, world.Text(head + "Fine: the installer will be started in place\n"));
  EXPECT_EQ(text.err, "");
  EXPECT_EQ(text.status, 0);
}

TEST(CheckOfAHostileMedia, TakesLittleMemoryForATagOfAMillionBytes) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  CheckWorld world;
  world.TwoVolumes();
  for (const char* name : {"1/1.txt", "2/2.txt"}) {
    world.Directory().Write(name, "MTBDIR=" + std::string(2'000'000, 't') + "\n");
  }
  const std::string shown = std::string(256, 't') + "... (1048569 bytes)";
  std::string head = kTwoVolumes;
  head.replace(head.find("SET-A"), 5, shown);
  const Outcome text = world.Check({}, {}, GiveLittleMemory);
  EXPECT_EQ(text.out, world.Text(head + "error      KVLAdmInstMTBDIR" + kTooLong +
                                 "1 problem: the installer cannot be started, status 255\n"));
  EXPECT_EQ(text.err, "");
  EXPECT_EQ(text.status, 1);

  const Outcome json = world.Check({"--json"}, {}, GiveLittleMemory);
  EXPECT_EQ(json.err, "");
  EXPECT_EQ(json.status, 1);
  const auto report = nlohmann::ordered_json::parse(json.out);
  EXPECT_EQ(report["tag"], shown);
  EXPECT_EQ(report["volumes"][1]["tag"], shown);
  EXPECT_EQ(report["variables"]["KVLAdmInstMTBDIR"], shown);
  EXPECT_LT(json.out.size(), 10'000U);

  EXPECT_EQ(world.Launch("1").status, 255);  // as the check says
}

TEST(CheckOfAHostileMedia, TakesLittleMemoryForANumberOfVolumesWithoutAnEnd) {
  if (kSanitized) GTEST_SKIP() << "a sanitizer takes memory of its own";
  CheckWorld world;
  world.TwoVolumes();
  MakeEndless(world, "1/inst/volumes.txt", "2");
  const Outcome text = world.Check({}, {}, GiveLittleMemory);
  EXPECT_EQ(text.out, world.Text(std::string(kTwoVolumes) +
                                 "Fine: the installer will be started in place\n"));
  EXPECT_EQ(text.err, "");
  EXPECT_EQ(text.status, 0);

  const Outcome json = world.Check({"--json"}, {}, GiveLittleMemory);
  EXPECT_EQ(json.err, "");
  EXPECT_EQ(json.status, 0);
  const auto report = nlohmann::ordered_json::parse(json.out);
  EXPECT_EQ(report["volume_count"], 2);
  EXPECT_LT(json.out.size(), 10'000U);
}

}  // namespace
}  // namespace kvl::test
