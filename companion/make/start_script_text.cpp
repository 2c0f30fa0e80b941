#include "companion/make/start_script_text.h"

#include "console/text.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

constexpr char kFindMedia[] = R"sh(#!/bin/sh -
# Starts the installation from the media that this script lies in, and passes all arguments on.
# It does not use /dev/null: where that is missing, the superuser would create it as a plain file.

# Find the path of this script behind symbolic links. It must not begin with "-".
self=$0
case $self in
  */*) ;;
  *) if [ -e "./$self" ]; then self=./$self; else self=$(command -v -- "$self"); fi ;;
esac
case $self in /*) ;; *) self=./$self ;; esac
while [ -L "$self" ] && target=$(readlink "$self" 2>&1 && echo x); do
  target=${target%?x}
  case $target in /*) self=$target ;; *) self=${self%/*}/$target ;; esac
done

# Keep the names of linked directories, so that the launcher finds volumes that are linked side by
# side. But follow ".." as the system did on the way to this script. The "x" protects a final line
# feed from the command substitution.
case $self in */../*) links=-P ;; *) links=-L ;; esac
CurrentMediaDir=$(cd "$links" "${self%/*}/" && pwd "$links" && echo x) || exit 1
CurrentMediaDir=${CurrentMediaDir%?x}
)sh";

/// Names between at signs stand for names of files on the media.
constexpr char kStart[] = R"sh(KVL_LIBPATH_VARNAME=LD_LIBRARY_PATH
export CurrentMediaDir KVL_OS KVL_Installer_EXE KVL_LIBPATH_VARNAME

# If not even the root directory seems executable, an older container runtime refuses this kind of
# test, and the launcher is started without it.
launcher=$CurrentMediaDir/@inst@/$KVL_OS/@code@/@bin@/@launcher@
if [ ! -f "$launcher" ] || { [ -x / ] && [ ! -x "$launcher" ]; }; then
  printf '%s: the launcher is missing or cannot be executed: %s\n' "${0##*/}" "$launcher" >&2
  exit 1
fi

# A program that runs from a media keeps it mounted, and the launcher runs as long as the installer.
# With several volumes, start the launcher from a copy, and remove the name of the copy at once. If
# the copy cannot be made or started, start the launcher from the media. The launcher closes the
# descriptor of the copy. The descriptors of the caller stay open for the installer.
# Read only the beginning of the number of volumes, and nothing from a file of size 0: it may be a
# file of the kernel that makes its reader wait.
if [ -f "$CurrentMediaDir/@inst@/@volumes@" ] && [ -d /proc/self/fd ] &&
  { [ ! -s "$CurrentMediaDir/@inst@/@volumes@" ] ||
    [ "$(dd if="$CurrentMediaDir/@inst@/@volumes@" bs=16 count=1 2>&- |
      tr -d '\000' 2>&- | head -n 1 2>&-)" != 1 ]; } &&
  target=$(mktemp 2>&1); then
  # Run the empty file as a program first. That fails on a file system that is mounted noexec, which
  # not every shell takes into account when it tests the permission.
  if [ -z "$({ chmod -- 700 "$target" && "$target" && cp -- "$launcher" "$target"; } 2>&1 ||
    echo x)" ]; then
    for number in 3 4 5 6 7 8 9; do
      if [ -L "/proc/self/fd/$number" ]; then continue; fi
      eval "exec $number<\"\$target\""
      if [ -x "/proc/self/fd/$number" ]; then
        launcher=/proc/self/fd/$number
      else
        eval "exec $number<&-"
      fi
      break
    done
  fi
  rm -f -- "$target"
fi
)sh";

std::string NamesOf(const PlannedSystem& system, const std::string& indentation) {
  return indentation + "KVL_OS=" + system.name + "\n" + indentation +
         "KVL_Installer_EXE=" + system.installer_name + "\n";
}

/// Returns the part of the script that chooses the system for the machine and sets its names.
std::string ChoiceOf(const std::vector<PlannedSystem>& systems) {
  if (systems.front().machine.empty()) return NamesOf(systems.front(), "");
  std::string text = "\nmachine=$(uname -m)\ncase $machine in\n", known;
  for (const PlannedSystem& system : systems) {
    text += "  " + (system.machine == "arm64" ? "aarch64 | arm64" : system.machine) + ")\n";
    text += NamesOf(system, "    ") + "    ;;\n";
    known += (known.empty() ? "" : ", ") + system.machine;
  }
  return text + R"(  *)
    printf '%s: there is nothing for this machine here: it is %s, and the media is for )" +
         known + R"(\n' \
      "${0##*/}" "$machine" >&2
    exit 1
    ;;
esac
)";
}

}  // namespace

std::string StartScriptText(const std::vector<PlannedSystem>& systems,
                            const std::string& arguments) {
  std::string start = kStart;
  ReplaceAll(start, "@inst@", names::kInst, 0);
  ReplaceAll(start, "@code@", names::kCode, 0);
  ReplaceAll(start, "@bin@", names::kBin, 0);
  ReplaceAll(start, "@launcher@", names::kLauncher, 0);
  ReplaceAll(start, "@volumes@", names::kVolumesFile, 0);
  return kFindMedia + ChoiceOf(systems) + start + "exec \"$launcher\" " + arguments + "\n";
}

}  // namespace kvl
