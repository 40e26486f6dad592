# Adds the files that only a Debian package has, and compresses the manual pages. cpack runs this script after it has
# installed the files of the package.
set(folder ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_DEBIAN_DOCUMENT_FOLDER})
file(COPY ${CPACK_DEBIAN_DOCUMENTS}/copyright DESTINATION ${folder})
execute_process(COMMAND gzip --best --no-name --stdout ${CPACK_DEBIAN_DOCUMENTS}/changelog
    OUTPUT_FILE ${folder}/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
file(GLOB manuals
    ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX}/${CPACK_DEBIAN_MANUAL_FOLDER}/man*/*[0-9])
execute_process(COMMAND gzip --best --no-name ${manuals} COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD ${folder}/copyright ${folder}/changelog.gz PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
