#include "common/text/utf8.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <type_traits>

namespace {

static_assert(sizeof(wchar_t) == 4, "wide text holds whole code points");

using Byte = unsigned char;

constexpr std::uint32_t highest_code_point = 0x10FFFF;

bool is_surrogate(std::uint32_t code) { return code >= 0xD800 && code <= 0xDFFF; }

// Text is converted through a chunk on the stack and appended from there: the result is written once, without
// being filled with zeros first, and a short text gets a string of just its length.
constexpr std::size_t chunk_size = 2048;

[[noreturn]] void throw_ill_formed() { throw std::range_error("wstring_convert: from_bytes error"); }
[[noreturn]] void throw_no_code_point() { throw std::range_error("wstring_convert: to_bytes error"); }

// The six bits that a continuation byte carries; more than 0x3F if it is none.
std::uint32_t tail_bits(Byte byte) { return byte ^ 0x80U; }

// Decodes the sequence of two to four bytes at `at` and moves past it.
wchar_t decode_sequence(const Byte*& at, const Byte* end) {
  const std::uint32_t lead = *at;
  const std::ptrdiff_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (lead < 0xC0 || lead > 0xF7 || end - at < length) throw_ill_formed();

  std::uint32_t tail = tail_bits(at[1]);
  std::uint32_t code = 0;
  bool well_formed = false;
  if (length == 2) {
    code = (lead & 0x1F) << 6 | tail;
    well_formed = code >= 0x80;
  } else if (length == 3) {
    tail |= tail_bits(at[2]);
    code = (lead & 0x0F) << 12 | tail_bits(at[1]) << 6 | tail_bits(at[2]);
    well_formed = code >= 0x800 && !is_surrogate(code);
  } else {
    tail |= tail_bits(at[2]) | tail_bits(at[3]);
    code = (lead & 0x07) << 18 | tail_bits(at[1]) << 12 | tail_bits(at[2]) << 6 | tail_bits(at[3]);
    well_formed = code >= 0x10000 && code <= highest_code_point;
  }
  if (tail > 0x3F || !well_formed) throw_ill_formed();
  at += length;
  return static_cast<wchar_t>(code);
}

// How many of the eight bytes at `at` are ASCII, up to the first one that is not.
std::ptrdiff_t count_ascii(const Byte* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, sizeof word);
  word &= 0x8080808080808080;
  const bool first_is_lowest = std::endian::native == std::endian::little;
  return (first_is_lowest ? std::countr_zero(word) : std::countl_zero(word)) / 8;
}

// Blocks have a fixed length and no branch inside, so that compilers turn these two into vector operations.
template <std::ptrdiff_t block, class From, class To>
void copy_block(const From* from, To* to) {
  for (std::ptrdiff_t i = 0; i < block; ++i) to[i] = static_cast<To>(from[i]);
}

template <std::ptrdiff_t block, class From>
bool all_ascii(const From* at) {
  std::make_unsigned_t<From> bits = 0;
  for (std::ptrdiff_t i = 0; i < block; ++i) bits |= static_cast<std::make_unsigned_t<From>>(at[i]);
  return bits < 0x80;
}

// Copies the ASCII characters at `at`, of which there is at least one, as far as `out` has room for them.
void decode_ascii(const Byte*& at, const Byte* end, wchar_t*& out, const wchar_t* full) {
  constexpr std::ptrdiff_t word = 8;
  constexpr std::ptrdiff_t block = 32;
  if (end - at < word || full - out < word) {
    *out++ = static_cast<wchar_t>(*at++);
    return;
  }
  copy_block<word>(at, out);  // what is not ASCII is written over
  const std::ptrdiff_t count = count_ascii(at);
  at += count;
  out += count;
  if (count < word) return;
  for (; end - at >= block && full - out >= block && all_ascii<block>(at); at += block, out += block) {
    copy_block<block>(at, out);
  }
}

// The same for wide characters.
void encode_ascii(const wchar_t*& at, const wchar_t* end, char*& out, const char* full) {
  constexpr std::ptrdiff_t block = 16;
  for (; end - at >= block && full - out >= block && all_ascii<block>(at); at += block, out += block) {
    copy_block<block>(at, out);
  }
  while (at != end && out != full && static_cast<std::uint32_t>(*at) < 0x80) {
    *out++ = static_cast<char>(*at++);
  }
}

// Writes the two to four bytes of a code point from 0x80 on.
void encode_sequence(std::uint32_t code, char*& out) {
  const auto put = [&out](std::uint32_t byte) { *out++ = static_cast<char>(byte); };
  const auto put_tail = [put](std::uint32_t bits) { put(0x80 | (bits & 0x3F)); };
  if (code < 0x800) {
    put(0xC0 | code >> 6);
  } else if (code < 0x10000) {
    if (is_surrogate(code)) throw_no_code_point();
    put(0xE0 | code >> 12);
    put_tail(code >> 6);
  } else {
    if (code > highest_code_point) throw_no_code_point();
    put(0xF0 | code >> 18);
    put_tail(code >> 12);
    put_tail(code >> 6);
  }
  put_tail(code);
}

std::string encode(std::wstring_view wide) {
  constexpr std::ptrdiff_t longest_sequence = 4;
  std::string text;
  std::array<char, chunk_size> chunk;
  const char* const full = chunk.data() + chunk.size();
  const wchar_t* at = wide.data();
  const wchar_t* const end = at + wide.size();
  if (wide.size() > chunk.size()) text.reserve(wide.size());
  while (at != end) {
    char* out = chunk.data();
    while (at != end && full - out >= longest_sequence) {
      const auto code = static_cast<std::uint32_t>(*at);  // a negative character is above every code point
      if (code < 0x80) {
        encode_ascii(at, end, out, full);
      } else {
        encode_sequence(code, out);
        ++at;
      }
    }
    text.append(chunk.data(), static_cast<std::size_t>(out - chunk.data()));
  }
  return text;
}

}  // namespace

std::wstring s2ws(const std::string& text) {
  std::wstring wide;
  std::array<wchar_t, chunk_size> chunk;
  const wchar_t* const full = chunk.data() + chunk.size();
  const Byte* at = reinterpret_cast<const Byte*>(text.data());
  const Byte* const end = at + text.size();
  if (text.size() > chunk.size()) wide.reserve(text.size());
  while (at != end) {
    wchar_t* out = chunk.data();
    while (at != end && out != full) {
      if (*at < 0x80) {
        decode_ascii(at, end, out, full);
      } else {
        *out++ = decode_sequence(at, end);
      }
    }
    wide.append(chunk.data(), static_cast<std::size_t>(out - chunk.data()));
  }
  return wide;
}

std::string ws2s(const std::wstring& text) { return encode(text); }

std::string wchar2utf8(const wchar_t* text) { return encode(text); }
