#include "insio/finder.h"

#include <dirent.h>
#include <errno.h>
#include <limits.h>

#include <string_view>
#include <utility>

#include "insio/entry_at.h"
#include "insio/exceptions.h"
#include "insio/finder_walk.h"
#include "insio/path.h"
#include "insio/path_text.h"

namespace KVLInsIO {
// The parts of a finder need linkage, because the finder has it.
namespace internal {

struct DirectoryCloser {
  void operator()(DIR* stream) const { ::closedir(stream); }
};
using DirectoryStream = std::unique_ptr<DIR, DirectoryCloser>;

/// Why a list is incomplete; without an error, it is complete.
struct Failure {
  std::string operation;
  int error = 0;
};

/// The names of entries that were read ahead, each followed by a NUL byte.
class NamesAhead {
 public:
  void Add(const char* name) { names_.append(name).push_back('\0'); }
  bool AtEnd() const { return next_ == names_.size(); }

  /// Returns how many bytes are kept; a taken name counts until the last one is taken.
  std::size_t Size() const { return AtEnd() ? 0 : names_.size(); }

  void Take(std::string& name) {
    name = names_.c_str() + next_;
    next_ += name.size() + 1;
    if (!AtEnd()) return;
    names_.clear();
    next_ = 0;
  }

 private:
  std::string names_;
  std::size_t next_ = 0;
};

}  // namespace internal

namespace {

bool IsSelfOrParent(std::string_view name) {
  return name == "." || name == "..";
}

constexpr char kOpening[] = "opendir - ";

/// Returns true if descriptors or memory ran out, which says nothing about the directory.
bool IsShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM;
}

}  // namespace

struct InsFileFinder::State {
  std::string directory;
  int mask = 0;
  bool at_end = false;
  std::string name;
  std::string full_path;
  EntryType type = kNoEntry;
  int opening_error = 0;
  internal::DirectoryStream stream;  // null once its end has been read ahead
  bool opened_by_its_name = false;   // not by a path whose normalised form is `directory`
  const dirent* last_read = nullptr;
  internal::NamesAhead ahead;
  internal::Failure cut_short;

  /// Returns false at the end.
  bool ReadEntry() {
    errno = 0;
    last_read = ::readdir(stream.get());
    if (last_read == nullptr && errno != 0) cut_short = {"readdir - ", errno};
    return last_read != nullptr;
  }

  /// Takes the next name of any kind. Returns false at the end.
  bool NextName() {
    if (!ahead.AtEnd()) {
      ahead.Take(name);
      return true;
    }
    if (stream == nullptr || !ReadEntry()) return false;
    name = last_read->d_name;
    return true;
  }

  /// Looks at the entry from its directory, which saves the way down from the root. Uses the path
  /// instead if that leads elsewhere, or is too long for anybody to open.
  EntryType TypeOfEntry() const {
    if (stream == nullptr || !opened_by_its_name || full_path.size() >= PATH_MAX) {
      return GetType(full_path);
    }
    return internal::GetTypeAt(::dirfd(stream.get()), name.c_str(), full_path);
  }

  void GoToNextMatch() {
    while (NextName()) {
      full_path.resize(directory.size() + kPathSeparator.size());
      full_path.append(name);
      type = TypeOfEntry();
      if (!IsSelfOrParent(name) && (type & mask) != 0) return;
    }
    at_end = true;
  }
};

InsFileFinder::InsFileFinder(std::unique_ptr<State> state) : state_(std::move(state)) {}
InsFileFinder::InsFileFinder(InsFileFinder&&) noexcept = default;
InsFileFinder& InsFileFinder::operator=(InsFileFinder&&) noexcept = default;
InsFileFinder::~InsFileFinder() = default;

bool InsFileFinder::AtEnd() const {
  return state_ == nullptr || state_->at_end;
}
const std::string& InsFileFinder::Name() const {
  return state_->name;
}
const std::string& InsFileFinder::FullPath() const {
  return state_->full_path;
}
EntryType InsFileFinder::Type() const {
  return state_->type;
}
bool InsFileFinder::IsFile() const {
  return (state_->type & kFile) != 0;
}
bool InsFileFinder::IsDirectory() const {
  return (state_->type & kDirectory) != 0;
}
void InsFileFinder::Close() noexcept {
  state_.reset();
}

void InsFileFinder::ThrowIfCutShort() const {
  if (state_ == nullptr) return;
  const internal::Failure& failure = state_->cut_short;
  if (failure.error == 0) return;
  throw KVLInsException(failure.operation + state_->directory, failure.error);
}

InsFileFinder InsFileFinder::Start(const std::string& path, std::string directory, int type_mask) {
  if (directory.empty()) throw KVLInsException("FindFirstFile - Path is empty");
  auto state = std::make_unique<State>();
  state->full_path.append(directory).append(kPathSeparator);
  state->opened_by_its_name = path == directory;
  state->directory = std::move(directory);
  state->mask = type_mask;
  state->stream.reset(::opendir(path.c_str()));
  if (state->stream == nullptr) state->opening_error = errno;
  if (IsShortage(state->opening_error)) state->cut_short = {kOpening, state->opening_error};
  state->GoToNextMatch();  // ends at once without a stream
  return InsFileFinder(std::move(state));
}

InsFileFinder FindFirstFile(const std::string& path, int type_mask) {
  return InsFileFinder::Start(path, InsPath(path).Str(), type_mask);
}

InsFileFinder FindFirstFileExactly(const std::string& directory, int type_mask) {
  return InsFileFinder::Start(directory, directory, type_mask);
}

void FindNextFile(InsFileFinder& finder) {
  finder.state_->GoToNextMatch();
}

InsFileFinder internal::EnterEntry(const InsFileFinder& above) {
  InsFileFinder below = FindFirstFileExactly(above.FullPath(), above.state_->mask);
  const int error = below.state_->opening_error;
  if (error == 0) return below;
  static_cast<void>(GetType(above.FullPath()));  // throws if the path no longer leads there
  if (error != EACCES && error != ENOENT) below.state_->cut_short = {kOpening, error};
  return below;
}

std::size_t internal::ReadAhead(InsFileFinder& finder, std::size_t most_bytes) {
  InsFileFinder::State& state = *finder.state_;
  NamesAhead& ahead = state.ahead;
  if (state.stream == nullptr || !ahead.AtEnd()) return ahead.Size();
  while (ahead.Size() < most_bytes) {
    if (!state.ReadEntry()) {
      state.stream.reset();
      break;
    }
    ahead.Add(state.last_read->d_name);
  }
  return ahead.Size();
}

bool ForEachName(const std::string& directory, const std::function<void(std::string_view)>& visit) {
  const internal::DirectoryStream stream(::opendir(directory.c_str()));
  if (stream == nullptr) return false;
  errno = 0;
  while (const dirent* entry = ::readdir(stream.get())) {
    visit(entry->d_name);
    errno = 0;
  }
  return errno == 0;
}

bool IsEmptyDir(const std::string& path) {
  return FindFirstFile(path, kDirectoryOrFile).AtEnd();
}

}  // namespace KVLInsIO
