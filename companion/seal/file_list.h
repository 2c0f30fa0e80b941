// The list of a volume's files with their digests, "<i>.sha256". It has the format of sha256sum(1),
// so "sha256sum -c" checks the files when it runs in the volume's directory.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "companion/seal/digest.h"
#include "companion/seal/line_reader.h"

namespace kvl {

struct ListedFile {
  std::string path;  ///< from the volume's directory on, see IsListedPath
  Digest digest;

  friend bool operator==(const ListedFile&, const ListedFile&) = default;
};

/// Returns the digest, two blanks, the path and a line feed. Escapes a path with a backslash or a
/// line break (see Escapes::kOfLines), and then puts a backslash in front of the line.
std::string LineOf(const ListedFile& file);

/// The longest line that is read. The path of a file is far shorter.
inline constexpr std::size_t kLongestLine = 1U << 20U;

/// Reads a list of such lines piece by piece.
class FileListReader {
 public:
  explicit FileListReader(LineReader::Source source) : lines_(std::move(source), kLongestLine) {}

  /// Returns the next file, and nothing at the end. The files are in PathOrder, and each path comes
  /// once. Throws RefusedText when the text is not such a list, and what the source throws.
  std::optional<ListedFile> Next();

  /// Returns the digest of the whole list. Call it once, after Next has returned nothing.
  Digest Finish() { return lines_.Finish(); }

 private:
  LineReader lines_;
  std::size_t number_ = 0;
  std::string last_;  // the path that Next returned last
};

}  // namespace kvl
