#include "common/process/quick_edit.h"

void DisableQuickEditMode() {}
