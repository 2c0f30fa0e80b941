#include "insio/replace_in_lines.h"

#include <exception>
#include <fstream>
#include <stdexcept>

#include "insio/copy.h"
#include "insio/delete.h"
#include "insio/entry.h"
#include "insio/file_attributes.h"
#include "insio/lines.h"
#include "insio/path_text.h"

namespace KVLInsIO {
namespace {

constexpr char kTemporarySuffix[] = "_TmpRIL";

/// One replacement to be done, and its failures.
struct Replacement {
  const std::string& old_text;
  const std::string& new_text;

  [[noreturn]] void Fail(const std::string& problem) const {
    throw std::runtime_error("KVLInsIO::ReplaceInLines: " + problem + "\nReplaced: " + old_text +
                             "\nReplacing: " + new_text);
  }
};

/// Such as a pipe, which would be waited for, or a device, which may never come to an end.
bool IsNeitherFileNorDirectory(const std::string& path) {
  return Exists(path) && !IsRegularFile(path) && !IsDirectory(path);
}

struct Rewritten {
  std::string contents;
  int replacements = 0;
};

Rewritten Rewrite(const std::string& path, const Replacement& replacement) {
  std::ifstream file;
  if (!IsNeitherFileNorDirectory(path)) file.open(path, std::ios::binary);
  if (!file.is_open()) replacement.Fail("Failed to open " + path);
  Rewritten result;
  bool is_first = true;
  for (std::string line; internal::ReadLine(file, line); is_first = false) {
    if (!is_first) result.contents.push_back('\n');
    result.replacements +=
        static_cast<int>(internal::ReplaceAll(line, replacement.old_text, replacement.new_text, 0));
    result.contents.append(line);
  }
  // A file that was read only in part must not replace the whole one.
  if (file.bad()) replacement.Fail("Failed to read " + path);
  return result;
}

void DeleteIfPossible(const std::string& path) {
  try {
    Delete(path);
  } catch (const std::exception&) {
    // What matters is said elsewhere; a leftover beside the file is no failure.
  }
}

void WriteTemporary(const std::string& path, const std::string& contents,
                    const Replacement& replacement) {
  std::ofstream file;
  if (!IsPipe(path)) file.open(path, std::ios::binary);
  if (!file.is_open()) replacement.Fail("Failed to open " + path);
  file << contents;
  file.close();
  if (file) return;
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
