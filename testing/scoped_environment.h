// Sets an environment variable, or removes it, for the life of the object.
#pragma once

#include <stdlib.h>
#include <time.h>

#include <optional>
#include <string>

class ScopedEnvironment {
 public:
  ScopedEnvironment(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* before = ::getenv(name_.c_str())) before_ = before;
    set(value);
  }
  ~ScopedEnvironment() { set(before_); }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  void set(const std::optional<std::string>& value) {
    if (value) {
      ::setenv(name_.c_str(), value->c_str(), 1);
    } else {
      ::unsetenv(name_.c_str());
    }
    ::tzset();
  }
  std::string name_;
  std::optional<std::string> before_;
};

// The process's time zone for the life of the object. Zones are best given in POSIX form
// ("CET-1CEST,M3.5.0,M10.5.0/3", "XST-1"), which needs no zone database.
class ScopedZone {
 public:
  explicit ScopedZone(const std::string& zone) : variable_("TZ", zone) {}

 private:
  ScopedEnvironment variable_;
};

inline constexpr const char* berlin_zone = "CET-1CEST,M3.5.0,M10.5.0/3";
inline constexpr const char* new_york_zone = "EST5EDT,M3.2.0,M11.1.0";
