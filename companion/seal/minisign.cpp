#include "companion/seal/minisign.h"

#include <errno.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <stdlib.h>
#include <system_error>

#include "companion/names/bounded_text.h"
#include "companion/names/path_below.h"
#include "companion/programs/other_program.h"
#include "companion/seal/signature.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

constexpr char kMinisign[] = "minisign";

/// A temporary directory for making one signature.
class Workshop {
 public:
  Workshop() {
    const std::string wanted = GetEnv("TMPDIR"), place = wanted.empty() ? "/tmp" : wanted;
    path_ = PathBelow(place, "kvl-media-XXXXXX");
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::runtime_error("no directory to sign in can be made: " + place + ": " +
                               std::strerror(errno) +
                               "; let TMPDIR name a directory that you can write into");
    }
  }
  ~Workshop() {
    std::error_code lost;
    std::filesystem::remove_all(path_, lost);
  }
  Workshop(const Workshop&) = delete;
  Workshop& operator=(const Workshop&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

bool HasMinisign() {
  return !PathOfProgram(kMinisign).empty();
}

std::string SignWithMinisign(const std::string& key, const std::string& text) {
  const ProgramScope programs;
  const Workshop workshop;
  const OpenDirectory directory(workshop.Path());
  directory.WriteFile(names::kManifest, text, KVLInsIO::FileKind::kPlain);
  // The comment has no time in it, so the signature does not depend on the time.
  constexpr char kLine[] =
      R"(exec minisign -S -s "$1" -m "$2" -x "$3" -t "file:media.manifest" >&2)";
  const int status =
      programs.Run({"/bin/sh", "-c", kLine, "sh", key, PathBelow(workshop.Path(), names::kManifest),
                    PathBelow(workshop.Path(), names::kSignature)});
  if (status != 0) {
    throw std::runtime_error("minisign has not signed the manifest: it ended with status " +
                             std::to_string(status) + "; correct what it says above");
  }
  std::string signature = WholeText(directory.File(names::kSignature), kMostOfASignature);
  if (!WhyNoSignature(signature).empty()) {
    throw std::runtime_error("minisign has not written a signature: " + PathOfProgram(kMinisign) +
                             "; check which program this is");
  }
  return signature;
}

}  // namespace kvl
