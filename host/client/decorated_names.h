// Names that differ between the C++ standard libraries, for the library's string is part of them.
#pragma once

#include <cstddef>  // tells which library it is

namespace host {

struct LibraryNames {
  const char *name, *file;                   // as people call it, and what its file's name begins with
  const char *profile_string, *profile_int;  // of the module's utilities
};

inline constexpr LibraryNames libcxx_names{
    "libc++", "libc++.so",
    "_Z23GetPrivateProfileStringNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEES5_S5_PciS5_",
    "_Z20GetPrivateProfileIntNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEES5_jS5_"};

inline constexpr LibraryNames libstdcxx_names{
    "libstdc++", "libstdc++.so",
    "_Z23GetPrivateProfileStringNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES4_S4_PciS4_",
    "_Z20GetPrivateProfileIntNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES4_jS4_"};

#if defined(_LIBCPP_VERSION)
inline constexpr const LibraryNames &own_library = libcxx_names, &foreign_library = libstdcxx_names;
#else
inline constexpr const LibraryNames &own_library = libstdcxx_names, &foreign_library = libcxx_names;
#endif

}  // namespace host
