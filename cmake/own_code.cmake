# own_code carries the options with which every target of this project is compiled, and no others.
add_library(own_code INTERFACE)

target_compile_features(own_code INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)
target_include_directories(own_code INTERFACE ${PROJECT_SOURCE_DIR})
# Sizes and offsets have 64 bits on every platform.
target_compile_definitions(own_code INTERFACE _FILE_OFFSET_BITS=64)

target_compile_options(own_code INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wnull-dereference -Wformat=2 -Wcast-qual -Wundef)
# Keeps a release small: the linker can leave out each function without a reference.
target_compile_options(own_code INTERFACE
  $<$<CONFIG:Release>:-ffunction-sections -fdata-sections>)
# Gives a release the same bytes wherever its sources lie.
target_compile_options(own_code INTERFACE
  $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>)
if(KVL_STRICT)
  target_compile_options(own_code INTERFACE -Werror)
endif()

if(KVL_SANITIZE)
  target_compile_options(own_code INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
    -fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/libraries_of_tests.txt)
  target_link_options(own_code INTERFACE -fsanitize=address,undefined)
endif()

# Every process of a program maps the file with its counters ("%m", "%c"). No process needs to write
# them: they survive whichever way a process ends, also by starting another program.
if(KVL_COVERAGE)
  target_compile_options(own_code INTERFACE
    -fprofile-instr-generate=${PROJECT_BINARY_DIR}/counters/%m%c.profraw -fcoverage-mapping
    "SHELL:-mllvm -runtime-counter-relocation")
  target_link_options(own_code INTERFACE -fprofile-instr-generate)
  target_sources(own_code INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${PROJECT_SOURCE_DIR}/cmake/count_in_file.cpp>)
endif()

# kvl_library(<name> <source>...): the library of a folder. clang-tidy checks all its sources as one
# file, so that it reads the headers once. With this file name, its analyzer also checks the
# included sources.
function(kvl_library name)
  set(sources ${ARGN})
  if(KVL_TIDY)
    set(sources ${CMAKE_CURRENT_BINARY_DIR}/UnifiedSource.cpp)
    list(TRANSFORM ARGN REPLACE ".+" "#include \"${CMAKE_CURRENT_SOURCE_DIR}/\\0\"")
    list(JOIN ARGN "\n" includes)
    file(CONFIGURE OUTPUT ${sources} CONTENT "${includes}\n")
  endif()
  add_library(${name} STATIC ${sources})
  target_link_libraries(${name} PUBLIC $<BUILD_INTERFACE:own_code>)
  target_compile_options(${name} PRIVATE $<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier>)
  # Prefers small code; a folder can append an option for quick code.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-Os>)
  if(KVL_TIDY)
    set_target_properties(${name} PROPERTIES CXX_CLANG_TIDY "clang-tidy;--quiet" UNITY_BUILD OFF)
  endif()
endfunction()

# kvl_program_for_everywhere(<name>): with KVL_STATIC, the program needs nothing of the system that
# it runs on, and contains nothing without a reference.
function(kvl_program_for_everywhere name)
  # The system may have pages of 4, 16 or 64 KiB. Code and constants share a segment, as on most
  # processors anyway; in a segment of their own, constants would begin 64 KiB later.
  target_link_options(${name} PRIVATE -Wl,-z,max-page-size=65536,-z,noseparate-code)
  if(KVL_STATIC)
    target_link_options(${name} PRIVATE -static -Wl,--gc-sections)
  endif()
endfunction()
