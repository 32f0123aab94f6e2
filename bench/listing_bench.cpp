#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include "bench/fixtures.h"
#include "bench/rows.h"

#if defined(LOCALDISK_BENCH_GIO)
#include <gio/gio.h>
#endif

namespace {

constexpr int many = 100'000;

long long list_by_module(const std::string& folder) {
  bench::CountingList list;
  bench::drive().GetFileList(folder.c_str(), &list, nullptr);
  return list.entries;
}

// Examines every entry and keeps nothing of it.
long long list_by_system_calls(const std::string& folder) {
  DIR* const directory = ::opendir(folder.c_str());
  if (directory == nullptr) return -1;
  long long bytes = 0;
  while (const dirent* entry = ::readdir(directory)) {
    struct stat status {};
    if (::fstatat(::dirfd(directory), entry->d_name, &status, 0) == 0) bytes += status.st_size;
  }
  ::closedir(directory);
  return bytes;
}

#if defined(LOCALDISK_BENCH_GIO)
long long list_by_peer(const std::string& folder) {
  GFile* const file = ::g_file_new_for_path(folder.c_str());
  GFileEnumerator* const entries = ::g_file_enumerate_children(
      file, "standard::name,standard::type,standard::size,time::modified,time::access,time::changed",
      G_FILE_QUERY_INFO_NONE, nullptr, nullptr);
  long long bytes = 0;
  while (GFileInfo* const entry = ::g_file_enumerator_next_file(entries, nullptr, nullptr)) {
    bytes += ::g_file_info_get_size(entry);
    ::g_object_unref(entry);
  }
  ::g_object_unref(entries);
  ::g_object_unref(file);
  return bytes;
}
#endif

template <class Folder>
void add_row(const char* name, int entries, Folder folder) {
  bench::Row row(name, entries);
  row.module([folder] { return list_by_module(folder()); });
  row.baseline([folder] { return list_by_system_calls(folder()); });
#if defined(LOCALDISK_BENCH_GIO)
  row.peer([folder] { return list_by_peer(folder()); });
#endif
}

}  // namespace

void bench::add_listing_rows() {
  add_row("list 100 000 entries in memory", many, []() -> const std::string& {
    static const std::string folder = folder_of(many);
    return folder;
  });
  add_row("list 100 000 entries on disk", many, []() -> const std::string& {
    static const std::string folder = folder_on_disk_of(many);
    return folder;
  });
  add_row("list 1000 entries", 1000, []() -> const std::string& {
    static const std::string folder = folder_of(1000);
    return folder;
  });
  add_row("list 10 entries", 10, []() -> const std::string& {
    static const std::string folder = folder_of(10);
    return folder;
  });
}
