#include "common/text/uuid.h"

#include <uuid/uuid.h>

#include <array>

std::string NewUUID() {
  uuid_t id;
  ::uuid_generate_random(id);
  std::array<char, 37> text{};  // 36 characters and the terminator
  ::uuid_unparse(id, text.data());
  return text.data();
}
