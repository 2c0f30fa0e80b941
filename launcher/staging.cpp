#include "launcher/staging.h"

#include <sys/stat.h>

#include "console/identifier.h"
#include "environment/media_names.h"
#include "insio/copy.h"

namespace kvl {
namespace {

using KVLInsIO::Copy;
using KVLInsIO::InsPath;
using KVLInsIO::Join;

/// In the order of copying.
constexpr const char* kStaged[] = {names::kInst,    names::kTableOfContents, names::kMediaXml,
                                   names::kMediaDb, names::kStartGui,        names::kStartTui};

/// Ends the search on a broken file system, where every name may seem to exist.
constexpr int kMostTakenNames = 1000;

bool IsTaken(const std::string& staging_dir_slash) {
  struct stat status;
  // Without the closing "/", as the copy uses the path: lstat then looks at a link itself.
  return ::lstat(InsPath(staging_dir_slash).Str().c_str(), &status) == 0;
}

}  // namespace

std::string NewStagingDirectory(const std::string& temp_root) {
  return temp_root + "/" + NewIdentifier(kUpperCase) + "/";
}

std::string FreeStagingDirectory(const std::string& temp_root, std::string staging_dir_slash) {
  for (int taken = 0; taken < kMostTakenNames && IsTaken(staging_dir_slash); ++taken) {
    staging_dir_slash = NewStagingDirectory(temp_root);
  }
  return staging_dir_slash;
}

std::vector<StagingCopy> StagingCopies(const StagingRequest& request) {
  std::vector<StagingCopy> copies;
  for (const char* name : kStaged) {
    copies.push_back({Join(request.media_dir.Str(), name).Str(), request.staging_dir_slash + name});
  }
  if (request.external_inst_slash.empty()) return copies;
  const std::string staged_inst_slash = request.staging_dir_slash + names::kInst + "/";
  for (const std::string& name : {std::string(names::kCommon), request.os_name}) {
    // The source gets a doubled slash, which is harmless.
    copies.push_back({request.external_inst_slash + "/" + name, staged_inst_slash + name});
  }
  return copies;
}

void MakeCopies(const std::vector<StagingCopy>& copies) {
  for (const StagingCopy& copy : copies) Copy(copy.source, copy.destination);
}

}  // namespace kvl
