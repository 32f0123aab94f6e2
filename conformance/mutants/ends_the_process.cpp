// A module whose loading ends the process: nothing of it can be asked.
#include <unistd.h>

namespace {

struct End {
  End() { ::_exit(0); }
} end;

}  // namespace
