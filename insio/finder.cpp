#include "insio/finder.h"

#include <dirent.h>
#include <errno.h>

#include <string_view>
#include <utility>

#include "insio/exceptions.h"
#include "insio/path.h"
#include "insio/path_text.h"

namespace KVLInsIO {
namespace {

struct DirectoryCloser {
  void operator()(DIR* stream) const { ::closedir(stream); }
};
using DirectoryStream = std::unique_ptr<DIR, DirectoryCloser>;

bool IsSelfOrParent(std::string_view name) {
  return name == "." || name == "..";
}

/// Why a list is not whole; no error when it is.
struct Failure {
  std::string operation;
  int error = 0;
};

/// Out of descriptors or memory: this says nothing about the directory.
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
  DirectoryStream stream;
  const dirent* last_read = nullptr;
  Failure cut_short;

  /// Reads one entry of any kind. False at the end.
  bool ReadEntry() {
    errno = 0;
    last_read = ::readdir(stream.get());
    if (last_read == nullptr && errno != 0) cut_short = {"readdir - ", errno};
    return last_read != nullptr;
  }

  void TakeEntry() {
    name = last_read->d_name;
    full_path.resize(directory.size() + kPathSeparator.size());
    full_path.append(name);
    type = GetType(full_path);
  }

  void GoToNextMatch() {
    while (ReadEntry()) {
      TakeEntry();
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
  return state_->at_end;
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
  const Failure& failure = state_->cut_short;
  if (failure.error == 0) return;
  throw KVLInsException(failure.operation + state_->directory, failure.error);
}

InsFileFinder FindFirstFile(const std::string& path, int type_mask) {
  auto state = std::make_unique<InsFileFinder::State>();
  state->directory = InsPath(path).Str();
  if (state->directory.empty()) throw KVLInsException("FindFirstFile - Path is empty");
  state->full_path.append(state->directory).append(kPathSeparator);
  state->mask = type_mask;
  state->stream.reset(::opendir(path.c_str()));
  if (state->stream != nullptr) {
    state->GoToNextMatch();
  } else {
    if (IsShortage(errno)) state->cut_short = {"opendir - ", errno};
    state->at_end = true;
  }
  return InsFileFinder(std::move(state));
}

void FindNextFile(InsFileFinder& finder) {
  finder.state_->GoToNextMatch();
}

bool IsEmptyDir(const std::string& path) {
  return FindFirstFile(path, kDirectoryOrFile).AtEnd();
}

}  // namespace KVLInsIO
