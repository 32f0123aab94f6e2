#include "conformance/handshake.h"

#include <dlfcn.h>
#include <fmt/format.h>

#include <string_view>

#if defined(__linux__)
#include <elf.h>
#include <link.h>
#endif

namespace {

#if defined(_LIBCPP_VERSION)
constexpr std::string_view own_library = "libc++";
#elif defined(_GLIBCXX_USE_CXX11_ABI) && _GLIBCXX_USE_CXX11_ABI
constexpr std::string_view own_library = "libstdc++";
#else
constexpr std::string_view own_library = "libstdc++ with its texts of before C++11";
#endif

// The libraries decorate their texts with different names, so a utility that takes or gives texts tells them apart.
std::string_view library_of_utilities(void* library) {
  struct Utility {
    const char* symbol;
    std::string_view library;
  };
  constexpr Utility utilities[] = {
      {"_Z23GetPrivateProfileStringNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEES5_S5_PciS5_",
       "libc++"},
      {"_Z23GetPrivateProfileStringNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES4_S4_PciS4_", "libstdc++"},
      {"_Z7NewUUIDB5cxx11v", "libstdc++"},
      {"_Z23GetPrivateProfileStringSsSsSsPciSs", "libstdc++ with its texts of before C++11"},
  };
  for (const auto& [symbol, name] : utilities)
    if (::dlsym(library, symbol) != nullptr) return name;
  return "";
}

// Of a module that exports no utilities: the libraries that the file itself asks for.
std::string_view library_needed(void* library) {
#if defined(__linux__)
  link_map* map = nullptr;
  if (::dlinfo(library, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr || map->l_ld == nullptr) return "";
  const char* names = nullptr;
  for (const auto* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry)
    if (entry->d_tag == DT_STRTAB) names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
  if (names == nullptr) return "";
  for (const auto* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag != DT_NEEDED) continue;
    const std::string_view needed = names + entry->d_un.d_val;
    if (needed.starts_with("libc++.so")) return "libc++";
    if (needed.starts_with("libstdc++.so")) return "libstdc++";
  }
#else
  static_cast<void>(library);
#endif
  return "";
}

}  // namespace

std::string standard_library_mismatch(void* library) {
  std::string_view found = library_of_utilities(library);
  if (found.empty()) found = library_needed(library);
  if (found.empty() || found == own_library) return "";
  return fmt::format("built for {}, and this localdisk-check for {}: their texts differ, so take one built for {}",
                     found, own_library, found);
}
