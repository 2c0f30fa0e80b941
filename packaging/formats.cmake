# CPack reads this for each format: what they do not have in common.
if(CPACK_GENERATOR STREQUAL DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  # The sources of what is linked in. CPack knows no field for them, so that they follow another one.
  execute_process(
    COMMAND dpkg-query -W -f "\${source:Package} (= \${source:Version})\\n"
      libc6-dev libstdc++-12-dev libcli11-dev nlohmann-json3-dev libssl-dev
    COMMAND sort -u
    OUTPUT_VARIABLE sources OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ", " sources "${sources}")
  set(CPACK_DEBIAN_PACKAGE_SECTION "utils\nBuilt-Using: ${sources}")
endif()
