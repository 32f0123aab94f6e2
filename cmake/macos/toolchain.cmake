# Builds for macOS on another system, with the clang, lld and LLVM tools of that system.
#
# What to give, as variables of the environment (as the presets macos-* do) or of the command line:
#   LOCALDISK_MACOS_SDK     the folder of a macOS SDK (headers and .tbd stubs)
#   LOCALDISK_MACOS_LIBCXX  a folder with the __config_site that configures this system's libc++ headers for macOS; where it
#                           isn't given, the SDK's own libc++ headers are taken
#   LOCALDISK_CLANG         the clang++ to take; its LLVM tools lie beside it
# and CMAKE_SYSTEM_PROCESSOR, x86_64 or arm64.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64 CACHE STRING "x86_64 or arm64")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES LOCALDISK_MACOS_SDK LOCALDISK_MACOS_LIBCXX LOCALDISK_CLANG
     CMAKE_SYSTEM_PROCESSOR)

foreach(name LOCALDISK_MACOS_SDK LOCALDISK_MACOS_LIBCXX LOCALDISK_CLANG)
  if(NOT ${name} AND DEFINED ENV{${name}})
    set(${name} "$ENV{${name}}")
  endif()
endforeach()
if(NOT EXISTS "${LOCALDISK_MACOS_SDK}/usr/include")
  message(FATAL_ERROR "LOCALDISK_MACOS_SDK names no macOS SDK (a folder with usr/include): '${LOCALDISK_MACOS_SDK}'")
endif()
file(REAL_PATH "${LOCALDISK_MACOS_SDK}" sdk)

find_program(LOCALDISK_CLANG_PATH NAMES "${LOCALDISK_CLANG}" clang++-19 clang++ REQUIRED)
file(REAL_PATH "${LOCALDISK_CLANG_PATH}" clang)
cmake_path(GET clang PARENT_PATH llvm_tools)

set(CMAKE_CXX_COMPILER "${LOCALDISK_CLANG_PATH}")
set(CMAKE_CXX_COMPILER_TARGET "${CMAKE_SYSTEM_PROCESSOR}-apple-macos11.0")
set(CMAKE_OSX_DEPLOYMENT_TARGET 11.0 CACHE STRING "")
set(CMAKE_OSX_ARCHITECTURES "${CMAKE_SYSTEM_PROCESSOR}" CACHE STRING "")
set(CMAKE_OSX_SYSROOT "${sdk}" CACHE PATH "")
foreach(tool AR:llvm-ar RANLIB:llvm-ranlib NM:llvm-nm STRIP:llvm-strip OTOOL:llvm-otool
             INSTALL_NAME_TOOL:llvm-install-name-tool)
  string(REPLACE ":" ";" tool "${tool}")
  list(GET tool 0 variable)
  list(GET tool 1 program)
  set(CMAKE_${variable} "${llvm_tools}/${program}")
endforeach()

# One version of libc++, whose headers come before the SDK's own, and none of this system's C headers.
set(CMAKE_CXX_FLAGS_INIT "-Wunguarded-availability")  # of what the minimum system lacks
if(LOCALDISK_MACOS_LIBCXX)
  file(REAL_PATH "${LOCALDISK_MACOS_LIBCXX}" libcxx)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -nostdinc++ -isystem ${libcxx} -isystem ${llvm_tools}/../include/c++/v1")
endif()
# An SDK that came by a way that knows no symbolic links has small files with the name of what they lead to.
set(stubs "${CMAKE_BINARY_DIR}/sdk-links")
file(MAKE_DIRECTORY "${stubs}")
file(GLOB candidates "${sdk}/usr/lib/*.tbd")
foreach(stub IN LISTS candidates)
  file(SIZE "${stub}" size)
  if(size LESS 100)
    file(STRINGS "${stub}" leads_to LIMIT_COUNT 1)
    cmake_path(GET stub FILENAME name)
    file(CREATE_LINK "${sdk}/usr/lib/${leads_to}" "${stubs}/${name}" SYMBOLIC)
  endif()
endforeach()

set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -L${stubs} -Wl,-adhoc_codesign")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${CMAKE_EXE_LINKER_FLAGS_INIT} -Wl,-undefined,error")

# Libraries are the SDK's. Header-only ones are taken from this system one by one, by the modules in this folder.
set(CMAKE_FIND_ROOT_PATH "${sdk}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} "${sdk}/usr/lib/pkgconfig")
list(PREPEND CMAKE_MODULE_PATH "${CMAKE_CURRENT_LIST_DIR}")
