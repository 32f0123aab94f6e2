// Inputs made to take long, to go deep or never to end, each on a thread of little stack.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <sstream>

#include "common/path/exact_path.h"
#include "common/path/path_text.h"
#include "common/profile/profile.h"
#include "common/text/base64.h"
#include "common/text/email.h"
#include "common/text/format.h"
#include "common/text/split.h"
#include "common/text/strings.h"
#include "common/text/tokenize.h"
#include "common/text/url_encode.h"
#include "common/text/utf8.h"
#include "common/text/wildcard.h"
#include "common/time/approxidate.h"
#include "common/time/iso8601.h"
#include "common/time/rfc3339.h"
#include "common/time/strict_date.h"
#include "localdisk/normalize_path.h"
#include "testing/small_stack.h"
#include "testing/temporary_folder.h"

namespace {

constexpr std::size_t mega = stack_is_checked ? 100'000 : 1'000'000;  // the sanitizers take their time

std::string repeated(std::string_view part, std::size_t size) {
  std::string text;
  text.reserve(size + part.size());
  while (text.size() < size) text += part;
  return text;
}

struct Shape {
  const char* name;
  void (*meet)();
  friend void PrintTo(const Shape& shape, std::ostream* out) { *out << shape.name; }
};

std::string same(std::string& text) { return text; }
std::wstring wide_same(std::wstring& text) { return text; }

const Shape shapes[] = {
    {"StarsAgainstALongName",
     [] {
       for (const char* part : {"*a", "<a", "*?", "*>", "<\"", "**"}) {
         const std::string stars = repeated(part, 60) + "b", name = repeated("a", 255);
         EXPECT_FALSE(IsNameInExpressionA(stars.c_str(), name.c_str(), true));
         EXPECT_FALSE(IsNameInExpression(s2ws(stars).c_str(), s2ws(name).c_str(), true));
       }
     }},
    {"LongAddresses",
     [] {
       for (const char* part : {"a", "a.", "a_", ".", "@", "_", "a@b."})
         EXPECT_FALSE(is_email_valid(repeated(part, mega) + "@"));
       EXPECT_TRUE(is_email_valid(repeated("a", mega) + "@" + repeated("b.", mega) + "c"));
     }},
    {"LongTextsTrimmedAndReplaced",
     [] {
       std::string blank = repeated(" ", 10 * mega), text = repeated("ab", 10 * mega);
       EXPECT_TRUE(trim(blank).empty());
       replace_all(text, "a", "cc");
       EXPECT_EQ(text.size(), 15 * mega);
       replace_all(text, repeated("c", 5000) + "d", "");  // nearly there at every position
       std::string nearly = repeated("a", 10 * mega);
       replace_all(nearly, repeated("a", mega) + "b", "");
       EXPECT_EQ(nearly.size(), 10 * mega);
     }},
    {"LongTextsCut",
     [] {
       const std::string text = repeated("a,", 10 * mega);
       EXPECT_EQ(split(text, std::regex(",")).size(), 5 * mega);
       EXPECT_EQ(split(repeated(" ", 500), std::regex("\\s+")).size(), 1U);  // more would need more stack
       EXPECT_EQ(tokenize(text, ',', same).size(), 5 * mega);
       EXPECT_EQ(tokenize(text, ",a", same).size(), 5 * mega);
       EXPECT_EQ(split_delim(text, repeated(",.;", 300), same).size(), 5 * mega);
       EXPECT_EQ(tokenize(s2ws(text), L',', wide_same).size(), 5 * mega);
     }},
    {"LongTextsEncoded",
     [] {
       const std::string text = repeated("z\xC3\x9F\xE2\x82\xAC\xF0\x9D\x84\x9E", 10 * mega);
       EXPECT_EQ(ws2s(s2ws(text)), text);
       EXPECT_GT(URLEncode(text.c_str(), true).size(), 20 * mega);
       EXPECT_NE(base64(reinterpret_cast<const unsigned char*>(text.data()), text.size()), nullptr);
       EXPECT_NE(base64(reinterpret_cast<const unsigned char*>("a"), 1), nullptr);  // gives the long text back
       EXPECT_EQ(string_format("%s%*d", text.c_str(), 1000, 1).size(), text.size() + 1000);
     }},
    {"LongPaths",
     [] {
       for (const char* part : {"/", "/..", "/.", "\\x", "/x/..", "x/"}) {
         const std::string path = repeated(part, 10 * mega);
         EXPECT_LE(ToExactPath(path.c_str()).size(), path.size());
         std::free(normalize_path(path.c_str(), path.size()));
         EXPECT_LE(remove_duplicated_slashes(path).size(), path.size());
         EXPECT_LE(remove_tail_slashes(remove_head_slashes(path)).size(), path.size());
       }
     }},
    {"LongDates",
     [] {
       for (const char* part : {"9", "1-", "1:", "monday ", "2 years ago ", "+1 ", "@", "\xFF", "-", "1.1.1 "}) {
         const std::string text = repeated(part, mega);
         timeval instant{};
         tm fields{};
         int offset = 0;
         parse_date_basic(text.c_str(), &instant, &offset);
         approxidate(text.c_str(), &fields);
         RFC3339ToTM(text.c_str());
         RFC3339ToLocalTM(text.c_str());
       }
     }},
    {"ProfileWithoutALineEnd",
     [] {
       const TemporaryFolder folder;
       const std::string file = folder.write("p", "[s]\nk=v\n[t]\n" + repeated("x", 10 * mega));
       std::filesystem::resize_file(file, 100 * mega);
       EXPECT_EQ(GetPrivateProfileInt("t", "k", 7, file), 0U);
       EXPECT_EQ(GetPrivateProfileInt("t", "k", 7, folder.path()), 0U);  // a folder opens, but has nothing to read
     }},
};

class HostileShape : public testing::TestWithParam<Shape> {};

TEST_P(HostileShape, EndsSoonInLittleStack) {
  run_in_small_stack(GetParam().meet);  // what doesn't end soon is ended by the runner
}
INSTANTIATE_TEST_SUITE_P(Each, HostileShape, testing::ValuesIn(shapes),
                         [](const auto& row) { return row.param.name; });

// What never ends is read for ever, as the comment says, but in no more memory: only the limit ends it.
TEST(HostileShape, AnEndlessProfileNeedsTimeAndNothingElse) {
  const pid_t reader = ::fork();
  if (reader == 0) {
    const rlimit second{1, 2};
    ::setrlimit(RLIMIT_CPU, &second);
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    static long most;
    most = before.ru_maxrss + 8192;  // kibibytes
    struct sigaction action {};
    action.sa_handler = [](int) {
      rusage now{};
      ::getrusage(RUSAGE_SELF, &now);
      ::_exit(now.ru_maxrss <= most ? 0 : 1);
    };
    ::sigaction(SIGXCPU, &action, nullptr);
    GetPrivateProfileInt("s", "k", 7, "/dev/zero");
    ::_exit(2);  // it came to an end
  }
  int status = 0;
  EXPECT_EQ(::waitpid(reader, &status, 0), reader);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

}  // namespace
