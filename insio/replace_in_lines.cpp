#include "insio/replace_in_lines.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <exception>
#include <istream>
#include <stdexcept>
#include <streambuf>
#include <string_view>
#include <system_error>

#include "insio/copy.h"
#include "insio/delete.h"
#include "insio/file_attributes.h"
#include "insio/file_descriptor.h"
#include "insio/lines.h"
#include "insio/path_text.h"

namespace KVLInsIO {

using internal::FileDescriptor;
using internal::kReadWithoutWaiting;

namespace {

constexpr char kTemporarySuffix[] = "_TmpRIL";
constexpr mode_t kTemporaryMode = 0600;  // the file may hold what only its owner may read

/// One replacement, and how it reports failures.
struct Replacement {
  const std::string& old_text;
  const std::string& new_text;

  [[noreturn]] void Fail(const std::string& problem) const {
    throw std::runtime_error("KVLInsIO::ReplaceInLines: " + problem + "\nReplaced: " + old_text +
                             "\nReplacing: " + new_text);
  }
};

/// The bytes of an open file, for a stream to read.
class FileBytes : public std::streambuf {
 public:
  explicit FileBytes(const FileDescriptor& file) : file_(file) {}

 protected:
  /// Throws to put the stream into the bad state.
  int_type underflow() override {
    const ssize_t length = ::read(file_.Number(), bytes_.data(), bytes_.size());
    if (length < 0) throw std::system_error(errno, std::generic_category());
    if (length == 0) return traits_type::eof();
    setg(bytes_.data(), bytes_.data(), bytes_.data() + length);
    return traits_type::to_int_type(bytes_[0]);
  }

 private:
  const FileDescriptor& file_;
  std::array<char, 65536> bytes_{};
};

/// Returns false for pipes and devices, because reading them may wait or go on for ever. Reading a
/// directory fails.
bool IsFileOrDirectory(const FileDescriptor& file) {
  struct stat status;
  return ::fstat(file.Number(), &status) == 0 &&
         (S_ISREG(status.st_mode) || S_ISDIR(status.st_mode));
}

struct Rewritten {
  std::string contents;
  int replacements = 0;
};

Rewritten Rewrite(const std::string& path, const Replacement& replacement) {
  const FileDescriptor source(path, kReadWithoutWaiting);
  if (!source.IsOpen() || !IsFileOrDirectory(source)) replacement.Fail("Failed to open " + path);
  FileBytes bytes(source);
  std::istream file(&bytes);
  Rewritten result;
  bool is_first = true;
  for (std::string line; internal::ReadLine(file, line); is_first = false) {
    if (!is_first) result.contents.push_back('\n');
    result.replacements +=
        static_cast<int>(internal::ReplaceAll(line, replacement.old_text, replacement.new_text, 0));
    result.contents.append(line);
  }
  // A partly read file must not replace the whole one.
  if (file.bad()) replacement.Fail("Failed to read " + path);
  return result;
}

void DeleteIfPossible(const std::string& path) {
  try {
    Delete(path);
  } catch (const std::exception&) {
    // The caller reports the failure that matters; a leftover file is no failure.
  }
}

bool WriteAll(const FileDescriptor& file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(file.Number(), text.data(), text.size());
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

/// Removes what has the name already and writes through nothing: somebody else may have put a link
/// there.
void WriteTemporary(const std::string& path, const std::string& contents,
                    const Replacement& replacement) {
  ::unlink(path.c_str());
  FileDescriptor file(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kTemporaryMode);
  if (!file.IsOpen()) replacement.Fail("Failed to open " + path);
  if (WriteAll(file, contents) && file.Close()) return;
  DeleteIfPossible(path);
  replacement.Fail("Failed to write " + path);
}

}  // namespace

int ReplaceInLines(const std::string& file_name, const std::string& old_text,
                   const std::string& new_text) {
  const Replacement replacement = {old_text, new_text};
  if (file_name.empty()) replacement.Fail("Filename is empty");
  if (old_text.empty()) return 0;

  const std::string path = ToSlashes(file_name);
  const Rewritten rewritten = Rewrite(path, replacement);
  if (rewritten.replacements == 0) return 0;

  const std::string temporary = path + kTemporarySuffix;
  WriteTemporary(temporary, rewritten.contents, replacement);
  const bool was_read_only = SetReadOnly(path, kWritable);
  Copy(temporary, path);
  DeleteIfPossible(temporary);
  if (was_read_only) SetReadOnly(path, kReadOnly);
  return rewritten.replacements;
}

}  // namespace KVLInsIO
