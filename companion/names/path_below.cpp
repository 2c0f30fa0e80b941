#include "companion/names/path_below.h"

#include <algorithm>
#include <filesystem>

namespace kvl {

std::string AbsolutePath(const std::string& path) {
  namespace fs = std::filesystem;
  const fs::path absolute = fs::absolute(path);
  const bool goes_up = std::find(absolute.begin(), absolute.end(), "..") != absolute.end();
  std::string text =
      (goes_up ? fs::weakly_canonical(absolute) : absolute.lexically_normal()).string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

}  // namespace kvl
