#include "launcher/staging.h"

#include "console/identifier.h"
#include "environment/temporary_directory.h"
#include "insio/copy.h"

namespace kvl {
namespace {

using KVLInsIO::Copy;
using KVLInsIO::InsPath;
using KVLInsIO::Join;

constexpr char kInst[] = "inst";
constexpr char kCommon[] = "common";

/// In the order of copying.
constexpr const char* kStaged[] = {kInst,      "meta.TOCxml", "media.xml",
                                   "media.db", "StartGUI.sh", "StartTUI.sh"};

}  // namespace

std::string InstallerIn(const InsPath& media_dir, const std::string& os_name,
                        const std::string& executable) {
  InsPath path = media_dir;
  for (const std::string& part :
       {std::string(kInst), os_name, std::string("code"), std::string("bin"), executable}) {
    path = Join(path.Str(), part);
  }
  return path.Str();
}

std::string NewStagingDirectory() {
  return TemporaryDirectory() + "/" + NewIdentifier(kUpperCase) + "/";
}

void StageInstaller(const StagingRequest& request) {
  for (const char* name : kStaged) {
    Copy(Join(request.media_dir.Str(), name).Str(), request.staging_dir_slash + name);
  }
  if (request.external_inst_slash.empty()) return;
  const std::string staged_inst_slash = request.staging_dir_slash + kInst + "/";
  for (const std::string& name : {std::string(kCommon), request.os_name}) {
    // The doubled slash in the source is harmless.
    Copy(request.external_inst_slash + "/" + name, staged_inst_slash + name);
  }
}

}  // namespace kvl
