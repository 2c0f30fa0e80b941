// The exit statuses of the launcher, and the one place that ends it early.
//
// Exit statuses
// 0 to 250: The exit code of the installer. If there is no `ERROR:` line, 1 and 12 come from the installer, too.
// 1: The launcher ended before the installer: the command line is wrong, there is no installer, or
// staging failed. The last error message says which.
// 12: An external installer media holds an installer, but its path holds a blank.
// 134: A shell shows this number if the launcher was aborted by signal 6. The first line of
// `volumes.txt` is no number or too large a one, or the launcher could not look at an entry of a directory
// above the media while it searched for an AM volume.
// 255: `Cannot wait for process`: the installer could not be started, a signal killed it, or its exit
// code was above 250.
#pragma once

namespace kvl {

enum class ExitStatus : int {
  kBadCommandLine = 1,
  kNoInstaller = 1,
  kStagingFailed = 1,
  kBlankInInstallerMedia = 12,
};

/// The answer to the query for the number of volumes; the system keeps its low eight bits.
ExitStatus VolumeCountStatus(int volume_count);

/// Ends the process at once: nothing is unwound, flushed or removed.
[[noreturn]] void EndProcess(ExitStatus status);

}  // namespace kvl
