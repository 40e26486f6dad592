# Where the installed files go, relative to the prefix.
if(EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE)
    # GNUInstallDirs chooses this folder only for the prefix /usr, but the prefix is often given to cmake --install only.
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Folder of the libraries")
endif()
include(GNUInstallDirs)

set(PLUGIN_FOLDER ${CMAKE_INSTALL_LIBDIR}/${PROJECT_NAME})
set(HEADER_FOLDER ${CMAKE_INSTALL_INCLUDEDIR}/${PROJECT_NAME})
set(CONFIG_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})
# Debian requires the lower-case name of the package here.
string(TOLOWER ${PROJECT_NAME} PACKAGE_NAME)
set(DOCUMENT_FOLDER ${CMAKE_INSTALL_DATAROOTDIR}/doc/${PACKAGE_NAME})
