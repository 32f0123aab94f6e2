// Everything the module promises to export, declared with its exact types and referred to once: the undefined symbols
// of this object are the decorated names that the module's table has to hold, whatever standard library is in use.
#include <sys/time.h>

#include <ctime>
#include <functional>
#include <istream>
#include <regex>
#include <string>
#include <vector>

// Overloads share a name, so what refers to them is numbered.
#define EXPORTED(...) EXPORTED_NUMBER(__COUNTER__, __VA_ARGS__)
#define EXPORTED_NUMBER(number, ...) EXPORTED_AS(number, __VA_ARGS__)
#define EXPORTED_AS(number, result, name, ...) \
  result name(__VA_ARGS__);                    \
  [[gnu::used]] static result (*const use_##number)(__VA_ARGS__) = name;

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
PLAIN(_ZTV10IRefObject)
PLAIN(_ZTV12IProtocol_V1)
PLAIN(_ZTV12IProtocol_V2)
#if !defined(__APPLE__) || !defined(__aarch64__)  // where each library keeps that of a class without a key function
PLAIN(_ZTI10IRefObject)
PLAIN(_ZTS10IRefObject)
PLAIN(_ZTI12IProtocol_V1)
PLAIN(_ZTS12IProtocol_V1)
PLAIN(_ZTI12IProtocol_V2)
PLAIN(_ZTS12IProtocol_V2)
#endif
PLAIN(_ZTI9LocalDisk)
PLAIN(_ZTS9LocalDisk)
PLAIN(_ZTV9LocalDisk)
PLAIN(_Z7memrchrPKvim)  // by its decorated name: the C library's header declares another function like it

EXPORTED(char*, normalize_path, const char*, unsigned long)
EXPORTED(string, TMToRFC3339, tm*)
EXPORTED(string, TMToUTCRFC3339, tm*)
EXPORTED(string, TimeToRFC3339, long)
EXPORTED(string, TimeToUTCRFC3339, long)
EXPORTED(time_t, RFC3339ToTM, const char*)
EXPORTED(string, GetSystemTimeRfc3339)
EXPORTED(string, AdjustOffsetForServerTime, long)
EXPORTED(string, NoAdjustOffsetForServerTime, long)
EXPORTED(string, AdjustServerTimeOffset, const char*)
EXPORTED(string, NoAdjustServerTimeOffset, const char*)
EXPORTED(time_t, parse8601, std::istream&&)
EXPORTED(time_t, RFC3339ToLocalTM, const char*)
EXPORTED(int, parse_date_basic, const char*, timeval*, int*)
EXPORTED(int, approxidate, const char*, tm*)
EXPORTED(string, convert_last_modified_to_rfc3339, string)
EXPORTED(string, string_format, string, ...)
EXPORTED(wstring, wstring_format, wstring, ...)
EXPORTED(Texts, split, const string&, const std::regex)
EXPORTED(WideTexts, split, const wstring&, const std::wregex)
EXPORTED(Texts, split_delim, const string&, const string&, Transform)
EXPORTED(WideTexts, split_delim, const wstring&, const wstring&, WideTransform)
EXPORTED(Texts, tokenize, const string&, char, Transform)
EXPORTED(WideTexts, tokenize, const wstring&, wchar_t, WideTransform)
EXPORTED(Texts, tokenize, const string&, string, Transform)
EXPORTED(WideTexts, tokenize, const wstring&, wstring, WideTransform)
EXPORTED(void, replace_all, string&, const string&, const string&)
EXPORTED(void, replace_all, wstring&, const wstring&, const wstring&)
EXPORTED(string, join, const Texts&, string)
EXPORTED(string&, trim, string&)
EXPORTED(bool, ends_with, const string&, const string&)
EXPORTED(bool, ends_with, const wstring&, const wstring&)
EXPORTED(bool, IsNameInExpression, const wchar_t*, const wchar_t*, bool)
EXPORTED(bool, IsNameInExpressionA, const char*, const char*, bool)
EXPORTED(wstring, s2ws, const string&)
EXPORTED(string, ws2s, const wstring&)
EXPORTED(string, wchar2utf8, const wchar_t*)
EXPORTED(char*, base64, const unsigned char*, unsigned long)
EXPORTED(string, URLEncode, const char*, bool)
EXPORTED(string, NewUUID)
EXPORTED(bool, is_email_valid, const string&)
EXPORTED(int, octalToDecimal, int)
EXPORTED(unsigned int, GetPrivateProfileString, string, string, string, char*, int, string)
EXPORTED(unsigned int, GetPrivateProfileInt, string, string, unsigned int, string)
EXPORTED(string, ensure_ends_with_divider, string)
EXPORTED(string, remove_head_slashes, string)
EXPORTED(string, remove_tail_slashes, string)
EXPORTED(string, remove_duplicated_slashes, string)
EXPORTED(void, split_container_name, string, string&, string&)
EXPORTED(string, get_file_name, string)
EXPORTED(string, ToExactPath, const char*)
EXPORTED(string, pexec, string)
EXPORTED(bool, IsRunningPID, long long)
EXPORTED(string, GetCurrentPath)
EXPORTED(string, GetUserName)
EXPORTED(void, DisableQuickEditMode)
