# `cpack` makes a .tar.gz of what is installed, to be unpacked anywhere. The .deb is made by packaging/debian/build;
# scripts/checks/package makes both.

set(CPACK_PACKAGE_VENDOR "the localdisk developers")
set(CPACK_PACKAGE_CONTACT "the localdisk developers <maintainers@localdisk.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "storage module for desktop drive clients")
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_FILE_NAME "localdisk-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_MONOLITHIC_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

include(CPack)
