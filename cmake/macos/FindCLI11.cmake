include(header_only)
header_only(CLI11 CLI11::CLI11 CLI)
