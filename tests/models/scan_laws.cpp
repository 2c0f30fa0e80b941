#include "console/logger.h"
#include "media/volume_scan.h"
#include "tests/models/laws.h"
#include "tests/models/scan_model.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

void MakeMarker(const std::string& directory, const std::string& name, const MarkerFile& marker) {
  fs::create_directories(directory);
  const std::string path = directory + "/" + name;
  switch (marker.kind) {
    case MarkerFile::kFile:
      return WriteFile(path, marker.contents);
    case MarkerFile::kLinkToFile:
      WriteFile(path + ".linked", marker.contents);
      return fs::create_symlink(name + ".linked", path);
    case MarkerFile::kDanglingLink:
      return fs::create_symlink("nowhere", path);
    case MarkerFile::kPipe:
      if (::mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + path);
      return;
    case MarkerFile::kDirectory:
      fs::create_directories(path);
  }
}

}  // namespace

void MakeWorld(const ScanTable& table, const std::string& top) {
  const std::string inside = table.is_relative ? top + "/" : "";
  const std::string media = inside + MediaPath(table, top);
  fs::create_directories(media + "/inst");
  if (table.volumes_file) MakeMarker(media + "/inst", "volumes.txt", *table.volumes_file);
  for (const auto& [number, marker] : table.flat) {
    MakeMarker(media, std::to_string(number) + ".txt", marker);
  }
  for (const std::string& name : table.other_files) WriteFile(media + "/" + name, "MTBDIR=SET-B\n");

  fs::path level_path = fs::path(media).parent_path();
  if (!table.levels.empty()) {
    for (const auto& [number, marker] : table.beside) {
      const std::string text = std::to_string(number);
      MakeMarker(level_path / text, text + ".txt", marker);
    }
  }
  for (const MediaLevel& level : table.levels) {
    if (!level.marker_name.empty()) MakeMarker(level_path, level.marker_name, level.marker);
    for (const std::string& name : level.other_files) {
      WriteFile(level_path / name, "MTBDIR=AM-A\n");
    }
    level_path = level_path.parent_path();
  }

  const FirstAmLevel first = FindFirstAmLevel(table);
  if (!first.number) return;
  const std::string outer = inside + OuterPath(table, top);
  const std::string way = WayIntoAmVolume(table, top);
  for (const auto& [number, entry] : table.am) {
    const std::string dir = outer + "/" + std::to_string(number);
    if (entry.marker) MakeMarker(dir, std::to_string(number) + ".txt", *entry.marker);
    const std::string volume = std::to_string(number - *first.number + 1);
    if (entry.volume) {
      MakeMarker(dir + "/" + way + "/" + volume, volume + ".txt", *entry.volume);
    }
  }
}

ScanResult Scan(const std::string& media, const Environment& env, bool is_software_management) {
  const ScopedEnv scoped(env);
  ScanResult result;
  ScanOutcome outcome;
  Logger logger;
  const Outcome said = Catch([&] {
    try {
      outcome = ScanMediaVolumes(KVLInsIO::InsPath(media), is_software_management, logger);
    } catch (const std::invalid_argument& failure) {
      result.exception = std::string("invalid argument: ") + failure.what();
    } catch (const std::out_of_range& failure) {
      result.exception = std::string("out of range: ") + failure.what();
    }
  });
  return {result.exception, outcome.code, outcome.complete,    outcome.volumes,
          said.out,         said.err,     CurrentEnvironment()};
}

void CheckScanLaws(const ScanTable& table, const std::string& directory) {
  const std::string top = directory + "/world";
  fs::remove_all(top);
  fs::create_directory(top);
  MakeWorld(table, top);
  const ScanResult expected = ModelOfScan(table, top);
  const Undo leave([before = fs::current_path()] { fs::current_path(before); });
  fs::current_path(top);
  const ScanResult seen =
      Scan(MediaPath(table, top), EnvironmentOf(table), table.is_software_management);
  RequireEqual("exception", seen.exception, expected.exception);
  RequireEqual("standard output", seen.out, expected.out);
  RequireEqual("standard error", seen.err, expected.err);
  RequireEqual("environment", seen.env, expected.env);
  RequireEqual("code", seen.code, expected.code);
  RequireEqual("complete", seen.complete, expected.complete);
  RequireEqual("volumes", seen.volumes, expected.volumes);
}

}  // namespace kvl::test
