#include "companion/calls/seal_call.h"

#include <CLI/CLI.hpp>
#include <exception>

#include "companion/calls/console_output.h"
#include "companion/calls/media_directories.h"
#include "companion/names/plain_text.h"
#include "companion/seal/minisign.h"
#include "companion/verify/media_seal.h"
#include "insio/entry.h"

namespace kvl {

void AddSeal(CLI::App& app, SealCall& call) {
  CLI::App* seal = app.add_subcommand(
      "seal",
      "Signs the manifest of a media with minisign, which asks for the password of the key, and\n"
      "writes the signature onto each volume given. Verify the media first.");
  seal->add_option("DIR", call.directories,
                   "Directory of a volume, or the directory that holds volumes as 1, 2, ...")
      ->required();
  seal->add_option("--key", call.key, "Secret key file of minisign")
      ->required()
      ->check(RefuseEmpty)
      ->take_last();
  seal->footer("Exit status: 0 done, 1 the media could not be sealed, 2 bad call.");
}

int RunSeal(const SealCall& call) {
  std::vector<std::string> directories;
  try {
    directories = MediaDirectories(call.directories);
  } catch (const std::exception& failure) {
    return BadCall(MessageOf(failure));
  }
  if (!KVLInsIO::IsRegularFile(call.key)) {
    return BadCall("the key is missing or not a regular file: " + call.key +
                   "; name a secret key file of minisign with --key");
  }
  if (!HasMinisign()) return BadCall(kNoMinisign);
  try {
    const SealedMedia sealed = SealMedia(directories, call.key);
    if (Write("Sealed a media with tag " + ToOneLine(sealed.tag) +
              ", signatures: " + std::to_string(sealed.signatures) + ".\n")) {
      return kFine;
    }
    return BadCall(
        "the media was sealed, but the report cannot be written: standard output; check the file "
        "or program that receives it");
  } catch (const std::exception& failure) {
    BadCall(MessageOf(failure));
    return kProblems;
  }
}

}  // namespace kvl
