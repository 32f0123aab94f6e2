// The loaded library and what it offers by name.
#pragma once

#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <string>

#include "host/client/errors.h"
#include "localdisk/host_interfaces.h"

namespace host {

// Holds the library for as long as anything of it is in use.
class Module {
 public:
  // Loads `file`, or where that is empty the module that stands beside the executable, in the folder above it
  // or in the installed place.
  explicit Module(const std::filesystem::path& file);
  ~Module();
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  [[nodiscard]] const std::filesystem::path& file() const { return file_; }
  [[nodiscard]] const std::string& protocol() const { return protocol_; }
  [[nodiscard]] int auth_type() const;  // 0: the user is asked for nothing

  // The function of that symbol name. Decorated names are the C++ compiler's.
  template <class Signature>
  [[nodiscard]] Signature* function(const char* name) const {
    return reinterpret_cast<Signature*>(symbol(name));
  }

  // Hands `logger`, which must outlive the module, to the library.
  void bind_logger(ILog* logger);

 private:
  struct Unload {
    void operator()(void* library) const { ::dlclose(library); }
  };
  [[nodiscard]] void* symbol(const char* name) const;

  std::filesystem::path file_;
  std::unique_ptr<void, Unload> library_;
  std::string protocol_;
  bool logger_bound_ = false;
};

}  // namespace host
