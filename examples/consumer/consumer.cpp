// Copies a tree, replaces a word in every file of the copy, and lists it:
//
//   consumer SOURCE DESTINATION OLD NEW
#include <KVLInsIO/copy.h>
#include <KVLInsIO/finder.h>
#include <KVLInsIO/replace_in_lines.h>
#include <cstdio>
#include <exception>
#include <string>

namespace {

int ReplaceInTree(const std::string& directory, const std::string& old_word,
                  const std::string& new_word) {
  int replacements = 0;
  auto finder = KVLInsIO::FindFirstFileExactly(directory, KVLInsIO::kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) {
    const std::string& path = finder.FullPath();
    if (finder.IsDirectory()) {
      replacements += ReplaceInTree(path, old_word, new_word);
    } else {
      const int count = KVLInsIO::ReplaceInLines(path, old_word, new_word);
      std::printf("%s: %d\n", path.c_str(), count);
      replacements += count;
    }
  }
  return replacements;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fputs("usage: consumer SOURCE DESTINATION OLD NEW\n", stderr);
    return 2;
  }
  try {
    KVLInsIO::Copy(argv[1], argv[2]);
    std::printf("%d replaced\n", ReplaceInTree(argv[2], argv[3], argv[4]));
    return 0;
  } catch (const std::exception& failure) {
    std::fputs(failure.what(), stderr);  // the text ends in a line feed
    return 1;
  }
}
