// Writing a media, volume by volume, and keeping the record of what lies on each: for the list of its
// files, and for the manifest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "companion/make/media_plan.h"
#include "companion/names/open_tree.h"
#include "companion/seal/file_list.h"
#include "companion/seal/manifest.h"
#include "insio/open_directory.h"

namespace kvl {

/// A volume's directory is the root of its disc: the media's own, or directory i in it. List and
/// manifest lie there and name what lies below it. In the AM layout it also holds a marker of its own,
/// and everything else lies in "media/i".
///
/// The paths of these functions are those below the place where the launcher finds the volume.
/// Directories are made on the way. What writes throws as OpenDirectory does.
class MediaWriter {
 public:
  using Kind = KVLInsIO::FileKind;

  /// `top`, the media's directory, must outlive the writer. `time`, in seconds, is that of all
  /// directories, and of all files but copies.
  MediaWriter(const KVLInsIO::OpenDirectory& top, Layout layout, std::size_t volumes,
              std::int64_t time);

  void MakeDirectory(std::size_t volume, const std::string& path);
  void Write(std::size_t volume, const std::string& path, std::string_view text,
             Kind kind = Kind::kPlain);
  /// For a file that gets its place only when the media is finished.
  void List(std::size_t volume, const std::string& path, std::string_view text, Kind kind);
  /// As CopyPlanned and CopyEntry do. The result stays until the next call.
  const ListedFile& Copy(std::size_t volume, const std::string& path, const PlannedFile& file,
                         Kind kind);
  const ListedFile& Copy(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                         OpenTree& from);
  /// A link that holds the same, with its time.
  void Link(std::size_t volume, const std::string& path, const PayloadEntry& entry, OpenTree& from);

  /// Writes what makes volumes of directories, each for all volumes: the lists, the manifest, the
  /// markers. Gives all directories their time. Nothing else is to be written after that.
  void Finish(const std::string& tag);

  /// The place where the launcher finds the volume; open until the next call.
  const KVLInsIO::OpenDirectory& PlaceOf(std::size_t volume);

 private:
  struct Record {
    std::set<std::string> directories;
    std::vector<std::string> programs;
    std::vector<ManifestLink> links;
    std::vector<ListedFile> files;
    std::uint64_t bytes = 0;
  };
  struct Marker {
    std::size_t volume;
    std::string path, text;
  };

  std::string DirectoryOf(std::size_t volume) const;
  std::string OnDisc(std::size_t volume, const std::string& path) const;
  const KVLInsIO::OpenDirectory& At(std::size_t volume, const std::string& directory);
  void WriteAt(std::size_t volume, const std::string& path, std::string_view text, Kind kind);
  const ListedFile& Add(std::size_t volume, const std::string& path, const Digest& digest,
                        std::uint64_t size, Kind kind);
  std::vector<Marker> Markers(const std::string& tag) const;
  ManifestVolume WriteList(std::size_t volume);
  void SetTimes();

  const Layout layout_;
  const std::int64_t time_;
  OpenTree media_;
  std::vector<Record>
      records_;  // of volume 1 first; all paths are those from the volume's directory
};

}  // namespace kvl
