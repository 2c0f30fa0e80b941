#include "launcher/clean_up_script.h"

#include <fstream>

#include "environment/media_names.h"

namespace kvl {

void WriteCleanUpScript(const std::string& staging_dir_slash) {
  std::ofstream script(staging_dir_slash + names::kCleanUpScript);
  script << ":begin\n"
         << "rmdir /Q /S \"" << staging_dir_slash << "inst\" 1>nul 2>nul\n"
         << "if exist \"" << staging_dir_slash << "inst\" goto begin\n"
         << "rmdir /Q /S \"" << staging_dir_slash << "\" 1>nul 2>nul\n";
}

}  // namespace kvl
