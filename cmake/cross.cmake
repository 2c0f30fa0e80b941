# Builds for another processor with Debian's compilers. KVL_PROCESSOR is arm64, ppc64le, riscv64 or
# s390x.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KVL_PROCESSOR)
string(REGEX REPLACE "^arm64$" "aarch64" CMAKE_SYSTEM_PROCESSOR ${KVL_PROCESSOR})
string(REGEX REPLACE "^ppc" "powerpc" triple ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${triple}-gcc)
set(CMAKE_CXX_COMPILER ${triple}-g++)
# Links nothing of this machine. Packages of headers alone serve any processor. For others,
# unpack_for_arm64 in scripts/lib/packages.sh unpacks the package for the processor.
set(CMAKE_FIND_ROOT_PATH /usr/${triple} ${CMAKE_CURRENT_LIST_DIR}/../build/${KVL_PROCESSOR}/libssl-dev)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
