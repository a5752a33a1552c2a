#include "host/SettingsFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>
#include <set>

#include "base/File.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Printer.h"

namespace host {

namespace {

bool IsBelow(std::string_view name, std::string_view parent) {
    if (parent.empty()) return true;
    std::size_t n = parent.size();
    return name.size() > n + 1 && name[n] == '\\' && base::EqualNoCase(name.substr(0, n), parent);
}

void AppendQuoted(std::string& out, std::string_view text) {
    out.push_back('"');
    for (char c : text) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default: out.push_back(c);
        }
    }
    out.push_back('"');
}

// Reads a quoted text at `pos`; false when it isn't one.
bool ReadQuoted(std::string_view line, std::size_t& pos, std::string& out) {
    if (pos >= line.size() || line[pos] != '"') return false;
    for (++pos; pos < line.size(); ++pos) {
        char c = line[pos];
        if (c == '"') {
            ++pos;
            return true;
        }
        if (c == '\\') {
            if (++pos >= line.size()) return false;
            switch (line[pos]) {
            case '\\': out.push_back('\\'); break;
            case '"': out.push_back('"'); break;
            case 'n': out.push_back('\n'); break;
            case 'r': out.push_back('\r'); break;
            default: return false;
            }
            continue;
        }
        out.push_back(c);
    }
    return false;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool ParseValue(std::string_view text, SettingValue& value) {
    if (!text.empty() && text.front() == '"') {
        std::size_t pos = 0;
        std::string data;
        if (!ReadQuoted(text, pos, data) || pos != text.size()) return false;
        value = SettingValue::Text(std::move(data));
        return true;
    }
    if (text.substr(0, 6) == "dword:") {
        std::string_view digits = text.substr(6);
        if (digits.empty() || digits.size() > 8) return false;
        std::uint32_t number = 0;
        for (char c : digits) {
            int d = HexDigit(c);
            if (d < 0) return false;
            number = number * 16 + static_cast<std::uint32_t>(d);
        }
        value = SettingValue::Integer(number);
        return true;
    }
    if (text.substr(0, 4) == "hex:") {
        std::string bytes;
        std::string_view rest = text.substr(4);
        while (!rest.empty()) {
            if (rest.size() < 2) return false;
            int hi = HexDigit(rest[0]), lo = HexDigit(rest[1]);
            if (hi < 0 || lo < 0) return false;
            bytes.push_back(static_cast<char>(hi * 16 + lo));
            rest.remove_prefix(2);
            if (!rest.empty()) {
                if (rest.front() != ',' || rest.size() == 1) return false;
                rest.remove_prefix(1);
            }
        }
        value = SettingValue::Binary(std::move(bytes));
        return true;
    }
    return false;
}

// What is known of a file to tell whether a cached read still holds.
struct Stamp {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    long long mtimeNs = 0;
    bool operator==(const Stamp&) const = default;
};

std::optional<Stamp> StampOf(const std::string& path) {
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0) return std::nullopt;
    return Stamp{st.st_dev, st.st_ino, st.st_size,
                 static_cast<long long>(st.st_mtim.tv_sec) * 1000000000LL + st.st_mtim.tv_nsec};
}

struct CacheEntry {
    Stamp stamp;
    SettingsData data;
};

std::map<std::string, CacheEntry>& Cache() {
    static std::map<std::string, CacheEntry> cache;
    return cache;
}

void Remember(const std::string& path, const SettingsData& data) {
    if (auto stamp = StampOf(path)) {
        Cache()[path] = {*stamp, data};
    } else {
        Cache().erase(path);
    }
}

// An exclusive advisory lock on FILE.lock for as long as it lives.
class FileLock {
public:
    explicit FileLock(const std::string& path) {
        fd_ = ::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd_ < 0) {
            error_ = std::strerror(errno);
            return;
        }
        while (::flock(fd_, LOCK_EX) != 0) {
            if (errno != EINTR) {
                error_ = std::strerror(errno);
                break;
            }
        }
    }
    ~FileLock() {
        if (fd_ >= 0) ::close(fd_);  // closing releases the lock
    }
    // Why the lock couldn't be taken; "" when held.
    const std::string& Error() const { return error_; }

private:
    int fd_ = -1;
    std::string error_;
};

// The damaged file goes to FILE.damaged (or .damaged.2, .3... so an older one is kept too).
// Runs under the lock. False when it couldn't be moved; it is then left alone.
bool MoveAside(const std::string& path, const std::string& reason) {
    static std::set<std::string> reported;
    std::string target = path + ".damaged";
    for (int n = 2; base::FileExists(target) && n < 1000; ++n) {
        target = path + ".damaged." + std::to_string(n);
    }
    bool moved = ::rename(path.c_str(), target.c_str()) == 0;
    if (reported.insert(path).second) {
        if (moved) {
            CurrentPrinter().Warn(base::Sprintf(
                "The settings file \"%s\" is damaged (%s). It was kept as \"%s\"; the settings "
                "start empty.",
                path, reason, target));
        } else {
            CurrentPrinter().Warn(base::Sprintf(
                "The settings file \"%s\" is damaged (%s) and could not be moved aside (%s). "
                "Settings are read as empty and will not be saved until the file is repaired or "
                "removed.",
                path, reason, std::strerror(errno)));
        }
    }
    return moved;
}

enum class Load { Ok, Missing, Unreadable, Damaged };

Load LoadFile(const std::string& path, SettingsData& data, std::string& reason) {
    auto bytes = base::ReadFile(path);
    if (!bytes) {
        if (!base::FileExists(path)) return Load::Missing;
        reason = bytes.GetStatus().Message();
        return Load::Unreadable;
    }
    auto parsed = SettingsData::Parse(*bytes);
    if (!parsed) {
        reason = parsed.GetStatus().Message();
        return Load::Damaged;
    }
    data = std::move(*parsed);
    return Load::Ok;
}

}  // namespace

std::string SettingValue::RegistryBytes() const {
    std::string out;
    switch (kind) {
    case SettingKind::Integer:
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((integer >> (8 * i)) & 0xFF));
        break;
    case SettingKind::Text: {
        auto unit = [&out](std::uint32_t u) {
            out.push_back(static_cast<char>(u & 0xFF));
            out.push_back(static_cast<char>(u >> 8));
        };
        for (std::size_t pos = 0; pos < data.size();) {
            char32_t c = base::DecodeUtf8(data, pos);
            if (c >= 0x10000) {
                unit(0xD800 + ((c - 0x10000) >> 10));
                unit(0xDC00 + ((c - 0x10000) & 0x3FF));
            } else {
                unit(c);
            }
        }
        unit(0);
        break;
    }
    case SettingKind::Binary: out = data; break;
    }
    return out;
}

base::Result<SettingsData> SettingsData::Parse(std::string_view text) {
    if (!base::IsValidUtf8(text)) return base::Status::Error("not UTF-8 text");
    SettingsData data;
    Section* current = nullptr;
    int lineNumber = 0;
    std::size_t pos = 0;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") pos = 3;
    while (pos < text.size()) {
        std::size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(pos, end - pos);
        pos = end + 1;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        std::string trimmed = base::Trim(line);
        if (trimmed.empty() || trimmed.front() == ';' || trimmed.front() == '#') continue;
        auto fail = [lineNumber](const char* why) {
            return base::Status::Error(base::Sprintf("line %d: %s", lineNumber, why));
        };
        if (trimmed.front() == '[') {
            if (trimmed.back() != ']' || trimmed.size() < 3) return fail("a section header needs [name]");
            std::string name = trimmed.substr(1, trimmed.size() - 2);
            data.AddSection(name);
            current = data.FindSectionMutable(name);
            continue;
        }
        if (!current) return fail("a value before the first [section]");
        std::size_t at = 0;
        std::string name;
        if (!ReadQuoted(trimmed, at, name)) return fail("a value needs a \"quoted name\"");
        if (at >= trimmed.size() || trimmed[at] != '=') return fail("'=' expected after the name");
        SettingValue value;
        if (!ParseValue(std::string_view(trimmed).substr(at + 1), value)) {
            return fail("the value is none of \"text\", dword:hex, hex:bytes");
        }
        data.Set(current->name, name, std::move(value));
    }
    return data;
}

std::string SettingsData::Serialize() const {
    std::string out = "; Velmar settings. Values as in a .reg file: \"text\", dword:hex, hex:bytes.\n";
    for (const Section& section : sections_) {
        out += "\n[" + section.name + "]\n";
        for (const auto& [name, value] : section.values) {
            AppendQuoted(out, name);
            out.push_back('=');
            switch (value.kind) {
            case SettingKind::Integer: out += base::Sprintf("dword:%08x", value.integer); break;
            case SettingKind::Text: AppendQuoted(out, value.data); break;
            case SettingKind::Binary:
                out += "hex:";
                for (std::size_t i = 0; i < value.data.size(); ++i) {
                    if (i) out.push_back(',');
                    out += base::Sprintf("%02x", static_cast<unsigned char>(value.data[i]));
                }
                break;
            }
            out.push_back('\n');
        }
    }
    return out;
}

const SettingsData::Section* SettingsData::FindSection(std::string_view name) const {
    for (const Section& section : sections_) {
        if (base::EqualNoCase(section.name, name)) return &section;
    }
    return nullptr;
}

SettingsData::Section* SettingsData::FindSectionMutable(std::string_view name) {
    return const_cast<Section*>(FindSection(name));
}

const SettingValue* SettingsData::Find(std::string_view section, std::string_view name) const {
    const Section* found = FindSection(section);
    if (!found) return nullptr;
    for (const auto& [valueName, value] : found->values) {
        if (base::EqualNoCase(valueName, name)) return &value;
    }
    return nullptr;
}

void SettingsData::AddSection(std::string_view section) {
    if (!FindSection(section)) sections_.push_back({std::string(section), {}});
}

void SettingsData::Set(std::string_view section, std::string_view name, SettingValue value) {
    AddSection(section);
    Section& target = *FindSectionMutable(section);
    for (auto& [valueName, existing] : target.values) {
        if (base::EqualNoCase(valueName, name)) {
            existing = std::move(value);
            return;
        }
    }
    target.values.emplace_back(std::string(name), std::move(value));
}

bool SettingsData::DeleteValue(std::string_view section, std::string_view name) {
    Section* target = FindSectionMutable(section);
    if (!target) return false;
    auto it = std::find_if(target->values.begin(), target->values.end(),
                           [name](const auto& entry) { return base::EqualNoCase(entry.first, name); });
    if (it == target->values.end()) return false;
    target->values.erase(it);
    return true;
}

bool SettingsData::DeleteSection(std::string_view section) {
    auto removed = std::remove_if(sections_.begin(), sections_.end(), [section](const Section& s) {
        return base::EqualNoCase(s.name, section) || IsBelow(s.name, section);
    });
    bool any = removed != sections_.end();
    sections_.erase(removed, sections_.end());
    return any;
}

std::vector<std::string> SettingsData::Subsections(std::string_view section) const {
    std::vector<std::string> names;
    for (const Section& s : sections_) {
        if (!IsBelow(s.name, section)) continue;
        std::string_view rest = std::string_view(s.name).substr(section.empty() ? 0 : section.size() + 1);
        std::string child(rest.substr(0, rest.find('\\')));
        bool known = std::any_of(names.begin(), names.end(),
                                 [&child](const std::string& n) { return base::EqualNoCase(n, child); });
        if (!known && !child.empty()) names.push_back(std::move(child));
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        return base::CompareNoCase(a, b) < 0;
    });
    return names;
}

SettingsData SettingsFile::Read() const {
    SettingsData data = ReadFile();
    if (!known_)
        known_ = data;
    for (const Change& change : changes_)
        Apply(change, data);
    return data;
}

SettingsData SettingsFile::ReadFile() const {
    auto stamp = StampOf(path_);
    if (!stamp) return {};
    auto cached = Cache().find(path_);
    if (cached != Cache().end() && cached->second.stamp == *stamp) return cached->second.data;
    SettingsData data;
    std::string reason;
    switch (LoadFile(path_, data, reason)) {
    case Load::Ok: Remember(path_, data); return data;
    case Load::Missing: return {};
    case Load::Unreadable: {
        static std::set<std::string> reported;
        if (reported.insert(path_).second) {
            CurrentPrinter().Warn(base::Sprintf("%s; settings are read as their defaults.", reason));
        }
        return {};
    }
    case Load::Damaged: break;
    }
    // Look again under the lock: another program may have just replaced it with a good file.
    FileLock lock(path_);
    data = {};
    if (LoadFile(path_, data, reason) == Load::Damaged) {
        MoveAside(path_, reason);
        return {};
    }
    return data;
}

base::Status SettingsFile::Update(const std::function<bool(SettingsData&)>& change) const {
    std::error_code ignored;
    std::string folder = base::Folder(path_);
    if (!folder.empty()) std::filesystem::create_directories(folder, ignored);
    FileLock lock(path_);
    if (!lock.Error().empty()) {
        return base::Status::Error(
            base::Sprintf("Cannot lock the settings file \"%s.lock\": %s", path_, lock.Error()));
    }
    SettingsData data;
    std::string reason;
    switch (LoadFile(path_, data, reason)) {
    case Load::Ok:
    case Load::Missing: break;
    case Load::Unreadable: return base::Status::Error(reason);
    case Load::Damaged:
        if (!MoveAside(path_, reason)) {
            return base::Status::Error(base::Sprintf(
                "The settings file \"%s\" is damaged and was not overwritten.", path_));
        }
        data = {};
        break;
    }
    if (!change(data)) return base::Status::Ok();
    std::vector<std::string> removed;
    base::AtomicWriteOptions options;
    options.removedStale = &removed;
    base::Status written = base::WriteFileAtomic(path_, data.Serialize(), options);
    for (const std::string& leftover : removed) {
        CurrentPrinter().Warn("Removed a leftover temporary file from an interrupted save: " +
                              leftover);
    }
    if (written) Remember(path_, data);
    return written;
}

void SettingsFile::Apply(const Change& change, SettingsData& data) {
    switch (change.kind) {
        case Change::Kind::Set:
            data.Set(change.section, change.name, change.value);
            break;
        case Change::Kind::DeleteValue:
            data.DeleteValue(change.section, change.name);
            break;
        case Change::Kind::DeleteSection:
            data.DeleteSection(change.section);
            break;
        case Change::Kind::AddSection:
            data.AddSection(change.section);
            break;
    }
}

SettingsData& SettingsFile::Known() const {
    if (!known_)
        known_ = ReadFile();
    return *known_;
}

void SettingsFile::Record(Change change) {
    Apply(change, Known());
    const bool ofValue =
        change.kind == Change::Kind::Set || change.kind == Change::Kind::DeleteValue;
    if (ofValue) {
        // The last change of a value is the one that counts; the list stays short however often
        // a value is set.
        std::erase_if(changes_, [&change](const Change& earlier) {
            return (earlier.kind == Change::Kind::Set ||
                    earlier.kind == Change::Kind::DeleteValue) &&
                   base::EqualNoCase(earlier.section, change.section) &&
                   base::EqualNoCase(earlier.name, change.name);
        });
    }
    changes_.push_back(std::move(change));
}

void SettingsFile::Set(std::string_view section, std::string_view name, SettingValue value) {
    const SettingValue* known = Known().Find(section, name);
    if (known && *known == value)
        return;
    Record({Change::Kind::Set, std::string(section), std::string(name), std::move(value)});
}

bool SettingsFile::DeleteValue(std::string_view section, std::string_view name) {
    if (!Known().Find(section, name))
        return false;
    Record({Change::Kind::DeleteValue, std::string(section), std::string(name), {}});
    return true;
}

bool SettingsFile::DeleteSection(std::string_view section) {
    SettingsData& known = Known();
    if (!known.FindSection(section) && known.Subsections(section).empty())
        return false;
    Record({Change::Kind::DeleteSection, std::string(section), {}, {}});
    return true;
}

void SettingsFile::AddSection(std::string_view section) {
    if (Known().FindSection(section))
        return;
    Record({Change::Kind::AddSection, std::string(section), {}, {}});
}

base::Status SettingsFile::Save() {
    if (changes_.empty())
        return base::Status::Ok();
    base::Status saved = Update([this](SettingsData& data) {
        const std::string before = data.Serialize();
        for (const Change& change : changes_)
            Apply(change, data);
        return data.Serialize() != before;
    });
    if (saved)
        changes_.clear();
    return saved;
}

}  // namespace host
