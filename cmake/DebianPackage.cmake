# Makes cpack, which is run in the build folder, create a Debian package.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PACKAGE_NAME})
set(CPACK_PACKAGE_VENDOR "GUI Output Settings developers")
set(CPACK_PACKAGE_CONTACT "GUI Output Settings developers <maintainers@example.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# These packages are needed only to build a host.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "cmake, qtbase5-dev")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "output settings dialog for an optical tracking frontend")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"A plug-in module for the graphical frontend of an optical tracking system. It
gives the user a dialog to set up the ten UDP output channels of the
tracking Controller. In router mode it forwards the tracking data itself, one
datagram per frame, to receivers outside the Controller's network.

The program receiver shows on the receiving computer whether the data arrive,
how fast, and whether frames are lost or malformed.

The package also holds the headers and the CMake package with which a host
that loads the module is built.")
# Add the files that Debian policy requires in every package.
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/documents.cmake)
set(CPACK_DEBIAN_DOCUMENTS ${PROJECT_SOURCE_DIR}/cmake/debian)
set(CPACK_DEBIAN_DOCUMENT_FOLDER ${DOCUMENT_FOLDER})
set(CPACK_DEBIAN_MANUAL_FOLDER ${CMAKE_INSTALL_MANDIR})
include(CPack)
