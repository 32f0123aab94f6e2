#include "common/time/timestamp_text.h"

#include <cstdio>

#include "common/time/date_text.h"

namespace localdisk {
namespace {

bool has_two_digits(int value) noexcept { return value >= 0 && value <= 99; }

void put_two_digits(int value, char* out) noexcept {
  const auto number = static_cast<unsigned char>(value);
  out[0] = static_cast<char>('0' + number / 10);
  out[1] = static_cast<char>('0' + number % 10);
}

// Reads one signed decimal number at `text` and moves past it; false when there is none.
bool read_int(const char*& text, int& value) {
  const char* const start = text;
  const long number = read_signed(text);
  if (text == start) return false;
  value = saturate(number);
  return true;
}

}  // namespace

// Fields in their usual ranges are written by hand, in a tenth of the time that the formatter takes; a listing writes
// three texts an entry. All others are left to the formatter, which knows signs and widths.
void TimestampText::set(const tm& t) noexcept {
  const long year = t.tm_year + 1900L;
  const long month = t.tm_mon + 1L;
  if (year >= 0 && year <= 9999 && month >= 0 && month <= 99 && has_two_digits(t.tm_mday) &&
      has_two_digits(t.tm_hour) && has_two_digits(t.tm_min) && has_two_digits(t.tm_sec)) {
    constexpr std::string_view form = "0000-00-00T00:00:00.000Z";
    form.copy(text_.data(), form.size());
    length_ = form.size();
    put_two_digits(static_cast<int>(year) / 100, &text_[0]);
    put_two_digits(static_cast<int>(year) % 100, &text_[2]);
    put_two_digits(static_cast<int>(month), &text_[5]);
    put_two_digits(t.tm_mday, &text_[8]);
    put_two_digits(t.tm_hour, &text_[11]);
    put_two_digits(t.tm_min, &text_[14]);
    put_two_digits(t.tm_sec, &text_[17]);
    return;
  }
  length_ = static_cast<std::size_t>(std::snprintf(text_.data(), text_.size(), "%04ld-%02ld-%02dT%02d:%02d:%02d.000Z",
                                                   year, month, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec));
}

tm read_timestamp(const char* text) noexcept {
  tm fields{};
  if (text == nullptr) text = "";
  struct Item {
    int* field;
    char separator;  // that has to follow before the next item is looked for
  };
  for (const auto& [field, separator] : std::to_array<Item>({{&fields.tm_year, '-'},
                                                             {&fields.tm_mon, '-'},
                                                             {&fields.tm_mday, 'T'},
                                                             {&fields.tm_hour, ':'},
                                                             {&fields.tm_min, ':'},
                                                             {&fields.tm_sec, '\0'}})) {
    if (!read_int(text, *field) || *text != separator || separator == '\0') break;
    ++text;
  }
  fields.tm_year = saturate(fields.tm_year - 1900LL);
  fields.tm_mon = saturate(fields.tm_mon - 1LL);
  return fields;
}

}  // namespace localdisk
