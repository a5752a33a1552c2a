#include "attbat/frame/CDocData.h"

#include "attbat/frame/AsdkDataBaseReactor.h"

namespace attbat {

CDocData::CDocData() = default;
CDocData::~CDocData() = default;
CDocData::CDocData(CDocData&&) noexcept = default;
CDocData& CDocData::operator=(CDocData&&) noexcept = default;

bool CDocData::AddModifiedHandle(std::string_view handle) {
    if (!seen_.Insert(handle)) return false;
    modifiedHandles.Add(std::string(handle));
    return true;
}

void CDocData::ClearModifiedHandles() {
    modifiedHandles.RemoveAll();
    seen_.Clear();
    ++generation_;
}

}  // namespace attbat
