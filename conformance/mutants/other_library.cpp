// What the module of the other C++ standard library looks like from outside: its utilities have other decorated
// names. None of its functions may be called, for its texts are made otherwise.
#include <cstdlib>

#if defined(_LIBCPP_VERSION)
#define UTILITY "_Z7NewUUIDB5cxx11v"
#else
#define UTILITY \
  "_Z23GetPrivateProfileStringNSt3__112basic_stringIcNS_11char_traitsIcEENS_9allocatorIcEEEES5_S5_PciS5_"
#endif
#define EXPORTED __attribute__((visibility("default")))

extern "C" {
EXPORTED void utility() __asm__(UTILITY);
EXPORTED void utility() { std::abort(); }
EXPORTED void GetSupportProtocol(char** /*name*/) { std::abort(); }
EXPORTED bool GetProtocol(void* /*manager*/, void** /*object*/) { std::abort(); }
}
