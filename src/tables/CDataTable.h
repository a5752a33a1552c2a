#pragma once
// The table rows are assembled in before they are shown or written. Row 0 is the header by
// convention of its users; rows keep their own lengths. Unlike CStringTable it has no worksheet
// address, so the searches don't apply to it.
#include "tables/Array.h"
#include "tables/CStringArrayEx.h"

namespace tables {

// Reading a row of an empty table raises InvalidArgument like every other out-of-range read.
class CDataTable : public Array<CStringArrayEx> {};

}  // namespace tables
