#include "common/text/base64.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char g_character_for_base64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

using Pair = std::array<char, 2>;

// The two characters of every value of 12 bits: half the look-ups, for 8 KiB of constants.
constexpr auto pairs = [] {
  std::array<Pair, 1 << 12> table{};
  for (std::size_t value = 0; value < table.size(); ++value) {
    table[value] = {g_character_for_base64[value >> 6], g_character_for_base64[value & 0x3F]};
  }
  return table;
}();

// Writes the four characters of three bytes and moves `out` past them.
void put_group(std::uint32_t first, std::uint32_t second, std::uint32_t third, char*& out) {
  std::memcpy(out, pairs[first << 4 | second >> 4].data(), sizeof(Pair));
  std::memcpy(out + 2, pairs[(second & 0x0F) << 8 | third].data(), sizeof(Pair));
  out += 4;
}

void encode(const unsigned char* data, std::size_t length, char* out) {
  for (; length >= 3; length -= 3, data += 3) put_group(data[0], data[1], data[2], out);
  if (length > 0) {
    put_group(data[0], length == 2 ? data[1] : 0, 0, out);
    out[-1] = '=';
    if (length == 1) out[-2] = '=';
  }
  *out = '\0';
}

}  // namespace

char* base64(const unsigned char* data, unsigned long length) {
  static char* qq = nullptr;  // the text of the last call
  std::free(qq);
  qq = nullptr;
  if (data == nullptr || length == 0) return nullptr;

  const std::size_t groups = length / 3 + (length % 3 == 0 ? 0 : 1);
  if (groups > (SIZE_MAX - 1) / 4) return nullptr;
  qq = static_cast<char*>(std::malloc(groups * 4 + 1));
  if (qq != nullptr) encode(data, length, qq);
  return qq;
}
