#include "tests/media/scan_checks.h"

#include "console/logger.h"
#include "media/volume_scan.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

/// Where the isolated process leaves what it cannot say on its streams.
constexpr char kResults[] = "tmp/results";
constexpr int kCannotEnter = 1;

bool WorkIn(const std::string& directory) {
  return ::chdir(directory.c_str()) == 0;
}

/// An ordinary user may change the root directory in a user namespace of its own, if at all.
bool MakeRoot(const std::string& directory) {
  return WorkIn(directory) &&
         (::chroot(".") == 0 || (::unshare(CLONE_NEWUSER) == 0 && ::chroot(".") == 0));
}

void WriteResults(const ScanOutcome& outcome, const Environment& changes) {
  std::ofstream file(kResults);
  file << "code " << outcome.code << "\ncomplete " << outcome.complete << "\n";
  for (const std::string& volume : outcome.volumes) file << "volume " << volume << "\n";
  for (const auto& [name, value] : changes) file << name << " " << value << "\n";
}

ScanSeen ReadResults(const MediaWorld& world) {
  ScanSeen seen;
  std::ifstream file(world.Path(kResults));
  for (std::string what, value; std::getline(file, what, ' ') && std::getline(file, value);) {
    if (what == "code") {
      seen.code = std::stoi(value);
    } else if (what == "complete") {
      seen.complete = value == "1";
    } else if (what == "volume") {
      seen.volumes.push_back(value);
    } else {
      seen.env.emplace(what, value);
    }
  }
  return seen;
}

std::optional<ScanSeen> ScanIsolated(const MediaWorld& world, const std::string& media,
                                     const std::function<bool(const std::string&)>& enter) {
  const Outcome outcome = RunIsolated([&] {
    const ScopedEnv scoped;
    if (!enter(world.Path("."))) return kCannotEnter;
    Logger logger;
    const ScanOutcome scan =
        ScanMediaVolumes(KVLInsIO::InsPath(media), /*software_management=*/false, logger);
    WriteResults(scan, CurrentEnvironment());
    return 0;
  });
  if (outcome.status == kCannotEnter) return std::nullopt;
  if (outcome.status != 0) throw std::runtime_error("the scan died: " + outcome.err);
  ScanSeen seen = ReadResults(world);
  seen.out = outcome.out;
  seen.err = outcome.err;
  return seen;
}

}  // namespace

void ExpectSeen(const MediaWorld& world, const ScanSeen& seen, const std::string& transcript) {
  constexpr std::string_view kPrefix = "KVLAdmInst";
  std::string text =
      "\n" + seen.out + std::regex_replace(seen.err, std::regex("(^|\n)(?=.)"), "$012>");
  text += "= " + std::to_string(seen.code);
  for (const std::string& volume : seen.volumes) text += " " + volume;
  std::set<std::string> names;
  for (const auto& [name, value] : seen.env) {
    names.insert(name);
    if (!value.empty()) text += " " + name.substr(kPrefix.size()) + "=" + value;
  }
  EXPECT_EQ(text, world.Text(transcript));
  EXPECT_EQ(seen.complete, seen.code != 0);
  EXPECT_THAT(names,
              ElementsAre("KVLAdmInstAMRelativePath", "KVLAdmInstFirstAMPath",
                          "KVLAdmInstFirstAMVolume", "KVLAdmInstMTBDIR", "KVLAdmInstVolumesCount"));
}

void ExpectScan(MediaWorld& world, const std::string& media, const std::string& transcript) {
  SCOPED_TRACE(media);
  world.Make(media);
  ExpectSeen(world, world.ScanFrom(media.substr(0, media.find(':'))), transcript);
}

void ExpectScan(const std::string& media, const std::string& transcript) {
  MediaWorld world;
  ExpectScan(world, media, transcript);
}

ScanSeen ScanRelative(const MediaWorld& world, const std::string& media) {
  return ScanIsolated(world, media, WorkIn).value();
}

std::optional<ScanSeen> ScanInOwnRoot(const MediaWorld& world, const std::string& media) {
  return ScanIsolated(world, media, MakeRoot);
}

void MakeUnopenable(const std::string& path) {
  // A socket that nobody listens on.
  if (::mknod(path.c_str(), S_IFSOCK | 0600, 0) != 0) {
    throw std::runtime_error("cannot make " + path);
  }
}

}  // namespace kvl::test
