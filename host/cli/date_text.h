// The time that a user means by a text.
#pragma once

#include <ctime>
#include <string>

#include "host/client/module_functions.h"

namespace host {

// RFC 3339, exactly and for any year of four digits; the same without an offset by the local clock; else what the
// module's readers make of it. UsageError says why where a text is impossible or understood in part only.
time_t read_date(const ModuleFunctions& functions, const std::string& text);

}  // namespace host
