#include "launcher/clean_up_script.h"

#include <fstream>

#include "environment/media_names.h"

namespace kvl {

std::string CleanUpScript(const std::string& staging_dir_slash) {
  const std::string inst = "\"" + staging_dir_slash + "inst\"";
  return ":begin\nrmdir /Q /S " + inst + " 1>nul 2>nul\nif exist " + inst +
         " goto begin\nrmdir /Q /S \"" + staging_dir_slash + "\" 1>nul 2>nul\n";
}

void WriteCleanUpScript(const std::string& staging_dir_slash) {
  std::ofstream script(staging_dir_slash + names::kCleanUpScript);
  script << CleanUpScript(staging_dir_slash);
}

}  // namespace kvl
