// The requests of libfuse, one function each.
#pragma once

#define FUSE_USE_VERSION 312
#include <fuse_lowlevel.h>

namespace host {

// They take a RequestContext as the session's data.
fuse_lowlevel_ops request_handlers();

}  // namespace host
