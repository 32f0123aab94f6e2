// Console windows of other systems freeze a program while the user marks text in them; here nothing has to be
// switched off.
#pragma once

#include "common/export.h"

// Does nothing. It is there so that modules call it alike on every system.
LOCALDISK_EXPORT void DisableQuickEditMode();
