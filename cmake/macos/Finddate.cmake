include(header_only)
header_only(date date::date date)
