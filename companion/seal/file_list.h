// The list of a volume's files with their digests, "<i>.sha256", in the form of sha256sum(1): run in
// the volume's directory, "sha256sum -c" of any system compares the files with it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "companion/seal/digest.h"

namespace kvl {

struct ListedFile {
  std::string path;  ///< from the volume's directory, see IsListedPath
  Digest digest;

  friend bool operator==(const ListedFile&, const ListedFile&) = default;
};

/// The digest, two blanks, the path and a line feed. A path with a backslash or a line break is
/// escaped (see Escapes::kOfLines), and a backslash then begins the line.
std::string LineOf(const ListedFile& file);

/// The files of a list of such lines, in the order of PathOrder, each path once; none for the
/// empty text. Throws RefusedText for any other text.
std::vector<ListedFile> ParseFileList(std::string_view text);

}  // namespace kvl
