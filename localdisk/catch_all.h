// Where exceptions end: the host is built apart and must not meet one.
#pragma once

#include "localdisk/status.h"

namespace localdisk {

// What `body` answers, or `failed` when it throws. Whatever `body` held is released by then.
template <class Body>
int catch_all(FS_STATUS failed, Body&& body) noexcept {
  try {
    return body();
  } catch (...) {  // exhausted memory, or whatever a host's callback threw: the status is the report
    return failed;
  }
}

}  // namespace localdisk
