# CPack runs this in the tree that it is about to pack.
set(tree ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX})

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Takes the start scripts of a media that kvl-media makes. An author changes only the names behind
# KVL_OS and KVL_Installer_EXE in them.
function(add_start_scripts)
  set(made ${CPACK_TEMPORARY_DIRECTORY}.media)
  file(REMOVE_RECURSE ${made})
  file(MAKE_DIRECTORY ${made}/payload)
  file(WRITE ${made}/INSTALLER "#!/bin/sh\n")
  run(${CPACK_KVL_SOURCES}/build/release/bin/kvl-media make --tag TEMPLATE --os linux
    --installer ${made}/INSTALLER ${made}/payload ${made}/media)
  file(COPY ${made}/media/StartTUI.sh ${made}/media/StartGUI.sh
    DESTINATION ${tree}/share/kvl-launcher)
endfunction()

# Follows Debian's rules: the licence is in the file "copyright".
function(follow_debian)
  set(texts ${tree}/share/doc/kvl-launcher)
  file(REMOVE ${texts}/LICENSE)
  file(RENAME ${tree}/share/zsh/site-functions ${tree}/share/zsh/vendor-completions)
  set(overrides ${tree}/share/lintian/overrides)
  file(COPY ${CPACK_KVL_SOURCES}/packaging/lintian-overrides DESTINATION ${overrides}
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
  file(RENAME ${overrides}/lintian-overrides ${overrides}/kvl-launcher)
  set(version ${CPACK_PACKAGE_VERSION})
  execute_process(COMMAND date -R -u -d "@$ENV{SOURCE_DATE_EPOCH}" OUTPUT_VARIABLE date)
  file(WRITE ${texts}/changelog
    "kvl-launcher (${version}) unstable; urgency=medium\n\n"
    "  * Release ${version}; CHANGELOG.md says what is new.\n\n"
    " -- ${CPACK_PACKAGE_CONTACT}  ${date}")
  run(gzip -9n ${texts}/changelog)
  compress_manual()
endfunction()

function(compress_manual)
  file(GLOB pages ${tree}/share/man/*/*)
  run(gzip -9n ${pages})
endfunction()

file(GLOB programs ${tree}/bin/*)
run(${CPACK_KVL_STRIP} --strip-all --remove-section=.comment --remove-section=.note ${programs})
add_start_scripts()
if(CPACK_GENERATOR STREQUAL DEB)
  follow_debian()
elseif(CPACK_GENERATOR STREQUAL RPM)
  compress_manual()
endif()
run(find ${CPACK_TEMPORARY_INSTALL_DIRECTORY} -exec touch -h -d "@$ENV{SOURCE_DATE_EPOCH}" "{}" +)
