include(header_only)
header_only(fmt fmt::fmt-header-only fmt FMT_HEADER_ONLY)
