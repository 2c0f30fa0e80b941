// A media and its surroundings as a table of markers and their places. The table contains no paths.
//
//   <top>/<level n>/.../<level 1>/<media>     the media; the search above it ends at <top>
//   <top>/<level n>/.../<level 1>/<number>    its siblings
//
// A marker can turn one of the levels into an AM volume; the other AM volumes then lie beside it.
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

/// Markers by the number in the name.
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

/// The first level that is an AM volume by the name and kind of its file. The number is empty
/// without one.
struct FirstAmLevel {
  std::optional<std::int32_t> number = {};
  std::size_t index = 0;
};
FirstAmLevel FindFirstAmLevel(const ScanTable& table);

/// Turns any bytes into a table; in most tables a scan finds something. A table with an absolute
/// media has an AM volume on the last level, so that no scan looks above it.
ScanTable DecodeScanTable(ByteSource& bytes);

}  // namespace kvl::test
