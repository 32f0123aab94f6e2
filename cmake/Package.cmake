# `cpack` makes a package of what is installed: a .deb from a build that was configured with CMAKE_INSTALL_PREFIX=/usr,
# for then files go where Debian wants them; else a .tar.gz that may be unpacked anywhere, on any distribution.
# scripts/checks/package makes both.

set(CPACK_PACKAGE_VENDOR "the localdisk developers")
set(CPACK_PACKAGE_CONTACT "the localdisk developers <maintainers@localdisk.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "storage module for desktop drive clients")
set(CPACK_PACKAGE_DESCRIPTION
"localdisk is a shared library that a drive client loads at run time to offer
a folder of this machine as a drive. The package holds the module with its
utility library, the headers and the CMake package that a client is built
with, the reference client localdisk-host, and localdisk-check, which judges
any module that keeps the same contract.")
set(CPACK_GENERATOR TGZ)
set(CPACK_PACKAGE_FILE_NAME "localdisk-${PROJECT_VERSION}-${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_MONOLITHIC_INSTALL ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
  # Names without files: CPack then leaves out its calls of ldconfig, for which there is nothing in a plug-in folder.
  set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA postinst postrm)
  set(CPACK_DEBIAN_PACKAGE_SUGGESTS "g++, cmake, pkg-config")
  if(fuse3_FOUND)  # as the host's folder found out
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS fuse3)  # who isn't root mounts through its helper program
  endif()
  install(FILES packaging/debian/copyright DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT Module)
  install_compressed(packaging/debian/changelog changelog.Debian "${CMAKE_INSTALL_DOCDIR}" Module)
endif()

include(CPack)
