// The copy of a random tree equals that tree with every link replaced by its target.

#include "insio/copy.h"
#include "insio/delete.h"
#include "tests/insio/odd_paths.h"
#include "tests/models/laws.h"
#include "tests/properties/property.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// An entry of a random tree. Numbers are reduced to the available choices.
struct Node {
  int kind;         ///< see Make
  unsigned parent;  ///< one of the directories made before
  unsigned name;
  unsigned target;  ///< of a link
  unsigned size;    ///< of a file
  unsigned mode;
  unsigned access_time, modification_time;
};

std::ostream& operator<<(std::ostream& stream, const Node& node) {
  return stream << "{" << node.kind << ", " << node.parent << ", " << node.name << ", "
                << node.target << ", " << node.size << ", " << node.mode << ", " << node.access_time
                << ", " << node.modification_time << "}";
}

rc::Gen<Node> AnyNode() {
  const auto any = rc::gen::arbitrary<unsigned>();
  const auto size = rc::gen::weightedOneOf<unsigned>(
      {{6, rc::gen::inRange(0U, 300U)},
       {1, rc::gen::element(0U, 65535U, 65536U, 65537U, 131072U)}});
  const auto time = rc::gen::element(0U, 1U, 1000000000U, 2147483647U, 2147483648U, 4000000000U);
  return rc::gen::construct<Node>(rc::gen::inRange(0, 6), any, any, any, size, any, time, time);
}

/// Keeps every path in the copy short enough for the system.
constexpr std::size_t kLongestPath = 3000;

/// Creates nodes below a directory. Links lead only to entries finished before them, in other parts
/// of the world, so that there are no circles.
class RandomTree {
 public:
  explicit RandomTree(const TestDirectory& world) : world_(world) {
    Finish(world.Write("outside/file", "outside"), world.MakeDir("outside/dir"));
    world.Write("outside/dir/a/file", "inside");
    world.MakeDir("outside/dir/empty");
    world.Link("outside/dirs/dir", "../dir");
    Finish(world.Link("outside/link", "file"), world.Path("outside/dirs"));
    dirs_.push_back(world.MakeDir("tree"));
  }

  void Make(const Node& node) {
    enum { kFile, kSecondFile, kThirdFile, kDirectory, kLinkToFile, kLinkToDirectory };
    const std::string path =
        dirs_[node.parent % dirs_.size()] + "/" + kOddNames[node.name % kOddNames.size()];
    if (path.size() > kLongestPath || fs::exists(fs::symlink_status(path))) return;
    if (node.kind == kDirectory) {
      fs::create_directory(path);
      dirs_.push_back(path);
    } else if (node.kind == kLinkToFile) {
      fs::create_symlink(files_[node.target % files_.size()], path);
    } else if (node.kind == kLinkToDirectory) {
      fs::create_symlink(link_dirs_[node.target % link_dirs_.size()], path);
    } else {
      MakeFile(path, node);
    }
  }

  std::string Path() const { return dirs_.front(); }

 private:
  void Finish(const std::string& file, const std::string& dir) {
    files_.push_back(file);
    link_dirs_.push_back(dir);
  }

  void MakeFile(const std::string& path, const Node& node) {
    std::string contents(node.size, '\0');
    for (std::size_t i = 0; i < contents.size(); ++i) {
      contents[i] = static_cast<char>(i * 31 + node.target);
    }
    world_.Write(path.substr(world_.Path().size() + 1), contents);
    SetMode(path, (node.mode & 07777) | 0400);
    SetTimes(path, node.access_time, node.modification_time);
    files_.push_back(path);
  }

  const TestDirectory& world_;
  std::vector<std::string> dirs_;
  std::vector<std::string> files_;      // possible targets of links
  std::vector<std::string> link_dirs_;  // the same for directories
};

struct CopiedFile {
  std::string path;  ///< links followed
  mode_t mode;
  time_t access_time, modification_time;
};

/// Returns everything by its path below the directory; follows every link.
struct Collected {
  std::map<std::string, CopiedFile> files;
  std::map<std::string, mode_t> directories;
  std::map<std::string, int> ways_to;  ///< the number of ways to a file, by its path
};

Collected Collect(const std::string& directory) {
  Collected collected;
  const auto followed = fs::directory_options::follow_directory_symlink;
  for (const auto& entry : fs::recursive_directory_iterator(directory, followed)) {
    const std::string path = fs::canonical(entry.path());
    const std::string name = entry.path().lexically_relative(directory);
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0) throw std::runtime_error("cannot stat " + path);
    if (entry.is_directory()) {
      collected.directories[name] = status.st_mode & 07777;
    } else {
      collected.files[name] = {path, status.st_mode & 07777, status.st_atime, status.st_mtime};
      ++collected.ways_to[path];
    }
  }
  return collected;
}

void RequireCopied(const CopiedFile& copy, const CopiedFile& source, mode_t umask,
                   bool is_read_only_once) {
  RequireEqual("mode", copy.mode, source.mode & 0777 & ~umask);
  Require(ReadFile(copy.path) == ReadFile(source.path), "other contents");
  if (source.access_time == 0) return;  // then the copy keeps its own times
  RequireEqual("modification time", copy.modification_time, source.modification_time);
  if (is_read_only_once) RequireEqual("access time", copy.access_time, source.access_time);
}

/// Reads the times before the contents, because reading changes them.
void CheckCopy(const std::string& source, const std::string& copy, mode_t umask) {
  Collected expected = Collect(source);
  {
    const ScopedUmask scoped(umask);
    KVLInsIO::Copy(source, copy);
  }
  for (const auto& entry : fs::recursive_directory_iterator(copy)) {
    Require(!entry.is_symlink(), "a link in the copy");
  }
  const Collected seen = Collect(copy);
  for (auto& [name, mode] : expected.directories) mode = 0755 & ~umask;
  RequireEqual("directories", seen.directories, expected.directories);
  RequireEqual("number of files", seen.files.size(), expected.files.size());
  for (const auto& [name, file] : seen.files) {
    const auto wanted = expected.files.find(name);
    Require(wanted != expected.files.end(), "a file that the source does not have: " + name);
    RequireCopied(file, wanted->second, umask, expected.ways_to[wanted->second.path] == 1);
  }
}

TEST(CopyProperties, OfAnyTreeAreThoseOfTheTreeWithItsLinksFollowed) {
  CheckProperty(0.5, [] {
    const TestDirectory world;
    RandomTree tree(world);
    for (const Node& node : *rc::gen::container<std::vector<Node>>(AnyNode())) tree.Make(node);
    const mode_t umask = *rc::gen::element<mode_t>(0, 022, 027, 077);
    CheckCopy(tree.Path(), world.Path("copy"), umask);

    const std::vector<std::string> outside = DescribeTree(world.Path("outside"));
    const std::vector<std::string> source = DescribeTree(tree.Path());
    KVLInsIO::Delete(world.Path("copy"));
    Require(!fs::exists(world.Path("copy")), "the copy is deleted");
    RequireEqual("source", DescribeTree(tree.Path()), source);
    KVLInsIO::Delete(tree.Path());
    Require(!fs::exists(tree.Path()), "the tree is deleted");
    RequireEqual("what links lead to", DescribeTree(world.Path("outside")), outside);
  });
}

}  // namespace
}  // namespace kvl::test
