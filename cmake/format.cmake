# The targets "format" and "check_format", for every C++ file of the project.
find_program(CLANG_FORMAT NAMES clang-format)
set(list_sources "find . -path ./build -prune -o -name '*.h' -print -o -name '*.cpp' -print")

if(CLANG_FORMAT)
  add_custom_target(format
    COMMAND sh -c "${list_sources} | xargs ${CLANG_FORMAT} -i"
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
  add_custom_target(check_format
    COMMAND sh -c "${list_sources} | xargs ${CLANG_FORMAT} --dry-run --Werror"
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} VERBATIM)
endif()
