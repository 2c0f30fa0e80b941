// Writing a media volume by volume, and recording what lies on each volume for its list and the
// manifest.
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

/// The directory of a volume is the root of its disc: the media's own directory, or directory i in
/// it. It holds the list and the manifest, whose paths begin there. In the AM layout it also holds
/// a marker, and everything else lies in "media/i".
///
/// The paths in calls of these functions begin at the place where the launcher finds the volume.
/// The functions make missing directories. Those that write throw what OpenDirectory throws.
class MediaWriter {
 public:
  using Kind = KVLInsIO::FileKind;

  /// `top`, the media's directory, must outlive the writer. All directories, and all files except
  /// copies, get `time`, in seconds. Copies `jobs` files at the same time.
  MediaWriter(const KVLInsIO::OpenDirectory& top, Layout layout, std::size_t volumes,
              std::int64_t time, std::size_t jobs);

  void MakeDirectory(std::size_t volume, const std::string& path);
  void Write(std::size_t volume, const std::string& path, std::string_view text,
             Kind kind = Kind::kPlain);
  /// Records a file that the caller puts in place when the media is finished.
  void List(std::size_t volume, const std::string& path, std::string_view text, Kind kind);
  /// Copies a file as CopyPlanned does, now or later. Throws the failure of this copy or of an
  /// earlier one. `file` must outlive the writer, and so must the top of `from` if the tree does
  /// not own it.
  void Copy(std::size_t volume, const std::string& path, const PlannedFile& file, Kind kind);
  void Copy(std::size_t volume, const std::string& path, const PayloadEntry& entry, OpenTree& from);
  /// Makes a link with the same target and time.
  void Link(std::size_t volume, const std::string& path, const PayloadEntry& entry, OpenTree& from);

  /// Begins the list of all files of the payload, at a path of the first volume. Later copies of
  /// the payload call `see`.
  void BeginPayload(const std::string& list, const SeeBytes& see);
  /// Copies a file below payload/<volume> as Copy does. Files must come in PathOrder, one volume
  /// after the other.
  void CopyOfPayload(std::size_t volume, const std::string& path, const PayloadEntry& entry,
                     OpenTree& from);
  /// Waits for all copies, and finishes the list. Throws what Copy throws.
  void EndPayload();

  /// Returns the signature of a manifest.
  using Signer = std::function<std::string(const std::string& manifest)>;

  /// Writes for all volumes, in this order: the lists, the manifest, the signature unless `sign` is
  /// empty, the number of volumes, the markers. Sets the time of all directories. Write nothing
  /// else afterwards. Throws also what `sign` throws.
  void Finish(const std::string& tag, const Signer& sign);

  /// Returns the place where the launcher finds the volume. It stays open until the next call.
  const KVLInsIO::OpenDirectory& PlaceOf(std::size_t volume);

 private:
  struct Record {
    std::set<std::string, PathOrder> directories;
    std::vector<std::string> programs;
    std::vector<ManifestLink> links;
    std::uint64_t payload_files = 0;  // number of files in list_
    std::deque<ListedFile> files;     // other files; a deque keeps references valid
    std::uint64_t bytes = 0;          // of all files
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
  /// Makes a copy of this name in the directory, and records its digest.
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
  // For volumes 1, 2, ...; paths begin at the directory of the volume.
  std::vector<Record> records_;
  std::string list_path_;  // from the directory of volume 1 on
  SeeBytes see_payload_;
  std::optional<ListOfAll> list_;
  std::shared_ptr<const KVLInsIO::OpenDirectory> last_directory_;  // target of the last copy
  std::mutex failing_;
  std::exception_ptr failure_;  // of the first copy that failed
  TaskQueue copies_;            // last, because its threads use the members above
};

}  // namespace kvl
