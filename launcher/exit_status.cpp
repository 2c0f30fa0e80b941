#include "launcher/exit_status.h"

#include <unistd.h>

namespace kvl {

ExitStatus VolumeCountStatus(int volume_count) {
  return static_cast<ExitStatus>(volume_count);
}

void EndProcess(ExitStatus status) {
  ::_exit(static_cast<int>(status));
}

}  // namespace kvl
