# shellcheck shell=sh
# Sourced by the scripts beside it: installs the Debian packages that they need.

# install_missing_packages PACKAGE...: leaves the package manager alone when nothing is missing.
# Ends with status 1 and one line on standard error when a missing package cannot be installed; where
# there are no Debian packages it names them and goes on.
install_missing_packages() {
  if ! command -v dpkg-query >/dev/null; then
    echo "This is no Debian system; if something is missing, install what these packages hold: $*" >&2
    return 0
  fi
  packages_missing=$(missing_packages "$@")
  if [ -z "$packages_missing" ]; then return 0; fi

  packages_root=''
  if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "Neither root nor sudo: please have these packages installed: $packages_missing" >&2
      return 1
    fi
    packages_root=sudo
  fi
  echo "Installing: $packages_missing"
  # shellcheck disable=SC2086  # a list of names, and an optional word before the command
  if ! $packages_root apt-get update -qq ||
    ! $packages_root env DEBIAN_FRONTEND=noninteractive \
      apt-get install -qq --no-install-recommends $packages_missing >/dev/null; then
    echo "These packages could not be installed: $packages_missing" >&2
    return 1
  fi
}

# The packages among those named that are not installed, separated by blanks.
missing_packages() {
  for package; do
    case $(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) in
      installed) ;;
      *) printf '%s%s' "${separator-}" "$package" && separator=' ' ;;
    esac
  done
}

# unpack_for_arm64 PACKAGE: unpacks Debian's package for that processor into build/arm64/PACKAGE, unless it
# is there. What is installed, and what the package manager knows, stay as they are: no rights are needed,
# and the versions need not agree.
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
      # The compiler looks for headers in one place only.
      cp -R unpacked/usr/include/aarch64-linux-gnu/. unpacked/usr/include
    fi && mv unpacked "$place"
)

# build_preset PRESET: with what every build needs. Says nothing but, on standard error, why it failed.
build_preset() {
  install_missing_packages g++ cmake ninja-build libcli11-dev nlohmann-json3-dev libssl-dev lowdown python3 ||
    return 1
  case $1 in *-arm64) unpack_for_arm64 libssl-dev || return 1 ;; esac
  if ! build_output=$({ cmake --preset "$1" && cmake --build --preset "$1"; } 2>&1); then
    printf '%s\n' "$build_output" | tail -n 40 >&2
    echo "The preset $1 does not build." >&2
    return 1
  fi
}
