#pragma once
// What the drawing-link update remembers of a workbook it read: the file's status when it was
// read and the comment lines with their cells' texts, so that a drawing opened again soon after,
// with the workbook unchanged, needs no trip to the spreadsheet.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "arxutils/ExcelUtils.h"

namespace attbat {

// A file's status as the update compares it: only the modification time and the size count.
struct LinkFileStatus {
    std::int64_t creationTime = 0;      // the status change time; Linux keeps no creation time
    std::int64_t modificationTime = 0;  // nanoseconds since the epoch
    std::int64_t accessTime = 0;
    std::uint64_t size = 0;
    std::uint8_t attribute = 0;         // 0x01 when the file can't be written
};

// The status of `path`; false when it can't be had.
bool GetLinkFileStatus(const std::string& path, LinkFileStatus& status);

class CAttLinkDataCache {
public:
    // Full paths longer than this many characters are cut, as the record's field holds no more.
    static constexpr std::size_t kMaxPath = 259;

    explicit CAttLinkDataCache(std::string_view fullPath);

    // True when the file's status can't be had or its modification time or size differ from
    // what was kept; then the new status is kept. A new entry, never compared, counts as changed.
    bool Refresh(const std::string& path);

    LinkFileStatus status;
    std::string fullPath;
    // Comment line -> the text its cell shows.
    arxutils::KeyLines values;

private:
    bool compared_ = false;
};

// The entries of the module, each owned once.
class CAttLinkDataCachePtrArray {
public:
    // The entry of `path`, compared without regard to case; null when there is none.
    CAttLinkDataCache* Find(std::string_view path) const;
    // Takes `entry`; the array owns each of its entries, so none is held twice. Returns it.
    CAttLinkDataCache* Add(std::unique_ptr<CAttLinkDataCache> entry);
    // Deletes every entry.
    void RemoveAll() { entries_.clear(); }
    int GetSize() const { return static_cast<int>(entries_.size()); }

private:
    std::vector<std::unique_ptr<CAttLinkDataCache>> entries_;
};

// The module-wide cache, and the moment of its last use (seconds since the epoch, 0 before any).
CAttLinkDataCachePtrArray& LinkDataCache();
extern std::int64_t lastCachedUpdate;

}  // namespace attbat
