# shellcheck shell=sh
# Other scripts source this file to install the Debian packages that they need.

# install_missing_packages PACKAGE...: installs the missing packages. Does not call the package
# manager if nothing is missing. Ends with status 1 and one line on standard error if a missing
# package cannot be installed. On a system without Debian packages, names the packages and goes on.
install_missing_packages() {
  if ! command -v dpkg-query >/dev/null; then
    echo "This is not a Debian system; if something is missing, install the contents of these packages: $*" >&2
    return 0
  fi
  packages_missing=$(missing_packages "$@")
  if [ -z "$packages_missing" ]; then return 0; fi

  packages_root=''
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "Neither root nor sudo is available; please have these packages installed: $packages_missing" >&2
      return 1
    fi
    packages_root=sudo
  fi
  echo "Installing: $packages_missing"
  # shellcheck disable=SC2086  # a list of names, and an optional word before the command
  if ! $packages_root apt-get update -qq ||
    ! $packages_root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -qq --no-install-recommends $packages_missing >/dev/null; then
    echo "Cannot install these packages: $packages_missing" >&2
    return 1
  fi
}

# missing_packages PACKAGE...: prints those that are not installed, separated by blanks.
missing_packages() {
  for package; do
    case $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) in
      installed) ;;
      *) printf '%s%s' "${separator-}" "$package" && separator=' ' ;;
    esac
  done
}

# unpack_for_arm64 PACKAGE: unpacks Debian's arm64 package into build/arm64/PACKAGE, unless it is
# there. Leaves the installed packages and the package manager's data as they are, so it needs no
# rights, and the versions need not agree.
unpack_for_arm64() (
  place=$PWD/build/arm64/$1
  if [ -e "$place" ]; then return; fi
  unpacking=$(mktemp -d) || return 1
  trap 'rm -rf "$unpacking"' EXIT
  set -- "$1" -o APT::Architecture=arm64 -o APT::Architectures=arm64 -o Dir::State="$unpacking/state" \
    -o Dir::State::status=/dev/null -o Dir::Cache="$unpacking/cache" -o APT::Sandbox::User=
  package=$1
  shift
  mkdir -p "$unpacking/state/lists/partial" "$unpacking/cache/archives/partial" "${place%/*}" && cd "$unpacking" &&
    apt-get -qq "$@" update && apt-get -qq "$@" download "$package" &&
    dpkg-deb --raw-extract ./*.deb unpacked &&
    if [ -d unpacked/usr/include ]; then
      # The compiler searches only one place for headers.
      cp -R unpacked/usr/include/aarch64-linux-gnu/. unpacked/usr/include
    fi && mv unpacked "$place"
)

# build_preset PRESET: installs what every build needs, and builds the preset. Prints nothing unless
# it fails; then the reason goes to standard error.
build_preset() {
  install_missing_packages g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libssl-dev lowdown python3 ||
    return 1
  case $1 in *-arm64) unpack_for_arm64 libssl-dev || return 1 ;; esac
  if ! build_output=$({ cmake --preset "$1" && cmake --build --preset "$1"; } 2>&1); then
    printf '%s\n' "$build_output" | tail -n 40 >&2
    echo "Cannot build the preset $1; see the messages above" >&2
    return 1
  fi
}
