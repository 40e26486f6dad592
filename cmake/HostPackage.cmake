# Installs the CMake package that a host's project finds with find_package(NetworkSettings2GModule), and the documents
# and examples.
include(CMakePackageConfigHelpers)

set(generated ${PROJECT_BINARY_DIR}/${PROJECT_NAME})
configure_package_config_file(cmake/Config.cmake.in ${generated}Config.cmake
    INSTALL_DESTINATION ${CONFIG_FOLDER} PATH_VARS PLUGIN_FOLDER
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${generated}ConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${generated}Config.cmake ${generated}ConfigVersion.cmake DESTINATION ${CONFIG_FOLDER})
install(EXPORT ${PROJECT_NAME}Targets NAMESPACE ${PROJECT_NAME}:: DESTINATION ${CONFIG_FOLDER})

install(FILES docs/host-integration.md docs/windows.md docs/protocol.md docs/user-guide.md
    DESTINATION ${DOCUMENT_FOLDER})
install(DIRECTORY docs/user-guide examples DESTINATION ${DOCUMENT_FOLDER})
