# Counts which lines run (KVL_COVERAGE). Included when all targets are known.
#
# The counters of a process are written when it ends, but not when _exit ends it or exec makes
# another program of it, and both are what a launcher does. In these builds both calls lead to
# count_until_end.cpp, so that the product needs to know nothing of it.
foreach(target IN ITEMS kvl-launcher launcher_tests tree_tool)
  if(TARGET ${target})
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/count_until_end.cpp)
  endif()
endforeach()
