#include "tests/support/test_directory.h"

#include <utime.h>

namespace kvl::test {
namespace {

constexpr std::size_t kLongContents = 200;

struct stat StatusOf(const std::string& path, bool follow) {
  struct stat status;
  if ((follow ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status)) != 0) {
    throw std::runtime_error("cannot stat " + path);
  }
  return status;
}

std::string AllOf(const std::ifstream& file) {
  std::ostringstream all;
  all << file.rdbuf();  // much faster than byte by byte
  return all.str();
}

std::string Describe(const fs::directory_entry& entry, const std::string& name, bool exactly) {
  const struct stat status = StatusOf(entry.path().string(), /*follow=*/false);
  const bool is_link = S_ISLNK(status.st_mode), is_file = S_ISREG(status.st_mode);
  const char kind = is_file ? 'f' : S_ISDIR(status.st_mode) ? 'd' : 'p';
  std::ostringstream line;
  if (is_link) {
    line << "l " << name << " -> " << fs::read_symlink(entry.path()).string();
  } else {
    line << TreeLine(kind, status.st_mode & 07777, name);
  }
  if (is_file) {
    line << " = " << DescribeContents(AllOf(std::ifstream(entry.path(), std::ios::binary)));
  }
  if (exactly) {
    line << " [inode " << status.st_ino << ", owner " << status.st_uid << ":" << status.st_gid
         << ", modified " << status.st_mtim.tv_sec << "." << status.st_mtim.tv_nsec << ", changed "
         << status.st_ctim.tv_sec << "." << status.st_ctim.tv_nsec << "]";
  }
  return line.str();
}

std::vector<std::string> DescribeAll(const std::string& directory, bool exactly) {
  std::vector<std::string> lines;
  if (!fs::is_directory(directory)) return lines;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    lines.push_back(Describe(entry, entry.path().lexically_relative(directory).string(), exactly));
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace

TestDirectory::TestDirectory() {
  const char* base = std::getenv("TMPDIR");
  std::string name = fs::canonical(base != nullptr && *base != '\0' ? base : "/tmp").string();
  name += "/kvl-test-XXXXXX";
  if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
  path_ = name;
}

TestDirectory::~TestDirectory() {
  if (testing::Test::HasFailure()) {
    std::cout << "The directory of this test is kept: " << path_ << std::endl;
    return;
  }
  std::error_code ignored;
  OpenUp(path_);  // an ordinary user cannot empty a directory without permissions
  fs::remove_all(path_, ignored);
}

std::string TestDirectory::Path(std::string_view relative) const {
  return path_ + "/" + std::string(relative);
}

std::string TestDirectory::MakeDir(std::string_view relative) const {
  const std::string path = Path(relative);
  fs::create_directories(path);
  return path;
}

std::string TestDirectory::PathWithParents(std::string_view relative) const {
  const std::string path = Path(relative);
  fs::create_directories(fs::path(path).parent_path());
  return path;
}

std::string TestDirectory::Write(std::string_view relative, std::string_view contents) const {
  const std::string path = PathWithParents(relative);
  WriteFile(path, contents);
  return path;
}

std::string TestDirectory::Link(std::string_view relative, const std::string& target) const {
  const std::string path = PathWithParents(relative);
  fs::create_symlink(target, path);
  return path;
}

std::string TestDirectory::HardLink(std::string_view relative, const std::string& existing) const {
  const std::string path = PathWithParents(relative);
  fs::create_hard_link(existing, path);
  return path;
}

std::string TestDirectory::Pipe(std::string_view relative) const {
  const std::string path = PathWithParents(relative);
  if (::mkfifo(path.c_str(), 0600) != 0) throw std::runtime_error("cannot make " + path);
  return path;
}

void OpenUp(const std::string& directory) {
  std::error_code ignored;
  fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, ignored);
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, ignored)) {
    if (entry.is_directory(ignored) && !entry.is_symlink(ignored)) OpenUp(entry.path().string());
  }
}

void WriteFile(const std::string& path, std::string_view contents) {
  std::ofstream file(path, std::ios::binary);
  file << contents;
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

std::string ReadFile(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.is_open()) << "cannot read " << path;
  return AllOf(file);
}

std::string DescribeContents(std::string_view contents) {
  if (contents.size() <= kLongContents) return std::string(contents);
  return std::to_string(contents.size()) + " bytes, hash " +
         std::to_string(std::hash<std::string_view>()(contents));
}

std::string TreeLine(char kind, unsigned mode, const std::string& rest) {
  std::ostringstream line;
  line << kind << " " << std::oct << mode << " " << rest;
  return line.str();
}

std::string Masked(const std::string& line, unsigned umask) {
  std::size_t length = 0;
  const auto mode = static_cast<unsigned>(std::stoul(line.substr(2), &length, 8));
  return TreeLine(line[0], mode & ~umask, line.substr(2 + length + 1));
}

std::vector<std::string> DescribeTree(const std::string& directory) {
  return DescribeAll(directory, /*exactly=*/false);
}

std::vector<std::string> DescribeTreeExactly(const std::string& directory) {
  return DescribeAll(directory, /*exactly=*/true);
}

unsigned ModeOf(const std::string& path) {
  return StatusOf(path, /*follow=*/true).st_mode & 07777;
}

void SetMode(const std::string& path, unsigned mode) {
  if (::chmod(path.c_str(), mode) != 0) throw std::runtime_error("cannot chmod " + path);
}

void SetTimes(const std::string& path, long access, long modification) {
  const utimbuf times = {access, modification};
  if (::utime(path.c_str(), &times) != 0) throw std::runtime_error("cannot set times of " + path);
}

}  // namespace kvl::test
