// Everything the module promises to export, declared with its exact types and referred to once: the undefined symbols
// of this object are the decorated names that the module's table has to hold, whatever standard library is in use.
#include <sys/time.h>

#include <ctime>
#include <functional>
#include <istream>
#include <regex>
#include <string>
#include <vector>

#define EXPORTED(id, result, name, ...) \
  result name(__VA_ARGS__);             \
  [[gnu::used]] static result (*const use_##id)(__VA_ARGS__) = name;

#define PLAIN(name)             \
  extern "C" const char name[]; \
  [[gnu::used]] static const char* const use_##name = name;

using std::string;
using std::wstring;
using Texts = std::vector<string>;
using WideTexts = std::vector<wstring>;
using Transform = std::function<string(string&)>;
using WideTransform = std::function<wstring(wstring&)>;

PLAIN(GetProtocol)
PLAIN(BindLogger)
PLAIN(UnbindLogger)
PLAIN(GetSupportProtocol)
PLAIN(FreeP)
PLAIN(GetAuthType)
PLAIN(GetAuthFields)
PLAIN(GetOptFields)
PLAIN(logger)
PLAIN(ll)
PLAIN(_ZTI10IRefObject)
PLAIN(_ZTS10IRefObject)
PLAIN(_ZTV10IRefObject)
PLAIN(_ZTI12IProtocol_V1)
PLAIN(_ZTS12IProtocol_V1)
PLAIN(_ZTV12IProtocol_V1)
PLAIN(_ZTI12IProtocol_V2)
PLAIN(_ZTS12IProtocol_V2)
PLAIN(_ZTV12IProtocol_V2)
PLAIN(_ZTI9LocalDisk)
PLAIN(_ZTS9LocalDisk)
PLAIN(_ZTV9LocalDisk)
PLAIN(_Z7memrchrPKvim)  // by its decorated name: the C library's header declares another function like it

EXPORTED(1, char*, normalize_path, const char*, unsigned long)
EXPORTED(2, string, TMToRFC3339, tm*)
EXPORTED(3, string, TMToUTCRFC3339, tm*)
EXPORTED(4, string, TimeToRFC3339, long)
EXPORTED(5, string, TimeToUTCRFC3339, long)
EXPORTED(6, time_t, RFC3339ToTM, const char*)
EXPORTED(7, string, GetSystemTimeRfc3339)
EXPORTED(8, string, AdjustOffsetForServerTime, long)
EXPORTED(9, string, NoAdjustOffsetForServerTime, long)
EXPORTED(10, string, AdjustServerTimeOffset, const char*)
EXPORTED(11, string, NoAdjustServerTimeOffset, const char*)
EXPORTED(12, time_t, parse8601, std::istream&&)
EXPORTED(13, time_t, RFC3339ToLocalTM, const char*)
EXPORTED(14, int, parse_date_basic, const char*, timeval*, int*)
EXPORTED(15, int, approxidate, const char*, tm*)
EXPORTED(16, string, convert_last_modified_to_rfc3339, string)
EXPORTED(17, string, string_format, string, ...)
EXPORTED(18, wstring, wstring_format, wstring, ...)
EXPORTED(19, Texts, split, const string&, const std::regex)
EXPORTED(20, WideTexts, split, const wstring&, const std::wregex)
EXPORTED(21, Texts, split_delim, const string&, const string&, Transform)
EXPORTED(22, WideTexts, split_delim, const wstring&, const wstring&, WideTransform)
EXPORTED(23, Texts, tokenize, const string&, char, Transform)
EXPORTED(24, WideTexts, tokenize, const wstring&, wchar_t, WideTransform)
EXPORTED(25, Texts, tokenize, const string&, string, Transform)
EXPORTED(26, WideTexts, tokenize, const wstring&, wstring, WideTransform)
EXPORTED(27, void, replace_all, string&, const string&, const string&)
EXPORTED(28, void, replace_all, wstring&, const wstring&, const wstring&)
EXPORTED(29, string, join, const Texts&, string)
EXPORTED(30, string&, trim, string&)
EXPORTED(31, bool, ends_with, const string&, const string&)
EXPORTED(32, bool, ends_with, const wstring&, const wstring&)
EXPORTED(33, bool, IsNameInExpression, const wchar_t*, const wchar_t*, bool)
EXPORTED(34, bool, IsNameInExpressionA, const char*, const char*, bool)
EXPORTED(35, wstring, s2ws, const string&)
EXPORTED(36, string, ws2s, const wstring&)
EXPORTED(37, string, wchar2utf8, const wchar_t*)
EXPORTED(38, char*, base64, const unsigned char*, unsigned long)
EXPORTED(39, string, URLEncode, const char*, bool)
EXPORTED(40, string, NewUUID)
EXPORTED(41, bool, is_email_valid, const string&)
EXPORTED(42, int, octalToDecimal, int)
EXPORTED(43, unsigned int, GetPrivateProfileString, string, string, string, char*, int, string)
EXPORTED(44, unsigned int, GetPrivateProfileInt, string, string, unsigned int, string)
EXPORTED(45, string, ensure_ends_with_divider, string)
EXPORTED(46, string, remove_head_slashes, string)
EXPORTED(47, string, remove_tail_slashes, string)
EXPORTED(48, string, remove_duplicated_slashes, string)
EXPORTED(49, void, split_container_name, string, string&, string&)
EXPORTED(50, string, get_file_name, string)
EXPORTED(51, string, ToExactPath, const char*)
EXPORTED(52, string, pexec, string)
EXPORTED(53, bool, IsRunningPID, long long)
EXPORTED(54, string, GetCurrentPath)
EXPORTED(55, string, GetUserName)
EXPORTED(56, void, DisableQuickEditMode)
