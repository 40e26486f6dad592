# Makes cpack, which is run in the build folder, create a zip file with the plug-in, the program receiver, the headers,
# the CMake package and the documents.
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR "GUI Output Settings developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "output settings dialog for an optical tracking frontend")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
include(CPack)
