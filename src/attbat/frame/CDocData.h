#pragma once
// What the module keeps per open document: its database reactor and the handles of the block
// references changed since the last upload.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "attbat/frame/HandleSet.h"
#include "tables/CStringArrayEx.h"

namespace attbat {

class AsdkDataBaseReactor;

class CDocData {
public:
    CDocData();
    ~CDocData();
    CDocData(CDocData&&) noexcept;
    CDocData& operator=(CDocData&&) noexcept;

    // Adds `handle` unless the list holds it (compared with case); true when added.
    bool AddModifiedHandle(std::string_view handle);
    bool HasModifiedHandle(std::string_view handle) const { return seen_.Contains(handle); }
    void ClearModifiedHandles();
    // Counts the clearings, so that what remembers having added a handle knows when to add it again.
    std::uint64_t Generation() const { return generation_; }

    // Null until the document first becomes current.
    std::unique_ptr<AsdkDataBaseReactor> dbReactor;
    // Hexadecimal handles in order of change, each once. Change it through the members above,
    // which keep the index of a drawing's worth of handles.
    tables::CStringArrayEx modifiedHandles;

private:
    HandleSet seen_;
    std::uint64_t generation_ = 0;
};

}  // namespace attbat
