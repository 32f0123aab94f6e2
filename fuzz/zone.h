// The zone of the first use stays: what a target promises must hold in any.
#pragma once

#include <stdlib.h>
#include <time.h>

inline void use_zone(const char* zone) {
  static const char* used = nullptr;
  if (used == zone) return;
  used = zone;
  ::setenv("TZ", zone, 1);
  ::tzset();
}
