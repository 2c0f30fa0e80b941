#include "companion/clean/left_overs.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <set>
#include <stdexcept>

#include "companion/clean/open_level.h"
#include "companion/clean/tree_use.h"
#include "companion/names/plain_text.h"
#include "console/identifier.h"
#include "environment/media_names.h"
#include "insio/exceptions.h"
#include "insio/failed_call.h"
#include "launcher/clean_up_script.h"

namespace kvl {
namespace {

using KVLInsIO::KVLInsException;
using KVLInsIO::internal::FileDescriptor;
using KVLInsIO::internal::kReadWithoutWaiting;

constexpr int kFileItself = kReadWithoutWaiting | O_NOFOLLOW;

FileIdentity IdentityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

/// Returns the text of the clean-up script; empty when it is not a regular file. Reads no more than
/// a script with three paths of the greatest length has.
std::string ScriptIn(const OpenLevel& directory) {
  constexpr std::size_t kLongestScript = 16384;
  const FileDescriptor file(directory.File(), names::kCleanUpScript, kFileItself);
  const auto require = [&](bool is_so) {
    KVLInsIO::internal::ThrowUnless<KVLInsException>(is_so, "Cannot read ",
                                                     directory.PathOf(names::kCleanUpScript));
  };
  require(file.IsOpen());
  if (!StateOfOpen(file.Number()).IsFile()) return {};
  std::string text(kLongestScript, '\0');
  std::size_t length = 0;
  for (ssize_t more = 1; more > 0 && length < kLongestScript;
       length += static_cast<std::size_t>(more)) {
    more = ::read(file.Number(), text.data() + length, kLongestScript - length);
    require(more >= 0);
  }
  text.resize(length);
  return text;
}

/// Returns whether a launcher writes this script into a staging directory of this name.
bool IsScriptOf(const std::string& text, const std::string& name) {
  const std::string end = "/" + name + "/";
  const std::size_t quote = text.find('"'), at = text.find(end, quote);
  if (at == std::string::npos) return false;
  return text == CleanUpScript(text.substr(quote + 1, at + end.size() - quote - 1));
}

/// A tree that may be removed. Every exception of Look and CheckUse is a reason to leave it alone.
class LeftTree {
 public:
  LeftTree(const OpenLevel& parent, const std::string& name) : parent_(parent), name_(name) {}

  void Look() {
    const struct stat status = parent_.Look(name_);
    if (!S_ISDIR(status.st_mode)) throw std::runtime_error("it is not a directory");
    if (status.st_uid != ::geteuid()) throw std::runtime_error("another user owns it");
    device_ = status.st_dev;
    entries_.insert(IdentityOf(status));
    const OpenLevel top(parent_, name_);
    if (!IsScriptOf(ScriptIn(top), name_)) {
      throw std::runtime_error("its remove.bat is not what a launcher writes there");
    }
    if (HasMounts(name_)) {
      throw std::runtime_error("something is mounted in it, or a part of it is mounted elsewhere");
    }
    LookBelow(top);
  }

  /// Call it when this process has nothing of the tree open.
  void CheckUse() const {
    const ProcessUse use = FindUser(name_, entries_);
    if (!use.user.empty()) throw std::runtime_error(use.user + " uses it");
    if (!use.is_whole) CheckUseOfFiles(OpenLevel(parent_, name_));
  }

  void Remove() const {
    const OpenLevel top(parent_, name_);
    RemoveBelow(top, names::kCleanUpScript);
    top.Unlink(names::kCleanUpScript);
    parent_.RemoveDirectory(name_);
  }

 private:
  void LookBelow(const OpenLevel& directory) {
    for (const std::string& name : directory.Names()) {
      const struct stat status = directory.Look(name);
      const std::string path = directory.PathOf(name);
      if (status.st_dev != device_) {
        throw std::runtime_error("a part of it is another file system: " + path);
      }
      if (status.st_uid != ::geteuid()) {
        throw std::runtime_error("another user owns a part of it: " + path);
      }
      entries_.insert(IdentityOf(status));
      if (S_ISDIR(status.st_mode)) LookBelow(OpenLevel(directory, name));
    }
  }

  /// Asks the system about each file. Needed when FindUser could not look at all processes.
  static void CheckUseOfFiles(const OpenLevel& directory) {
    for (const std::string& name : directory.Names()) {
      const mode_t mode = directory.Look(name).st_mode;
      if (S_ISDIR(mode)) CheckUseOfFiles(OpenLevel(directory, name));
      if (!S_ISREG(mode)) continue;
      const FileDescriptor file(directory.File(), name, kFileItself);
      const FileUse use = file.IsOpen() ? UseOf(file.Number()) : FileUse::kUnknown;
      const std::string path = directory.PathOf(name);
      if (use == FileUse::kOther) {
        throw std::runtime_error("a process uses a file in it: " + path);
      }
      if (use == FileUse::kUnknown) {
        throw std::runtime_error("the system does not say whether a process uses a file in it: " +
                                 path);
      }
    }
  }

  /// Removes everything in the directory except the entry `but`.
  void RemoveBelow(const OpenLevel& directory, const std::string& but) const {
    if (!entries_.contains(directory.Identity())) RefuseAsNew(directory.Path());
    for (const std::string& name : directory.Names()) {
      if (name == but) continue;
      const struct stat status = directory.Look(name);
      if (!entries_.contains(IdentityOf(status))) RefuseAsNew(directory.PathOf(name));
      if (S_ISDIR(status.st_mode)) {
        RemoveBelow(OpenLevel(directory, name), "");
        directory.RemoveDirectory(name);
      } else {
        directory.Unlink(name);
      }
    }
  }

  [[noreturn]] static void RefuseAsNew(const std::string& path) {
    throw std::runtime_error("this appeared while clean was at work: " + path);
  }

  const OpenLevel& parent_;
  const std::string& name_;
  dev_t device_ = 0;
  std::set<FileIdentity> entries_;
};

/// Returns the message of what `action` throws, or an empty text.
template <typename Action>
std::string FailureOf(Action action) {
  try {
    action();
    return {};
  } catch (const std::exception& failure) {
    return MessageOf(failure);
  }
}

template <typename Decide>
std::vector<LeftOver> GoThrough(const std::string& directory, Decide decide) {
  const OpenLevel parent(directory);
  std::vector<LeftOver> found;
  for (const std::string& name : parent.Names()) {
    if (!IsIdentifier(name, kUpperCase)) continue;
    LeftOver left = {.path = parent.PathOf(name), .fate = Fate::kLeftAlone};
    LeftTree tree(parent, name);
    left.reason = FailureOf([&] {
      tree.Look();
      tree.CheckUse();
    });
    if (left.reason.empty()) decide(tree, left);
    found.push_back(std::move(left));
  }
  return found;
}

}  // namespace

std::vector<LeftOver> FindLeftOvers(const std::string& directory) {
  return GoThrough(directory, [](const LeftTree&, LeftOver& left) { left.fate = Fate::kCanGo; });
}

std::vector<LeftOver> RemoveLeftOvers(const std::string& directory) {
  return GoThrough(directory, [](const LeftTree& tree, LeftOver& left) {
    left.reason = FailureOf([&] { tree.Remove(); });
    left.fate = left.reason.empty() ? Fate::kRemoved : Fate::kNotRemoved;
  });
}

}  // namespace kvl
