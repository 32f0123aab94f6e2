# What `cmake --install` puts where, in three components: Module, Tools, and Development for who builds a host.
#
# Everything is found from where it lies, so that a prefix may be moved as a whole: the tools look for the module in
# ../lib/localdisk, the CMake package and the pkg-config file take their own folder as the start.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# A plug-in folder and not the library folder: the module is loaded by path, never looked up. Not under
# CMAKE_INSTALL_LIBDIR, which differs between distributions while the tools look in one place.
set(module_dir lib/localdisk)
set(header_dir "${CMAKE_INSTALL_INCLUDEDIR}/localdisk")
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/localdisk")
set(examples_dir "${CMAKE_INSTALL_DOCDIR}/examples")

add_library(localdisk_headers INTERFACE)
target_compile_features(localdisk_headers INTERFACE cxx_std_17)
target_include_directories(localdisk_headers INTERFACE "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>"
                                                       "$<INSTALL_INTERFACE:${header_dir}>")
target_include_directories(localdisk INTERFACE "$<INSTALL_INTERFACE:${header_dir}>")
set_target_properties(localdisk PROPERTIES EXPORT_NAME module INTERFACE_COMPILE_FEATURES cxx_std_17)
set_target_properties(localdisk_headers PROPERTIES EXPORT_NAME headers)

install(TARGETS localdisk EXPORT localdiskModule LIBRARY DESTINATION "${module_dir}" COMPONENT Module)
install(EXPORT localdiskModule NAMESPACE localdisk:: DESTINATION "${package_dir}" COMPONENT Module)
foreach(tool localdisk-host localdisk-check)
  if(TARGET ${tool})
    install(TARGETS ${tool} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tools)
  endif()
endforeach()

# Not a command of its own: localdisk-host starts it from beside the module.
if(TARGET localdisk-mount)
  install(TARGETS localdisk-mount RUNTIME DESTINATION "${module_dir}" COMPONENT Tools)
endif()

set(public_headers "${PROJECT_SOURCE_DIR}/cmake/public_headers.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${public_headers}")
file(STRINGS "${public_headers}" headers REGEX "^[^#]")
foreach(header IN LISTS headers)
  cmake_path(GET header PARENT_PATH folder)
  install(FILES "${header}" DESTINATION "${header_dir}/${folder}" COMPONENT Development)
endforeach()

install(TARGETS localdisk_headers EXPORT localdiskHeaders)
install(EXPORT localdiskHeaders NAMESPACE localdisk:: DESTINATION "${package_dir}" COMPONENT Development)
configure_package_config_file(cmake/localdiskConfig.cmake.in localdiskConfig.cmake INSTALL_DESTINATION "${package_dir}"
                              NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(localdiskConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/localdiskConfig.cmake" "${PROJECT_BINARY_DIR}/localdiskConfigVersion.cmake"
        DESTINATION "${package_dir}" COMPONENT Development)

set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
set(prefix_path "${CMAKE_INSTALL_PREFIX}")
cmake_path(RELATIVE_PATH prefix_path BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir}"
           OUTPUT_VARIABLE prefix_from_pkgconfig)
configure_file(cmake/localdisk.pc.in localdisk.pc @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/localdisk.pc" DESTINATION "${pkgconfig_dir}" COMPONENT Development)

install(FILES docs/examples/sample_host.cpp docs/examples/mirror_host.cpp docs/examples/memory_module.cpp
        DESTINATION "${examples_dir}" COMPONENT Development)
install(FILES LICENSE docs/host-guide.md docs/module-guide.md docs/utilities.md docs/decorated-names.md docs/abi.md
        DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT Development)

# Manual pages and changelogs lie compressed, as the distributions want them; without a time stamp, so that two builds
# of one source are the same.
find_program(LOCALDISK_GZIP gzip)
mark_as_advanced(LOCALDISK_GZIP)
function(install_compressed file name destination component)
  set(packed "${PROJECT_BINARY_DIR}/packed/${name}")
  file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/packed")
  if(LOCALDISK_GZIP)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${file}")
    string(APPEND packed ".gz")
    execute_process(COMMAND "${LOCALDISK_GZIP}" -9nc "${PROJECT_SOURCE_DIR}/${file}" OUTPUT_FILE "${packed}"
                    COMMAND_ERROR_IS_FATAL ANY)
  else()
    configure_file("${file}" "${packed}" COPYONLY)
  endif()
  install(FILES "${packed}" DESTINATION "${destination}" COMPONENT ${component})
endfunction()

foreach(tool localdisk-host localdisk-check)
  if(TARGET ${tool})
    install_compressed("docs/man/${tool}.1" "${tool}.1" "${CMAKE_INSTALL_MANDIR}/man1" Tools)
    # The function is one for both tools; the shell looks for it under the name of what it completes.
    install(FILES packaging/completion.bash DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
            RENAME "${tool}" COMPONENT Tools)
  endif()
endforeach()
install_compressed(CHANGELOG.md changelog "${CMAKE_INSTALL_DOCDIR}" Module)
