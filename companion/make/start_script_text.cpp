#include "companion/make/start_script_text.h"

#include "console/text.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

constexpr char kFindMedia[] = R"sh(#!/bin/sh -
# Starts the installation from the media that this script lies in; all arguments are handed on.

# Nothing here needs /dev/null, which the superuser would make a plain file where it is missing.
# The script's own path, behind symbolic links, never with a leading "-".
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

# Linked directories keep their names, so that volumes linked side by side are found side by side;
# ".." is followed as the system followed it to this script. The "x" guards a final line feed.
case $self in */../*) links=-P ;; *) links=-L ;; esac
CurrentMediaDir=$(cd "$links" "${self%/*}/" && pwd "$links" && echo x) || exit 1
CurrentMediaDir=${CurrentMediaDir%?x}
)sh";

/// With the names of the media's files in at signs.
constexpr char kStart[] = R"sh(KVL_LIBPATH_VARNAME=LD_LIBRARY_PATH
export CurrentMediaDir KVL_OS KVL_Installer_EXE KVL_LIBPATH_VARNAME

# Where not even the root directory seems to be open to us, an older container runtime refuses the
# shell's question itself.
launcher=$CurrentMediaDir/@inst@/$KVL_OS/@code@/@bin@/@launcher@
if [ ! -f "$launcher" ] || { [ -x / ] && [ ! -x "$launcher" ]; }; then
  printf '%s: the launcher is missing or cannot be executed: %s\n' "${0##*/}" "$launcher" >&2
  exit 1
fi

# A program that runs from a media keeps it mounted, and the launcher runs as long as the installer.
# Of several volumes it is therefore started from a copy, which loses its name at once; where none
# can be made or started, from the media. The launcher closes the descriptor of the copy, and those
# that the caller has open are left to the installer.
# Only the beginning of the number is read, and nothing of a file without a size: one of those that
# the system makes up may let its reader wait.
if [ -f "$CurrentMediaDir/@inst@/@volumes@" ] && [ -d /proc/self/fd ] &&
  { [ ! -s "$CurrentMediaDir/@inst@/@volumes@" ] ||
    [ "$(dd if="$CurrentMediaDir/@inst@/@volumes@" bs=16 count=1 2>&- |
      tr -d '\000' 2>&- | head -n 1 2>&-)" != 1 ]; } &&
  target=$(mktemp 2>&1); then
  # The empty file is a program that does nothing, where there may be programs at all: not every shell
  # knows of "noexec" when it is asked for the permission.
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

/// Sets the names of the system for this machine.
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
