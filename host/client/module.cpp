#include "host/client/module.h"

#include "host/client/executable.h"
#include "host/client/module_file.h"
#include "plugin/entry_points.h"
#include "plugin/logger.h"

namespace host {
namespace {

namespace fs = std::filesystem;

#if defined(__APPLE__)
constexpr const char* module_name = "localdisk.dylib";
#else
constexpr const char* module_name = "localdisk.so";
#endif

fs::path default_module() {
  const fs::path here = executable().parent_path();
  for (const fs::path& folder : {here, here.parent_path(), here.parent_path() / "lib/localdisk"}) {
    if (fs::exists(folder / module_name)) return folder / module_name;
  }
  throw ModuleError(std::string("no ") + module_name +
                    " beside the executable or in the build folder: name one with --module");
}

// The loader's reason, without the file's name, which it puts in front.
std::string loader_error() {
  const char* const error = ::dlerror();
  const std::string text = error != nullptr ? error : "the loader gives no reason";
  const std::size_t colon = text.front() == '/' ? text.find(": ") : std::string::npos;
  return colon == std::string::npos ? text : text.substr(colon + 2);
}

}  // namespace

Module::Module(const fs::path& file) : file_(fs::absolute(file.empty() ? default_module() : file)) {
  const std::string refusal = "can't load the module " + file_.string() + ": ";
  if (const std::string damage = find_damage(file_); !damage.empty()) throw ModuleError(refusal + damage);
  library_.reset(::dlopen(file_.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!library_) throw ModuleError(refusal + loader_error());
  if (const std::string why = find_foreign_library(library_.get()); !why.empty()) throw ModuleError(refusal + why);
  char* name = nullptr;
  function<decltype(GetSupportProtocol)>("GetSupportProtocol")(&name);
  if (name == nullptr) throw ModuleError(file_.string() + " does not name its protocol");
  protocol_ = name;
  function<decltype(FreeP)>("FreeP")(name);
}

Module::~Module() {
  if (logger_bound_) function<decltype(UnbindLogger)>("UnbindLogger")();
}

int Module::auth_type() const { return function<decltype(GetAuthType)>("GetAuthType")(); }

void* Module::symbol(const char* name) const {
  void* const found = ::dlsym(library_.get(), name);
  if (found == nullptr) throw ModuleError(file_.string() + " does not export " + name);
  return found;
}

void Module::bind_logger(ILog* log) {
  static_cast<void>(symbol("UnbindLogger"));  // what is bound has to come off again
  if (!function<decltype(BindLogger)>("BindLogger")(log)) throw ModuleError("the module refused the logger");
  logger_bound_ = true;
}

}  // namespace host
