#include "environment/temporary_directory.h"

#include "environment/environment.h"
#include "environment/variables.h"

namespace kvl {

std::string TemporaryDirectory() {
  std::string directory = GetEnv(variables::kTmpDir);
  return directory.empty() ? std::string(kDefaultTemporaryDirectory) : directory;
}

}  // namespace kvl
