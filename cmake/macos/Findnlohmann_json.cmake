include(header_only)
header_only(nlohmann_json nlohmann_json::nlohmann_json nlohmann)
