// What the description files that `make` writes say about the volumes of a media.
#pragma once

#include <string>

#include "companion/check/findings.h"
#include "media/numbered_entries.h"

namespace kvl {

/// Reads only the beginning of the files, which has room for a thousand volumes.
class MediaDescription {
 public:
  /// Ignores a file that is missing, is not a regular file or has another form. Adds a finding for
  /// a file that the system cannot read.
  MediaDescription(const std::string& media_dir, Findings& findings);

  /// Returns the number of volumes in "media.xml"; 0 or less if the file does not tell it.
  VolumeNumber Volumes() const { return volumes_; }
  /// Returns true if "meta.TOCxml" names a payload directory of the volume.
  bool NamesPayloadOf(VolumeNumber volume) const;

 private:
  VolumeNumber volumes_;
  std::string contents_;  // of "meta.TOCxml"
};

}  // namespace kvl
