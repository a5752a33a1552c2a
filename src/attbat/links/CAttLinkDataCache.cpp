#include "attbat/links/CAttLinkDataCache.h"

#include <sys/stat.h>
#include <unistd.h>

#include "base/Text.h"

namespace attbat {

std::int64_t lastCachedUpdate = 0;

namespace {

std::int64_t Nanoseconds(const struct timespec& t) {
    return static_cast<std::int64_t>(t.tv_sec) * 1000000000 + t.tv_nsec;
}

}  // namespace

bool GetLinkFileStatus(const std::string& path, LinkFileStatus& status) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0) return false;
    status.creationTime = Nanoseconds(info.st_ctim);
    status.modificationTime = Nanoseconds(info.st_mtim);
    status.accessTime = Nanoseconds(info.st_atim);
    status.size = static_cast<std::uint64_t>(info.st_size);
    status.attribute = ::access(path.c_str(), W_OK) == 0 ? 0 : 0x01;
    return true;
}

CAttLinkDataCache::CAttLinkDataCache(std::string_view path)
    : fullPath(base::Left(path, static_cast<int>(kMaxPath))) {}

bool CAttLinkDataCache::Refresh(const std::string& path) {
    LinkFileStatus now;
    const bool known = GetLinkFileStatus(path, now);
    const bool changed = !compared_ || !known || now.modificationTime != status.modificationTime ||
                         now.size != status.size;
    if (changed) status = now;
    compared_ = true;
    return changed;
}

CAttLinkDataCache* CAttLinkDataCachePtrArray::Find(std::string_view path) const {
    for (const auto& entry : entries_) {
        if (base::EqualNoCase(entry->fullPath, path)) return entry.get();
    }
    return nullptr;
}

CAttLinkDataCache* CAttLinkDataCachePtrArray::Add(std::unique_ptr<CAttLinkDataCache> entry) {
    entries_.push_back(std::move(entry));
    return entries_.back().get();
}

CAttLinkDataCachePtrArray& LinkDataCache() {
    static CAttLinkDataCachePtrArray cache;
    return cache;
}

}  // namespace attbat
