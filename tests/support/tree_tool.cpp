// Runs one operation of the library and tells how much memory it took. It is a program of its own,
// because the test program itself takes much memory.
//
//   tree_tool copy SOURCE DESTINATION     tree_tool delete PATH     tree_tool delete_empty PATH
//   tree_tool list DIRECTORY              tree_tool replace FILE OLD NEW
//
// Prints the operation's result, 0 without one, a blank, and the peak resident memory in KiB. Ends
// with 0; with 1 and the message on standard error after a failure; with 2 after a wrong call.
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "insio/copy.h"
#include "insio/delete.h"
#include "insio/finder.h"
#include "insio/replace_in_lines.h"

namespace {

using namespace KVLInsIO;

constexpr int kNotUnderstood = -1;

int CountEntries(const std::string& directory) {
  int count = 0;
  InsFileFinder finder = FindFirstFile(directory, kDirectoryOrFile);
  for (; !finder.AtEnd(); FindNextFile(finder)) ++count;
  return count;
}

int Do(const std::vector<std::string>& words) {
  const std::string what = words.empty() ? "" : words[0];
  if (what == "copy" && words.size() == 3) return Copy(words[1], words[2]), 0;
  if (what == "delete" && words.size() == 2) return Delete(words[1]), 0;
  if (what == "delete_empty" && words.size() == 2) return DeleteEmptyTree(words[1]) ? 1 : 0;
  if (what == "list" && words.size() == 2) return CountEntries(words[1]);
  if (what == "replace" && words.size() == 4) return ReplaceInLines(words[1], words[2], words[3]);
  return kNotUnderstood;
}

/// Returns the peak resident memory of this process in KiB; 0 if the system does not tell.
long MostResidentMemory() {
  long kibibytes = 0;
  std::FILE* status = std::fopen("/proc/self/status", "re");
  if (status == nullptr) return 0;
  for (char line[256]; std::fgets(line, sizeof line, status) != nullptr;) {
    if (std::sscanf(line, "VmHWM: %ld", &kibibytes) == 1) break;
  }
  std::fclose(status);
  return kibibytes;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const int result = Do({argv + 1, argv + argc});
    if (result == kNotUnderstood) return 2;
    std::printf("%d %ld\n", result, MostResidentMemory());
    return 0;
  } catch (const std::exception& failure) {
    std::fputs(failure.what(), stderr);
    return 1;
  }
}
