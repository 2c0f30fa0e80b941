#include "companion/verify/mode_check.h"

#include "companion/names/path_below.h"
#include "companion/names/path_state.h"

namespace kvl {

void ModeCheck::AddFile(const std::string& path, mode_t mode, bool is_program) {
  ++(IsProgram(mode) ? programs_ : plain_files_);
  if (IsProgram(mode) != is_program) wrong_.push_back({path, is_program});
}

void ModeCheck::AddFlaws(const std::string& directory, std::vector<Flaw>& flaws) const {
  const bool has_modes = programs_ > 0 && plain_files_ > 0;
  if (wrong_.size() > 1 && !has_modes) {
    flaws.push_back({FlawKind::kWrongMode, directory,
                     programs_ > 0 ? "every file is executable: no modes are kept here"
                                   : "no file is executable: no modes are kept here"});
    return;
  }
  for (const WrongMode& wrong : wrong_) {
    flaws.push_back({FlawKind::kWrongMode, PathBelow(directory, wrong.path),
                     wrong.is_program ? "not executable" : "executable"});
  }
}

}  // namespace kvl
