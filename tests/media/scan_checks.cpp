#include "tests/media/scan_checks.h"

#include "tests/models/scan_model.h"
#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

std::string TranscriptOfScan(const std::string& media, const Environment& env = {},
                             bool is_software_management = false) {
  static const std::set<std::string> five = {"AMRelativePath", "FirstAMPath", "FirstAMVolume",
                                             "MTBDIR", "VolumesCount"};
  const ScanResult seen = Scan(media, env, is_software_management);
  const bool has_result = seen.exception.empty();
  std::string text = TranscriptOf(seen.out, seen.err) + "= ";
  text += has_result ? std::to_string(seen.code) : seen.exception;
  for (const std::string& volume : seen.volumes) text += " " + volume;
  std::set<std::string> names;
  for (const auto& [name, value] : EnvChanges(env, seen.env)) {
    const std::string short_name = Replaced(name, "^KVLAdmInst", "");
    names.insert(short_name);
    if (!value.empty()) text += " " + short_name + "=" + value;
  }
  if (has_result && seen.complete != (seen.code != 0)) text += ", complete or not";
  if (names != five) text += ", changed: " + testing::PrintToString(names);
  return text;
}

/// Returns nothing if the process cannot enter the world.
std::optional<std::string> TranscriptInWorld(
    const MediaWorld& world, const std::string& media,
    const std::function<bool(const std::string&)>& can_enter) {
  constexpr int kCannotEnter = 1;
  const Outcome outcome = RunIsolated([&] {
    if (!can_enter(world.Path("."))) return kCannotEnter;
    std::cout << TranscriptOfScan(media);
    return 0;
  });
  if (outcome.status == kCannotEnter) return std::nullopt;
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return outcome.out;
}

bool WorkIn(const std::string& directory) {
  return ::chdir(directory.c_str()) == 0;
}

/// An ordinary user may at most change the root directory in a user namespace.
bool MakeRoot(const std::string& directory) {
  return WorkIn(directory) &&
         (::chroot(".") == 0 || (::unshare(CLONE_NEWUSER) == 0 && ::chroot(".") == 0));
}

}  // namespace

std::string TranscriptOf(const std::string& out, const std::string& err) {
  return "\n" + out + Replaced(err, "(^|\n)(?=.)", "$012>");
}

void ExpectScan(const std::string& media, const std::string& transcript) {
  MediaWorld world;
  ExpectScan(world, media, transcript);
}

void ExpectScan(MediaWorld& world, const std::string& media, const std::string& transcript,
                const Environment& env, bool is_software_management) {
  SCOPED_TRACE(media);
  world.Make(media);
  const std::string path = world.Path(media.substr(0, media.find(':')));
  EXPECT_EQ(TranscriptOfScan(path, env, is_software_management), world.Text(transcript));
}

void ExpectRelativeScan(const MediaWorld& world, const std::string& media,
                        const std::string& transcript) {
  EXPECT_EQ(TranscriptInWorld(world, media, WorkIn), world.Text(transcript));
}

void ExpectScanInOwnRoot(const MediaWorld& world, const std::string& media,
                         const std::string& transcript) {
  const std::optional<std::string> seen = TranscriptInWorld(world, media, MakeRoot);
  if (!seen) GTEST_SKIP() << "this user cannot change the root directory here";
  EXPECT_EQ(seen, world.Text(transcript));
}

void MakeUnopenable(const std::string& path) {
  // A socket without a listener.
  if (::mknod(path.c_str(), S_IFSOCK | 0600, 0) != 0) {
    throw std::runtime_error("cannot make " + path);
  }
}

}  // namespace kvl::test
