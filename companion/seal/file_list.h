// The list of a volume's files with their digests, "<i>.sha256", in the form of sha256sum(1): run in
// the volume's directory, "sha256sum -c" of any system compares the files with it.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "companion/seal/digest.h"
#include "companion/seal/line_reader.h"

namespace kvl {

struct ListedFile {
  std::string path;  ///< from the volume's directory, see IsListedPath
  Digest digest;

  friend bool operator==(const ListedFile&, const ListedFile&) = default;
};

/// The digest, two blanks, the path and a line feed. A path with a backslash or a line break is
/// escaped (see Escapes::kOfLines), and a backslash then begins the line.
std::string LineOf(const ListedFile& file);

/// No more of a line is held, which is far more than the path of a file takes.
inline constexpr std::size_t kLongestLine = 1U << 20U;

/// Reads a list of such lines piece by piece.
class FileListReader {
 public:
  explicit FileListReader(LineReader::Source source) : lines_(std::move(source), kLongestLine) {}

  /// The file that comes next in the order of PathOrder, each path once; nothing at the end. Throws
  /// RefusedText for what is no such list, and what the source throws.
  std::optional<ListedFile> Next();

  /// The digest of the whole list; once, when there is no next file.
  Digest Finish() { return lines_.Finish(); }

 private:
  LineReader lines_;
  std::size_t number_ = 0;
  std::string last_;  // path
};

}  // namespace kvl
