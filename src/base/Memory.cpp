#include "base/Memory.h"

#include <malloc.h>

namespace base {

namespace {
bool endsWithCommand = false;
}

void ReturnFreeMemory() { ::malloc_trim(0); }

void SetEndsWithCommand(bool ends) { endsWithCommand = ends; }

bool EndsWithCommand() { return endsWithCommand; }

}  // namespace base
