#include "host/cli/entry_text.h"

#include <fmt/format.h>

#include <cstdio>
#include <nlohmann/json.hpp>

#include "host/client/times.h"

namespace host {
namespace {

std::string hex(const std::string& bytes) {
  const auto* const first = reinterpret_cast<const unsigned char*>(bytes.data());
  return fmt::format("{:02x}", fmt::join(first, first + bytes.size(), ""));
}

nlohmann::ordered_json utc_or_null(const std::string& record_time) {
  const time_t instant = parse_record_time(record_time);
  return instant == -1 ? nlohmann::ordered_json() : nlohmann::ordered_json(format_utc_time(instant));
}

std::string json_line(const _FS_FILE_V2& file) {
  nlohmann::ordered_json object{
      {"name", file.name}, {"path", file.path}, {"type", type_name(file.type)}, {"size", file.size}};
  object["mtime"] = utc_or_null(file.mtime);
  object["atime"] = utc_or_null(file.atime);
  object["ctime"] = utc_or_null(file.ctime);
  try {
    return object.dump() + "\n";
  } catch (const nlohmann::json::type_error&) {
    object["name_hex"] = hex(file.name);
    object["path_hex"] = hex(file.path);
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
  }
}

}  // namespace

const char* type_name(int type) { return type == FS_TYPE_DIRECTORY ? "folder" : "file"; }

void print_json(const _FS_FILE_V2& file) {
  const std::string line = json_line(file);
  std::fwrite(line.data(), 1, line.size(), stdout);
}

std::string local_time(const std::string& record_time) {
  const time_t instant = parse_record_time(record_time);
  return instant == -1 ? "-" : format_local_time(instant);
}

}  // namespace host
