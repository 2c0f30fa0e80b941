# CPack reads this for each format. It has the settings that differ between formats.
if(CPACK_GENERATOR STREQUAL DEB)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  # Names the sources of the linked libraries. CPack has no variable for this field, so it follows
  # another one.
  execute_process(
    COMMAND dpkg-query -W -f "\${source:Package} (= \${source:Version})\\n"
      libc6-dev libstdc++-12-dev libcli11-dev nlohmann-json3-dev libssl-dev
    COMMAND sort -u
    OUTPUT_VARIABLE sources OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ", " sources "${sources}")
  set(CPACK_DEBIAN_PACKAGE_SECTION "utils\nBuilt-Using: ${sources}")
elseif(CPACK_GENERATOR STREQUAL RPM)
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  # The programs are static, and rpm must not search examples for what they need.
  set(CPACK_RPM_PACKAGE_AUTOREQPROV no)
  # Gives the same bytes on every machine, and packs the files as installed: the programs are
  # stripped already, and "/bin/sh" stays in the examples.
  set(CPACK_RPM_SPEC_MORE_DEFINE "
%define packager ${CPACK_PACKAGE_CONTACT}
%define _buildhost kvl-launcher.invalid
%define use_source_date_epoch_as_buildtime 1
%define clamp_mtime_to_source_date_epoch 1
%define __os_install_post %{nil}
%define _build_id_links none
%define _binary_payload w9.xzdio")
  execute_process(COMMAND date -u -d "@$ENV{SOURCE_DATE_EPOCH}" "+%a %b %d %Y"
    OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(CPACK_RPM_CHANGELOG_FILE ${CPACK_PACKAGE_DIRECTORY}/rpm-changelog)
  file(WRITE ${CPACK_RPM_CHANGELOG_FILE} "* ${date} ${CPACK_PACKAGE_CONTACT} - ${CPACK_PACKAGE_VERSION}-1
- Release ${CPACK_PACKAGE_VERSION}; CHANGELOG.md says what is new.
")
endif()
