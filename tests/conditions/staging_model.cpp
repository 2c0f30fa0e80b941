#include "tests/conditions/staging_model.h"

namespace kvl::test {
namespace {

class Staging {
 public:
  Staging(std::string media, Room room) : media_(std::move(media)), room_(room) {}

  /// Makes the copies in order. Returns false at the first failure.
  bool Copy(const std::vector<std::string>& pieces) {
    return std::all_of(pieces.begin(), pieces.end(), [&](const std::string& piece) {
      return fs::is_directory(media_ + "/" + piece) ? CopyTree(piece) : CopyFile(piece);
    });
  }

  /// Writes as much of it as fits.
  void WriteScript(const std::string& text) { Write("remove.bat", 0644, text); }

  /// Returns the text of the failure that ends the staging, with "{staging}" for the staging
  /// directory; the empty text if the copy is complete.
  const std::string& Failure() const { return failure_; }

  /// Returns the tree below the temporary directory, in the form of LaunchSeen::staged.
  std::vector<std::string> Left() const { return {left_.begin(), left_.end()}; }

 private:
  bool Fail(const std::string& what, int error) {
    failure_ = what + " - " + std::strerror(error);
    return false;
  }

  bool TakeInode() {
    if (room_.inodes == 0) return false;
    --room_.inodes;
    return true;
  }

  int MakeOne(const std::string& path, const std::string& parent) {
    if (directories_.contains(path)) return 0;
    if (!parent.empty() && !directories_.contains(parent)) return ENOENT;
    if (!TakeInode()) return ENOSPC;
    directories_.insert(path);
    left_.insert(TreeLine('d', 0755, path));
    return 0;
  }

  /// Tries each directory on the way, and reports the outcome of the last one.
  bool MakeDirectories(const std::string& name) {
    const std::string path = "{staging}/" + name;
    std::string parent;
    int error = 0;
    for (std::size_t end = 0; end < path.size();) {
      end = std::min(path.find('/', end + 1), path.size());
      const std::string next = path.substr(0, end);
      error = MakeOne(next, parent);
      parent = next;
    }
    return error == 0 || Fail("mkdir - " + path, error);
  }

  /// Copies in the order in which the system lists the media. Makes a directory for its first file.
  bool CopyTree(const std::string& name) {
    if (room_.descriptors < 1) return Fail("opendir - {1}/" + name, EMFILE);
    --room_.descriptors;
    for (const fs::directory_entry& entry : fs::directory_iterator(media_ + "/" + name)) {
      const std::string inside = name + "/" + entry.path().filename().string();
      const bool copied =
          entry.is_directory() ? CopyTree(inside) : MakeDirectories(name) && CopyFile(inside);
      if (!copied) return false;
    }
    ++room_.descriptors;
    return true;
  }

  bool CopyFile(const std::string& name) {
    if (room_.descriptors < 1) return Fail("Cannot read {1}/" + name, EMFILE);
    const std::string path = media_ + "/" + name;
    const int error = room_.descriptors < 2 ? EMFILE : Write(name, ModeOf(path), ReadFile(path));
    return error == 0 || Fail("Cannot write into {staging}/" + name, error);
  }

  /// Returns 0, or the error's number; either way writes what fits.
  int Write(const std::string& name, unsigned mode, const std::string& contents) {
    constexpr long kWrittenAtOnce = 65536;
    if (!TakeInode()) return ENOSPC;
    const long page = ::sysconf(_SC_PAGESIZE);
    const long size = static_cast<long>(contents.size());
    const long free = room_.pages > kNoLimit / page ? kNoLimit : room_.pages * page;
    const long stored = std::min({size, free, room_.file_size});
    if (room_.pages != kNoLimit) room_.pages -= (stored + page - 1) / page;
    const std::string written = contents.substr(0, static_cast<std::size_t>(stored));
    left_.insert(TreeLine('f', mode, "{staging}/" + name + " = " + DescribeContents(written)));
    if (stored == size) return 0;
    // The launcher takes a partial write for a full disk, whatever caused it.
    return stored == room_.file_size && stored % kWrittenAtOnce == 0 ? EFBIG : ENOSPC;
  }

  std::string media_;
  Room room_;
  std::set<std::string> directories_, left_;
  std::string failure_;
};

/// Returns the model of staging the media in "1", after its launch.
Staging ModelStaging(const LaunchWorld& world, const Room& room) {
  Staging staging(world.Path("1"), room);
  if (staging.Copy(StagedTree().pieces)) {
    staging.WriteScript(CleanUpScriptIn(world.Text("{staging}/")));
  }
  return staging;
}

/// Returns the failed or successful run that follows from the model.
ExpectedRun RunOf(const Staging& modelled) {
  ExpectedRun expected = Staged();
  expected.left = {.exactly = modelled.Left()};
  if (modelled.Failure().empty()) return expected;
  // A directory that was never made has no known name.
  const std::string staging = modelled.Left().empty() ? "{tmp}/<id>" : "{staging}";
  expected.status = 1;
  expected.err =
      says::Missing() +
      says::StagingFailed(staging + "/", Replaced(modelled.Failure(), "\\{staging\\}", staging));
  expected.arguments = {};
  return expected;
}

}  // namespace

bool ExpectRunIn(LaunchWorld& world, const Room& room, const LaunchPlan& plan) {
  world.EmptyTmp();
  LaunchSeen seen = world.Run(plan);
  const Staging modelled = ModelStaging(world, room);
  if (modelled.Left().empty()) seen.err = WithoutIdentifiers(seen.err);
  ExpectedRun expected = RunOf(modelled);
  for (std::string* stream : {&expected.out, &expected.err}) {
    *stream = world.Text(*stream).substr(0, static_cast<std::size_t>(room.file_size));
  }
  ExpectRun(world, seen, expected);
  return seen.child.started;
}

long FirstEnough(long least, long most, long step, const std::function<bool(long)>& is_enough) {
  long first = kNoLimit;
  for (long amount = least; amount <= most && !testing::Test::HasFailure(); amount += step) {
    SCOPED_TRACE(amount);
    const bool enough = is_enough(amount);
    EXPECT_TRUE(enough || first == kNoLimit) << "less was enough";
    if (enough) first = std::min(first, amount);
  }
  EXPECT_GT(first, least) << "the least was enough";
  EXPECT_LE(first, most) << "nothing was enough";
  return first;
}

std::string DifferentBytes(long size) {
  std::string bytes;
  for (long i = 0; static_cast<long>(bytes.size()) < size; ++i) bytes += std::to_string(i) + " ";
  bytes.resize(static_cast<std::size_t>(size));
  return bytes;
}

}  // namespace kvl::test
