#include "base/Memory.h"

#include <malloc.h>

namespace base {

void ReturnFreeMemory() { ::malloc_trim(0); }

}  // namespace base
