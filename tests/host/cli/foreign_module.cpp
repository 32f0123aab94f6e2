// A module as the other C++ standard library would have made it: the name of one utility tells, and nothing of it may
// be called.
#include <cstdlib>
#include <string>

#define EXPORT extern "C" __attribute__((visibility("default")))

EXPORT void GetSupportProtocol(char** /*name*/) { std::abort(); }

#if defined(_LIBCPP_VERSION)
EXPORT void _Z23GetPrivateProfileStringNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES4_S4_PciS4_() {
  std::abort();
}
#else
EXPORT void _Z23GetPrivateProfileStringNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEES5_S5_PciS5_() {
  std::abort();
}
#endif
