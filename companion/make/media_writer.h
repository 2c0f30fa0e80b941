// Writing a media, volume by volume, and keeping the record of what lies on each: for the list of its
// files, and for the manifest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "companion/make/list_of_all.h"
#include "companion/make/media_plan.h"
#include "companion/make/planned_copy.h"
#include "companion/names/open_tree.h"
#include "companion/seal/file_list.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/manifest.h"
#include "companion/tasks/task_queue.h"
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
  /// directories, and of all files but copies. So many files are copied beside each other.
  MediaWriter(const KVLInsIO::OpenDirectory& top, Layout layout, std::size_t volumes,
              std::int64_t time, std::size_t jobs);

  void MakeDirectory(std::size_t volume, const std::string& path);
  void Write(std::size_t volume, const std::string& path, std::string_view text,
             Kind kind = Kind::kPlain);
  /// For a file that gets its place only when the media is finished.
  void List(std::size_t volume, const std::string& path, std::string_view text, Kind kind);
  /// As CopyPlanned does, sooner or later: it throws what went wrong with this file or with one before.
  /// `file`, and the top of a tree that does not own it, must outlive the writer.
  void Copy(std::size_t volume, const std::string& path, const PlannedFile& file, Kind kind);
  void Copy(std::size_t volume, const std::string& path, const PayloadEntry& entry, OpenTree& from);
  /// A link that holds the same, with its time.
  void Link(std::size_t volume, const std::string& path, const PayloadEntry& entry, OpenTree& from);

  /// Begins the list of all files of the payload, at a path of the first volume. `see` is told of
  /// what is copied of them.
  void BeginPayload(const std::string& list, const SeeBytes& see);
  /// As Copy, of a file below payload/<volume>: in the order of PathOrder, one volume after the other.
  void CopyOfPayload(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                     OpenTree& from);
  /// Waits for all copies, and finishes the list. Throws as Copy does.
  void EndPayload();

  /// Gives the signature of a manifest.
  using Signer = std::function<std::string(const std::string& manifest)>;

  /// Writes what makes volumes of directories, each for all volumes: the lists, the manifest, the
  /// signature unless `sign` is empty, the number of volumes, the markers. Gives all directories
  /// their time. Nothing else is to be written after that. Throws also what `sign` throws.
  void Finish(const std::string& tag, const Signer& sign);

  /// The place where the launcher finds the volume; open until the next call.
  const KVLInsIO::OpenDirectory& PlaceOf(std::size_t volume);

 private:
  struct Record {
    std::set<std::string, PathOrder> directories;
    std::vector<std::string> programs;
    std::vector<ManifestLink> links;
    std::uint64_t payload_files = 0;  // in the list of all
    std::deque<ListedFile> files;     // all others; stay where they are while more are added
    std::uint64_t bytes = 0;          // of all
  };
  struct LastFile {
    std::size_t volume;
    std::string path, text;
  };

  std::string DirectoryOf(std::size_t volume) const;
  std::string OnDisc(std::size_t volume, const std::string& path) const;
  const KVLInsIO::OpenDirectory& At(std::size_t volume, const std::string& directory);
  std::shared_ptr<const KVLInsIO::OpenDirectory> Hold(std::size_t volume,
                                                      const std::string& directory);
  void WriteAt(std::size_t volume, const std::string& path, std::string_view text, Kind kind);
  ListedFile& Add(std::size_t volume, const std::string& path, const Digest& digest,
                  std::uint64_t size, Kind kind);
  void CountIn(std::size_t volume, const std::string& path, std::uint64_t size, Kind kind);
  /// Makes a copy of this name in the directory, and keeps its digest.
  using Copying = std::function<void(const KVLInsIO::OpenDirectory& to, const std::string& name)>;
  void CopyLater(std::size_t volume, const std::string& path, std::uint64_t size, Copying copying);
  void WaitForCopies();
  void RethrowFailure();
  std::vector<LastFile> LastFiles(const std::string& tag) const;
  ManifestVolume WriteList(std::size_t volume, ListOfAllReader& payload);
  void SetTimes();

  const Layout layout_;
  const std::int64_t time_;
  OpenTree media_;
  // Of volume 1 first; all paths are those from the volume's directory.
  std::vector<Record> records_;
  std::string list_path_;  // from the directory of volume 1
  SeeBytes see_payload_;
  std::optional<ListOfAll> list_;
  std::shared_ptr<const KVLInsIO::OpenDirectory> last_directory_;  // into which something is copied
  std::mutex failing_;
  std::exception_ptr failure_;  // of the first copy that failed
  TaskQueue copies_;            // last, so that all of it outlives the copies
};

}  // namespace kvl
