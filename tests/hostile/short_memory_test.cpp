// The utilities with each of their allocations failing: the usual answer, the promised lesser one, or bad_alloc.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>

#include "common/path/exact_path.h"
#include "common/path/path_text.h"
#include "common/process/command.h"
#include "common/process/current_path.h"
#include "common/profile/profile.h"
#include "common/text/base64.h"
#include "common/text/email.h"
#include "common/text/format.h"
#include "common/text/split.h"
#include "common/text/strings.h"
#include "common/text/tokenize.h"
#include "common/text/url_encode.h"
#include "common/text/utf8.h"
#include "common/text/uuid.h"
#include "common/time/approxidate.h"
#include "common/time/iso8601.h"
#include "common/time/rfc3339.h"
#include "common/time/server_clock.h"
#include "localdisk/normalize_path.h"
#include "testing/fault_injection.h"
#include "testing/scoped_environment.h"
#include "testing/temporary_folder.h"

namespace {

const std::string sample_text = "one, two, three, and so on, longer than any string keeps within itself";
const std::wstring wide_text(sample_text.begin(), sample_text.end());
const std::regex comma(", ");  // made here, for the making of an expression is its library's affair
const std::string nothing_given = "nothing";

std::string same(std::string& text) { return text; }
std::wstring wide_same(std::wstring& text) { return text; }

std::string owned(char* text) {
  if (text == nullptr) return nothing_given;
  const fault_injection::Pause pause;
  std::string copy(text);
  std::free(text);
  return copy;
}

std::string profile_text(const std::string& file) {
  char text[128];
  GetPrivateProfileString("s", "k", "default", text, sizeof(text), file);
  return text;
}

struct Utility {
  const char* name;
  std::function<std::string()> use;
  std::string lesser{};  // what may come instead of the usual answer
};

std::vector<Utility> utilities(const std::string& profile) {
  return {
      {"TimeToRFC3339", [] { return TimeToRFC3339(1); }},
      {"AdjustServerTimeOffset", [] { return AdjustServerTimeOffset("2021-07-01T12:00:00.000Z"); }},
      {"NoAdjustServerTimeOffset", [] { return NoAdjustServerTimeOffset(sample_text.c_str()); }},
      {"RFC3339ToTM", [] { return std::to_string(RFC3339ToTM("2021-07-01T12:00:00.000Z")); }},
      {"RFC3339ToLocalTM", [] { return std::to_string(RFC3339ToLocalTM("2021-07-01T12:00:00Z")); }},
      {"convert_last_modified", [] { return convert_last_modified_to_rfc3339("Thu, 14 Feb 2008 20:30:45 +0100"); }},
      {"string_format", [] { return string_format("%s", sample_text.c_str()); }},
      {"wstring_format", [] { return std::to_string(wstring_format(L"%ls", wide_text.c_str()).size()); }},
      {"split", [] { return std::to_string(split(sample_text, comma).size()); }},
      {"split_delim", [] { return std::to_string(split_delim(sample_text, ", ", same).size()); }},
      {"tokenize", [] { return std::to_string(tokenize(sample_text, ", ", same).size()); }},
      {"tokenize_wide", [] { return std::to_string(tokenize(wide_text, L',', wide_same).size()); }},
      {"join",
       [] {
         return join({sample_text, sample_text}, sample_text);
       }},
      {"s2ws", [] { return std::to_string(s2ws(sample_text).size()); }},
      {"ws2s", [] { return ws2s(wide_text); }},
      {"URLEncode", [] { return URLEncode(sample_text.c_str(), true); }},
      {"NewUUID", [] { return std::to_string(NewUUID().size()); }},
      {"is_email_valid", [] { return std::to_string(int{is_email_valid(sample_text)}); }},
      {"base64",
       [] {
         const char* const text =
             base64(reinterpret_cast<const unsigned char*>(sample_text.data()), sample_text.size());
         return text != nullptr ? std::string(text) : nothing_given;
       },
       nothing_given},
      {"normalize_path", [] { return owned(normalize_path(sample_text.data(), sample_text.size())); }, nothing_given},
      {"ToExactPath", [] { return ToExactPath(sample_text.c_str()); }},
      {"path_texts", [] { return ensure_ends_with_divider(remove_duplicated_slashes(sample_text)); }},
      {"GetCurrentPath", [] { return GetCurrentPath(); }, ""},
      {"GetPrivateProfileString", [profile] { return profile_text(profile); }},
      {"GetPrivateProfileInt", [profile] { return std::to_string(GetPrivateProfileInt("s", "n", 7, profile)); }},
      {"pexec", [] { return pexec("echo ran"); }},
  };
}

// What the use answers, or how it failed: by bad_alloc, or as the one that starts a process may.
std::string outcome(const Utility& utility) {
  try {
    return utility.use();
  } catch (const std::bad_alloc&) {
    return "no memory";
  } catch (const std::runtime_error& error) {
    const fault_injection::Pause pause;
    return std::string(error.what()) == "popen() failed!" ? "no memory" : error.what();
  }
}

TEST(ShortMemory, IsReportedAndLeaksNothing) {
  if (!fault_injection::can_be_made()) GTEST_SKIP() << "a sanitizer has its own allocator";
  const ScopedZone zone("UTC0");
  const TemporaryFolder folder;
  const std::string file = folder.write("p", "[s]\nk=" + sample_text + "\nn=5\n");
  for (const Utility& utility : utilities(file)) {
    SCOPED_TRACE(utility.name);
    const std::string usual = outcome(utility);
    int felt = 0;
    fault_injection::for_each_allocation([&](int at, bool for_good) {
      const long blocks = fault_injection::live_blocks();
      bool triggered = false;
      {
        std::string answer;
        {
          const fault_injection::FailAllocation short_of(at, for_good);
          answer = outcome(utility);
          triggered = fault_injection::FailAllocation::triggered();
        }
        EXPECT_TRUE(answer == usual || (triggered && (answer == "no memory" || answer == utility.lesser)))
            << answer << ", allocation " << at;
      }
      const bool keeps_its_text = std::string_view(utility.name) == "base64";
      EXPECT_TRUE(keeps_its_text || fault_injection::live_blocks() == blocks) << at;
      felt += triggered ? 1 : 0;
      return triggered && felt < 10000;
    });
  }
}

TEST(ShortMemory, LeavesTheReplacedTextAsItWas) {
  if (!fault_injection::can_be_made()) GTEST_SKIP() << "a sanitizer has its own allocator";
  fault_injection::for_each_allocation([](int at, bool for_good) {
    std::string text = sample_text;
    try {
      const fault_injection::FailAllocation short_of(at, for_good);
      replace_all(text, "o", sample_text);
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(text, sample_text);
    }
    return fault_injection::FailAllocation::triggered();
  });
}

}  // namespace
