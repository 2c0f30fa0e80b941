# Builds for arm64 on another machine, with Debian's g++-aarch64-linux-gnu.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Nothing of this machine is linked; packages that are headers only serve any machine. The others are
# unpacked by unpack_for_arm64 in scripts/lib/packages.sh.
set(CMAKE_FIND_ROOT_PATH
  /usr/aarch64-linux-gnu ${CMAKE_CURRENT_LIST_DIR}/../build/arm64/libssl-dev)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
