// Every status that the launcher ends with on its own account, and the one place that ends it
// early.
//
// An uncaught exception (see media/volume_scan.h) ends it by SIGABRT.
// Otherwise the launcher ends with what the installer's exit code became (see RunCommand): the
// codes 0 to 250 as they are; everything else (251 to 255, a death by a signal, an installer that
// could not be started) is -1, of which the system makes 255. A status of 1 or 12 may thus be the
// installer's, too; the error message before it tells.
#pragma once

namespace kvl {

enum class ExitStatus : int {
  kBadCommandLine = 1,  ///< an option without its value or its companion
  kNoInstaller = 1,     ///< neither in the media nor in an external one
  kStagingFailed = 1,   ///< the installer could not be copied
  kBlankInInstallerMedia =
      12,  ///< the external installer media's directory has a blank in its path
};

/// The answer to the query for the number of volumes; the system keeps its low eight bits.
ExitStatus VolumeCountStatus(int volume_count);

/// Ends the process at once: nothing is unwound, flushed or removed.
[[noreturn]] void EndProcess(ExitStatus status);

}  // namespace kvl
