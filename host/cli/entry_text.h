// How ls and stat show a record.
#pragma once

#include <string>

#include "localdisk/file_record.h"

namespace host {

const char* type_name(int type);

// Prints an object of JSON on one line: times as instants in UTC, null where the record tells none. Of names that are
// not UTF-8, for which U+FFFD stands, the bytes are told beside it.
void print_json(const _FS_FILE_V2& file);

// "2024-07-15T14:00:00+02:00" of a record's time text, and "-" where it is none.
std::string local_time(const std::string& record_time);

}  // namespace host
