// Between instants and the module's two readings of a timestamp text: records carry the local wall clock,
// SetFileTime takes local standard time.
#pragma once

#include <ctime>
#include <string>

namespace host {

// The text that SetFileTime takes for exactly this instant, in summer time too.
std::string format_set_time(time_t instant);

// The instant of a record's time text. In the hour that occurs twice at the end of summer time it is one of
// the two; a text that is no timestamp, such as the empty one, gives -1.
time_t parse_record_time(const std::string& text);

}  // namespace host
