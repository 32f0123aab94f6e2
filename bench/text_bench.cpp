#include <fnmatch.h>
#include <iconv.h>

#include <cctype>
#include <cstdio>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "bench/rows.h"
#include "common/text/base64.h"
#include "common/text/email.h"
#include "common/text/format.h"
#include "common/text/split.h"
#include "common/text/tokenize.h"
#include "common/text/url_encode.h"
#include "common/text/utf8.h"
#include "common/text/wildcard.h"

#if defined(LOCALDISK_BENCH_CURL)
#include <curl/curl.h>
#endif
#if defined(LOCALDISK_BENCH_OPENSSL)
#include <openssl/evp.h>
#endif

namespace {

constexpr const char* file_name = "quarterly report 2024 (final, revised).txt";

void add_wildcard(const char* row, const char* expression, const char* name) {
  bench::Row(row).module([=] { return IsNameInExpressionA(expression, name, false); }).peer([=] {
    return ::fnmatch(expression, name, 0);
  });
}

void add_base64(const char* row, std::size_t size) {
  std::vector<unsigned char> data(size);
  for (std::size_t i = 0; i < size; ++i) data[i] = static_cast<unsigned char>(i * 37 >> 2);
  bench::Row made(row);
  made.module([=] { return base64(data.data(), data.size())[size / 2]; });
#if defined(LOCALDISK_BENCH_OPENSSL)
  made.peer([=, out = std::vector<unsigned char>(size * 4 / 3 + 8)]() mutable {
    ::EVP_EncodeBlock(out.data(), data.data(), static_cast<int>(size));
    return out[size / 2];
  });
#endif
}

// By a converter that was opened before, into a string of the right size.
template <class To, class From>
class Converter {
 public:
  Converter(const char* to, const char* from) : descriptor_(::iconv_open(to, from)) {}
  To operator()(const From& text, std::size_t room) const {
    To out(room, 0);
    char* in = const_cast<char*>(reinterpret_cast<const char*>(text.data()));
    char* at = reinterpret_cast<char*>(out.data());
    std::size_t in_left = text.size() * sizeof(typename From::value_type);
    std::size_t out_left = out.size() * sizeof(typename To::value_type);
    ::iconv(descriptor_, &in, &in_left, &at, &out_left);
    out.resize(out.size() - out_left / sizeof(typename To::value_type));
    return out;
  }

 private:
  iconv_t descriptor_;
};

std::string repeated(const char* text, std::size_t least) {
  std::string all;
  while (all.size() < least) all += text;
  return all;
}

void add_conversions(const std::string& kind, const char* sample) {
  const std::string text = repeated(sample, 1000);
  const std::wstring wide = s2ws(text);
  const Converter<std::wstring, std::string> decode("WCHAR_T", "UTF-8");
  const Converter<std::string, std::wstring> encode("UTF-8", "WCHAR_T");
  bench::Row("s2ws, " + kind).module([=] { return s2ws(text); }).peer([=] { return decode(text, text.size()); });
  bench::Row("ws2s, " + kind).module([=] { return ws2s(wide); }).peer([=] { return encode(wide, wide.size() * 4); });
}

void add_url() {
  constexpr const char* path = "Projekte/Übersicht 2024/quarterly report (final, revised) & notes.txt";
  bench::Row row("URLEncode");
  row.module([] { return URLEncode(path, true); });
#if defined(LOCALDISK_BENCH_CURL)
  row.peer([handle = ::curl_easy_init()] {
    char* const escaped = ::curl_easy_escape(handle, path, 0);
    const char first = *escaped;
    ::curl_free(escaped);
    return first;
  });
#endif
}

// Moves, so that the rows show the splitting and not a copy that the caller asked for.
std::string as_it_is(std::string& piece) { return std::move(piece); }

std::vector<std::string> pieces(const std::string& text, const std::string& delimiter, std::size_t length) {
  std::vector<std::string> found;
  std::size_t start = 0;
  for (std::size_t end = 0; (end = text.find(delimiter, start)) != std::string::npos; start = end + length)
    found.push_back(text.substr(start, end - start));
  found.push_back(text.substr(start));
  return found;
}

std::vector<std::string> pieces_outside(const std::string& text, const char* delimiters) {
  std::vector<std::string> found;
  std::size_t start = 0;
  while ((start = text.find_first_not_of(delimiters, start)) != std::string::npos) {
    const std::size_t end = std::min(text.find_first_of(delimiters, start), text.size());
    found.push_back(text.substr(start, end - start));
    start = end;
  }
  return found;
}

void add_splitting() {
  const std::string commas = repeated("alpha,beta,gamma and delta,a somewhat longer piece of text,", 2000);
  const std::string arrows = repeated("alpha->beta->gamma and delta->a somewhat longer piece of text->", 2000);
  bench::Row("tokenize at a character").module([=] { return tokenize(commas, ',', as_it_is); }).baseline([=] {
    return pieces(commas, ",", 1);
  });
  bench::Row("tokenize at a string")
      .module([=] { return tokenize(arrows, std::string("->"), as_it_is); })
      .baseline([=] { return pieces(arrows, "->", 2); });
  bench::Row("split_delim").module([=] { return split_delim(commas, ",; ", as_it_is); }).baseline([=] {
    return pieces_outside(commas, ",; ");
  });
  const std::regex comma(",");
  bench::Row("split").module([=] { return split(commas, comma); }).peer([=] {
    return std::vector<std::string>(std::sregex_token_iterator(commas.begin(), commas.end(), comma, -1), {});
  });
}

void add_email() {
  const std::string address = "firstname_lastname42@mail.department.example.org";
  bench::Row("is_email_valid").module([=] { return is_email_valid(address); }).baseline([=] {
    bool valid = true;
    for (const char c : address)
      valid &= std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '.' || c == '@';
    return valid;
  });
}

// Read afresh each time, or the compiler works the length out beforehand.
const char* volatile part_of = file_name;
volatile int part = 12;

void add_format() {
  bench::Row("string_format").module([] { return string_format("%s, part %d", part_of, part); }).baseline([] {
    const int length = std::snprintf(nullptr, 0, "%s, part %d", part_of, part);
    std::string text(static_cast<std::size_t>(length), '\0');
    std::snprintf(text.data(), text.size() + 1, "%s, part %d", part_of, part);
    return text;
  });
}

}  // namespace

void bench::add_text_rows() {
  add_wildcard("wildcard *.txt", "*.txt", file_name);
  add_wildcard("wildcard *a*b*c*", "*a*b*c*", "the quick brown fox jumps over a lazy bear in the cold.txt");
  add_base64("Base64, 4 KiB", 4 << 10);
  add_base64("Base64, 1 MiB", 1 << 20);
  add_conversions("ASCII", "The quick brown fox jumps over the lazy dog. ");
  add_conversions("Latin", "Zw\u00f6lf Boxk\u00e4mpfer jagen Viktor quer \u00fcber den gro\u00dfen Deich. ");
  add_conversions("CJK", "\u6211\u80fd\u541e\u4e0b\u73bb\u7483\u800c\u4e0d\u4f24\u8eab\u4f53");
  add_url();
  add_splitting();
  add_email();
  add_format();
}
