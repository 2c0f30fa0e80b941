// A media and all that lies around it as a table: which marker is where. Nothing of it is a path yet.
//
//   <top>/<level n>/.../<level 1>/<media>     the media; <top> is what the way up is to end at
//   <top>/<level n>/.../<level 1>/<number>    its siblings
//
// One of the levels may be an AM volume, by a marker in it; the other AM volumes lie beside that.
#pragma once

#include "tests/models/byte_source.h"
#include "tests/support/test.h"

namespace kvl::test {

/// A file that may be a marker.
struct MarkerFile {
  enum Kind { kFile, kLinkToFile, kDanglingLink, kPipe, kDirectory };
  Kind kind = kFile;
  std::string contents = {};
};

/// By the number in its name.
using MarkerFiles = std::map<std::int64_t, MarkerFile>;

/// A directory above the media.
struct MediaLevel {
  std::string name;
  std::string marker_name = {};  ///< empty: none
  MarkerFile marker = {};
  std::vector<std::string> other_files = {};  ///< names that are no marker's
};

/// An AM volume beside the first one, and the volume in it.
struct AmEntry {
  std::optional<MarkerFile> marker;
  std::optional<MarkerFile> volume;
};

struct ScanTable {
  bool is_relative = false;  ///< the media's path; else it is absolute
  bool is_online = false;
  bool is_software_management = false;
  std::string media_name = {};
  std::optional<MarkerFile> volumes_file = {};
  MarkerFiles flat = {};                      ///< in the media directory, with that of volume 1
  MarkerFiles beside = {};                    ///< in the sibling directories
  std::vector<std::string> other_files = {};  ///< of the media directory, no marker's names
  std::vector<MediaLevel> levels = {};        ///< the nearest to the media first
  std::map<std::int64_t, AmEntry> am = {};    ///< by the AM volume's number
};

/// The first level that is an AM volume by the name and kind of the file in it. Its number is nothing
/// when there is none.
struct FirstAmLevel {
  std::optional<std::int32_t> number = {};
  std::size_t index = 0;
};
FirstAmLevel FindFirstAmLevel(const ScanTable& table);

/// Any bytes make a table, most of them one in which something can be found. A table with an absolute
/// media has an AM volume on the last level, so that nobody looks above it.
ScanTable DecodeScanTable(ByteSource& bytes);

}  // namespace kvl::test
