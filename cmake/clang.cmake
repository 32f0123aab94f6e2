# The compiler of the presets that want clang: LOCALDISK_CLANG of the environment where a build folder is new, or the
# version that the scripts install.
set(CMAKE_CXX_COMPILER clang++-19)
if(NOT "$ENV{LOCALDISK_CLANG}" STREQUAL "")
  set(CMAKE_CXX_COMPILER "$ENV{LOCALDISK_CLANG}")
endif()
