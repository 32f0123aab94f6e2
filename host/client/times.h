// Instants and the texts that stand for them. A record's text carries the local wall clock of its instant;
// SetFileTime takes its text for local standard time; people and other programs get texts that say their offset.
#pragma once

#include <ctime>
#include <string>

namespace host {

// The text that SetFileTime takes for exactly this instant, in summer time too. Where the zone's own standard time
// was set back, the module can't be told one of the hours that occur twice: then the text means the nearest instant.
std::string format_set_time(time_t instant);

// The instant of a record's time text. In an hour that occurs twice it is the earlier of the two; a reading that the
// clock skipped counts by the offset from before; a text that is no timestamp, such as the empty one, gives -1.
time_t parse_record_time(const std::string& text);

// Whether a record's text is what an entry shows that changed at `instant`, or that SetFileTime gave that instant.
// Both instants of an hour that occurs twice show the same text.
bool shows_time(const std::string& text, time_t instant);

// "2024-07-15T14:00:00+02:00" by the local clock, and the same instant as "2024-07-15T12:00:00Z".
std::string format_local_time(time_t instant);
std::string format_utc_time(time_t instant);

}  // namespace host
