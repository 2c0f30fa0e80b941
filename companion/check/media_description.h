// What the description files of a media say of its volumes, as `make` writes them.
#pragma once

#include <string>

#include "companion/check/findings.h"
#include "media/numbered_entries.h"

namespace kvl {

/// Only a beginning of the files is read, in which a thousand volumes have room.
class MediaDescription {
 public:
  /// Of a file that is missing, is no regular file or has another form, nothing is known. One that the
  /// system cannot read is among the findings.
  MediaDescription(const std::string& media_dir, Findings& findings);

  /// How many volumes "media.xml" names; 0 or less when it names none.
  VolumeNumber Volumes() const { return volumes_; }
  /// True when "meta.TOCxml" says that the volume has a directory for its part of the payload.
  bool NamesPayloadOf(VolumeNumber volume) const;

 private:
  VolumeNumber volumes_;
  std::string contents_;  // of "meta.TOCxml"
};

}  // namespace kvl
