// The protocol object as safe C++: operations that give their result or throw, callbacks that may throw, and
// nothing that has to be released by hand.
#pragma once

#include <cstddef>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/client/errors.h"
#include "host/client/module.h"
#include "localdisk/protocol.h"

namespace host {

// One value that the module told the manager.
struct ToldValue {
  std::string owner, key, value;
  int flag;
};

struct Quota {
  unsigned long long total, used;
};

using Handle = std::shared_ptr<_FS_HANDLE>;
inline Handle new_handle() { return std::make_shared<_FS_HANDLE>(); }
// Asks the transfers of the handle to stop; safe in a signal handler and from any thread.
inline void stop(_FS_HANDLE& handle) { __atomic_store_n(&handle.state, FS_STATE_STOP, __ATOMIC_RELEASE); }

// Thread-safe but for set_option.
class Drive {
 public:
  explicit Drive(const Module& module);
  ~Drive();
  Drive(const Drive&) = delete;
  Drive& operator=(const Drive&) = delete;

  void set_option(const char* key, const std::string& value);
  [[nodiscard]] std::string user();
  [[nodiscard]] std::string root();
  [[nodiscard]] std::optional<Quota> quota();  // nothing where the module leaves it open
  [[nodiscard]] int features();
  std::vector<ToldValue> hand_over_credential();

  // One entry at a time while the module lists, or all of them at the end.
  void list(const std::string& path, const std::function<void(const _FS_FILE_V2&)>& visit);
  std::vector<_FS_FILE_V2> list(const std::string& path);
  _FS_FILE_V2 info(const std::string& path);
  std::optional<_FS_FILE_V2> find(const std::string& path);  // nothing where there is no entry
  // The same into a record of the caller's, which can serve for many questions: making it anew takes most of what is
  // spent on one beside the module's own work. What it held is gone. Answers whether there is an entry.
  bool find(const std::string& path, _FS_FILE_V2& file);

  // Hands the chunks of a range to `sink`, in order. What `sink` throws stops the transfer and comes out here.
  using Sink = std::function<void(const unsigned char* data, std::size_t size)>;
  void read(const std::string& path, long long offset, long long length, const Handle& handle, const Sink& sink);
  // Fills the file of that name from `source`, which fills each block that it is handed with the content from
  // `offset` on. After a write that the disk took in part only, the module asks again from where it is: `offset`
  // counts, and never what was served last. What `source` throws ends the transfer and comes out here.
  using Source = std::function<void(unsigned char* block, std::size_t size, long long offset)>;
  _FS_FILE_V2 upload(const std::string& parent, const std::string& name, long long size, const Handle& handle,
                     const Source& source);

  // Moves and removes what a record of info or list describes.
  _FS_FILE_V2 move(const _FS_FILE_V2& entry, const std::string& new_parent, const std::string& name);
  void remove(const _FS_FILE_V2& entry);
  _FS_FILE_V2 create_directory(const std::string& parent, const std::string& name);
  // Both times as instants.
  void set_times(const std::string& path, time_t accessed, time_t modified);

 private:
  class Manager;
  struct Release {
    void operator()(IProtocol_V2* object) const { object->Release(); }
  };
  std::unique_ptr<Manager> manager_;
  std::unique_ptr<IProtocol_V2, Release> object_;
};

}  // namespace host
