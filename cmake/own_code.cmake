# own_code carries what every target of this project, and nobody else's, is compiled with.
add_library(own_code INTERFACE)

target_compile_features(own_code INTERFACE cxx_std_20)
set(CMAKE_CXX_EXTENSIONS OFF)
target_include_directories(own_code INTERFACE ${PROJECT_SOURCE_DIR})
# Sizes and offsets have 64 bits on every platform.
target_compile_definitions(own_code INTERFACE _FILE_OFFSET_BITS=64)

target_compile_options(own_code INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Wold-style-cast -Woverloaded-virtual -Wnull-dereference -Wformat=2 -Wcast-qual -Wundef)
# A release is to be small: the linker can leave out each function that nothing refers to.
target_compile_options(own_code INTERFACE
  $<$<CONFIG:Release>:-ffunction-sections -fdata-sections>)
# And the same wherever its sources lie.
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

# The counters lie in a file that every process of a program maps ("%m", "%c"): they are kept however a
# process ends, also when another program takes its place, and no process needs to write them.
if(KVL_COVERAGE)
  target_compile_options(own_code INTERFACE
    -fprofile-instr-generate=${PROJECT_BINARY_DIR}/counters/%m%c.profraw -fcoverage-mapping
    "SHELL:-mllvm -runtime-counter-relocation")
  target_link_options(own_code INTERFACE -fprofile-instr-generate)
  target_sources(own_code INTERFACE
    $<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:${PROJECT_SOURCE_DIR}/cmake/count_in_file.cpp>)
endif()

# kvl_library(<name> <source>...): the one library of a folder. clang-tidy looks at all of its sources
# in one piece, so that it goes through the headers once. Of a file with this name, its analyzer takes
# the included sources for what is to be looked at.
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
  # And small code, but for folders that ask for quick code behind it.
  target_compile_options(${name} PRIVATE $<$<CONFIG:Release>:-Os>)
  if(KVL_TIDY)
    set_target_properties(${name} PROPERTIES CXX_CLANG_TIDY "clang-tidy;--quiet" UNITY_BUILD OFF)
  endif()
endfunction()

# kvl_program_for_everywhere(<name>): with KVL_STATIC it needs nothing of the system that it runs on,
# and holds nothing that nothing in it refers to.
function(kvl_program_for_everywhere name)
  # The system may have pages of 4, 16 or 64 KiB. Code and constants share a segment, as they do on most
  # processors anyway: constants of their own would begin 64 KiB further on.
  target_link_options(${name} PRIVATE -Wl,-z,max-page-size=65536,-z,noseparate-code)
  if(KVL_STATIC)
    target_link_options(${name} PRIVATE -static -Wl,--gc-sections)
  endif()
endfunction()
