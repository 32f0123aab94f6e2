// What a check says when the module differs: sentences in the words of the contract, never of the source.
#pragma once

#include <fmt/format.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "conformance/contract.h"
#include "conformance/harness.h"

// A piece of content as it was delivered, and a report of progress.
struct Chunk {
  long long offset;
  unsigned long long length;
  bool operator==(const Chunk&) const = default;
};
struct Report {
  long long total, done;
  bool operator==(const Report&) const = default;
};

// How a value stands in a sentence: texts in quotes, without control characters; long ones are shortened.
std::string shown(std::string_view text);
std::string shown(const std::vector<Chunk>& chunks);
std::string shown(const std::vector<Report>& reports);
std::string shown(const std::vector<long long>& offsets);
template <class Number>
requires std::is_arithmetic_v<Number> std::string shown(Number number) { return fmt::format("{}", number); }

// "19 (FS_ERR_NOT_FOUND)".
std::string status_text(int status);

// `wrong` says what is so when `holds` is false: "CreateDirectory changed a record although it failed".
inline void expect(bool holds, std::string_view wrong) {
  if (!holds) harness::fail(wrong);
}

// "`subject` is `actual`; expected `expected`".
template <class A, class B>
void expect_equal(std::string_view subject, const A& actual, const B& expected) {
  if (!(actual == expected))
    harness::fail(fmt::format("{} is {}; expected {}", subject, shown(actual), shown(expected)));
}

// "`call` answered `status`; expected `expected`", where `call` is an operation and what is particular about it:
// "Read of a missing file".
void expect_status(std::string_view call, int status, std::initializer_list<int> expected);
inline void expect_status(std::string_view call, int status, int expected) {
  expect_status(call, status, {expected});
}
