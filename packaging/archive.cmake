# CPack runs this to make an archive of the finished tree.
set(archive ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.tar.gz)
cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH parent)
execute_process(
  COMMAND tar --create --format=ustar --sort=name --owner=root:0 --group=root:0
    --use-compress-program "gzip -9n" --file ${archive} --directory ${parent} ${CPACK_PACKAGE_FILE_NAME}
  COMMAND_ERROR_IS_FATAL ANY)
set(CPACK_EXTERNAL_BUILT_PACKAGES ${archive})
