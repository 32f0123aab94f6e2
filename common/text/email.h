// A structural check of e-mail addresses.
#pragma once

#include <string>

#include "common/export.h"

// Whether the whole of `text` matches (\w+)(\.|_)?(\w*)@(\w+)(\.(\w+))+ where \w is "_" and the letters and digits of
// the global locale. So there is at most one dot before the "@" and it isn't the first character, at least one dot
// after it, and a word, never empty, on both sides of each dot there. Any length is checked in one pass.
LOCALDISK_EXPORT bool is_email_valid(const std::string& text);
