# Sets the folders of the installed files, relative to the prefix.
if(EXISTS /etc/debian_version AND CMAKE_LIBRARY_ARCHITECTURE AND NOT DEFINED CMAKE_INSTALL_LIBDIR)
    # GNUInstallDirs chooses this folder only if the prefix is /usr when the project is configured. The prefix is often
    # given only later, to cmake --install.
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "Folder of the libraries")
endif()
include(GNUInstallDirs)

set(PLUGIN_FOLDER ${CMAKE_INSTALL_LIBDIR}/${PROJECT_NAME})
set(HEADER_FOLDER ${CMAKE_INSTALL_INCLUDEDIR}/${PROJECT_NAME})
set(CONFIG_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/${PROJECT_NAME})
# Debian requires this folder to have the name of the package, in lower case.
string(TOLOWER ${PROJECT_NAME} PACKAGE_NAME)
set(DOCUMENT_FOLDER ${CMAKE_INSTALL_DATAROOTDIR}/doc/${PACKAGE_NAME})
