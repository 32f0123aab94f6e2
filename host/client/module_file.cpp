#include "host/client/module_file.h"

#include <dlfcn.h>

#if defined(__linux__)
#include <elf.h>
#include <link.h>

#include <cstring>
#include <fstream>
#include <system_error>
#include <vector>
#endif

#include "host/client/decorated_names.h"

namespace host {

namespace fs = std::filesystem;

#if defined(__linux__)

namespace {

// The names of the libraries that a loaded one asks for.
bool needs(void* library, const char* name) {
  link_map* map = nullptr;
  if (::dlinfo(library, RTLD_DI_LINKMAP, &map) != 0 || map == nullptr || map->l_ld == nullptr) return false;
  const char* names = nullptr;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_STRTAB) names = reinterpret_cast<const char*>(entry->d_un.d_ptr);
  }
  if (names == nullptr) return false;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    if (entry->d_tag == DT_NEEDED && std::strncmp(names + entry->d_un.d_val, name, std::strlen(name)) == 0)
      return true;
  }
  return false;
}

}  // namespace

std::string find_damage(const fs::path& file) {
  std::error_code unreadable;
  const auto size = fs::file_size(file, unreadable);
  std::ifstream in(file, std::ios::binary);
  ElfW(Ehdr) header{};
  if (unreadable || !in.read(reinterpret_cast<char*>(&header), sizeof header)) return {};  // the loader says it well
  if (std::memcmp(&header.e_ident[0], ELFMAG, SELFMAG) != 0 || header.e_phentsize != sizeof(ElfW(Phdr))) return {};
  std::vector<ElfW(Phdr)> segments(header.e_phnum);
  in.seekg(static_cast<std::streamoff>(header.e_phoff));
  const auto length = static_cast<std::streamsize>(segments.size() * sizeof(ElfW(Phdr)));
  if (!in.read(reinterpret_cast<char*>(segments.data()), length)) return "the file is cut off";
  for (const ElfW(Phdr) & segment : segments) {
    // The loader would map what isn't there, and the process would end at the first look at it.
    if (segment.p_type == PT_LOAD && (segment.p_offset > size || segment.p_filesz > size - segment.p_offset)) {
      return "the file is cut off";
    }
  }
  return {};
}

#else

namespace {

bool needs(void* /*library*/, const char* /*name*/) { return false; }

}  // namespace

std::string find_damage(const fs::path& /*file*/) { return {}; }

#endif

std::string find_foreign_library(void* library) {
  const auto exports = [&](const char* name) { return ::dlsym(library, name) != nullptr; };
  if (exports(own_library.profile_string)) return {};
  const bool asks = needs(library, foreign_library.file) && !needs(library, own_library.file);
  if (!asks && !exports(foreign_library.profile_string)) return {};
  return std::string("it was built for ") + foreign_library.name + ", this host for " + own_library.name;
}

}  // namespace host
