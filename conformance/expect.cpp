#include "conformance/expect.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

std::string shortened(const std::string& text, std::size_t length) {
  constexpr std::size_t longest = 120, start = 80;
  return text.size() <= longest ? text : fmt::format("{}... ({} bytes)", text.substr(0, start), length);
}

template <class List, class Print>
std::string joined(const List& list, Print&& print) {
  std::string text;
  for (const auto& item : list) text += (text.empty() ? "" : ", ") + print(item);
  return text.empty() ? "none" : shortened(text, text.size());
}

}  // namespace

std::string shown(std::string_view text) {
  std::string printable;
  for (const char c : text.substr(0, 200))
    printable += c >= ' ' && c <= '~' ? std::string(1, c) : fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
  if (text.size() > 200) printable += "...";
  return "'" + shortened(printable, text.size()) + "'";
}

std::string shown(const std::vector<Chunk>& chunks) {
  return joined(chunks, [](const Chunk& chunk) { return fmt::format("{} bytes at {}", chunk.length, chunk.offset); });
}
std::string shown(const std::vector<Report>& reports) {
  return joined(reports, [](const Report& report) { return fmt::format("{} of {}", report.done, report.total); });
}
std::string shown(const std::vector<long long>& offsets) {
  return joined(offsets, [](long long offset) { return std::to_string(offset); });
}

std::string status_text(int status) {
  static constexpr std::array<std::pair<int, const char*>, 11> names{{
      {FS_OK, "FS_OK"},
      {FS_ERR_FAILED, "FS_ERR_FAILED"},
      {FS_ERR_BUFFER_TOO_SMALL, "FS_ERR_BUFFER_TOO_SMALL"},
      {FS_ERR_INVALID_ARG, "FS_ERR_INVALID_ARG"},
      {FS_ERR_NOT_SUPPORTED, "FS_ERR_NOT_SUPPORTED"},
      {FS_ERR_READ, "FS_ERR_READ"},
      {FS_ERR_SEEK, "FS_ERR_SEEK"},
      {FS_ERR_READ_CANCELLED, "FS_ERR_READ_CANCELLED"},
      {FS_ERR_UPLOAD_CANCELLED, "FS_ERR_UPLOAD_CANCELLED"},
      {FS_ERR_NOT_FOUND, "FS_ERR_NOT_FOUND"},
      {FS_ERR_OPERATION_FAILED, "FS_ERR_OPERATION_FAILED"},
  }};
  for (const auto& [value, name] : names)
    if (value == status) return fmt::format("{} ({})", value, name);
  return fmt::format("{}, which is no status", status);
}

void expect_status(std::string_view call, int status, std::initializer_list<int> expected) {
  if (std::find(expected.begin(), expected.end(), status) != expected.end()) return;
  std::string wanted;
  for (const int value : expected) wanted += (wanted.empty() ? "" : " or ") + status_text(value);
  harness::fail(fmt::format("{} answered {}; expected {}", call, status_text(status), wanted));
}
