#include "arxutils/excel/ExcelObjects.h"

#include "arxutils/excel/AutomationError.h"

namespace arxutils::excel {

std::int32_t Dispatch::GetIDOfName(std::string_view, long& id) {
    id = -1;
    return kErrUnknownName;
}

std::int32_t Dispatch::Invoke(long, int, std::vector<Variant>&, Variant*) { return kErrUnknownName; }

}  // namespace arxutils::excel
