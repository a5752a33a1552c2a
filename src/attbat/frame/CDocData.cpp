#include "attbat/frame/CDocData.h"

#include "attbat/frame/AsdkDataBaseReactor.h"

namespace attbat {

CDocData::CDocData() = default;
CDocData::~CDocData() = default;
CDocData::CDocData(CDocData&&) noexcept = default;
CDocData& CDocData::operator=(CDocData&&) noexcept = default;

bool CDocData::AddModifiedHandle(std::string_view handle) {
    if (!seen_.emplace(handle).second) return false;
    modifiedHandles.Add(std::string(handle));
    return true;
}

void CDocData::ClearModifiedHandles() {
    modifiedHandles.RemoveAll();
    seen_.clear();
    ++generation_;
}

}  // namespace attbat
