#include "attbat/frame/CRegistry.h"

#include <algorithm>

#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Locations.h"
#include "host/SettingsFile.h"

namespace attbat {

namespace {

std::string& ParentName() {
    static std::string parent;
    return parent;
}

// The store of this run, or null when nothing may be read or written yet. One store serves the
// whole run, so that it knows what the run first read: storing a value as it was read is no
// change, and two runs at once never write back each other's old values.
std::optional<host::SettingsFile>& RunStore() {
    static std::optional<host::SettingsFile> store;
    return store;
}

host::SettingsFile* Store() {
    if (ParentName().empty()) return nullptr;
    std::string path = host::SettingsFilePath();
    if (path.empty()) return nullptr;
    std::optional<host::SettingsFile>& store = RunStore();
    if (!store || store->Path() != path) store.emplace(path);
    return &*store;
}

std::optional<host::SettingValue> Read(std::string_view section, std::string_view name) {
    host::SettingsFile* store = Store();
    if (!store) return std::nullopt;
    host::SettingsData data = store->Read();
    const host::SettingValue* value = data.Find(section, name);
    if (!value) return std::nullopt;
    return *value;
}

// Makes a change of this run and saves it at once, as the registry writes at once.
bool Write(const std::function<void(host::SettingsFile&)>& change) {
    host::SettingsFile* store = Store();
    if (!store) return false;
    change(*store);
    return store->Save().IsOk();
}

// The bytes taken as UTF-16LE text up to its terminator, as a wide-character read gives them.
std::string FromUtf16(std::string_view bytes) {
    std::string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        char32_t unit = static_cast<unsigned char>(bytes[i]) |
                        static_cast<char32_t>(static_cast<unsigned char>(bytes[i + 1])) << 8;
        if (unit == 0) break;
        if (unit >= 0xD800 && unit < 0xDC00 && i + 3 < bytes.size()) {
            char32_t low = static_cast<unsigned char>(bytes[i + 2]) |
                           static_cast<char32_t>(static_cast<unsigned char>(bytes[i + 3])) << 8;
            if (low >= 0xDC00 && low < 0xE000) {
                base::AppendUtf8(text, 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00));
                i += 2;
                continue;
            }
        }
        base::AppendUtf8(text, unit >= 0xD800 && unit < 0xE000 ? 0xFFFD : unit);
    }
    return text;
}

// The section a full path names ("Software\<parent>\X\Y" -> "X\Y"); nullopt when it names none.
std::optional<std::string> SectionOfPath(std::string_view path) {
    std::string prefix = "Software\\" + ParentName() + "\\";
    if (path.size() <= prefix.size() ||
        !base::EqualNoCase(path.substr(0, prefix.size()), prefix)) {
        return std::nullopt;
    }
    return std::string(path.substr(prefix.size()));
}

constexpr std::string_view mainSection = "Velmar";

std::string Subsection(std::string_view subsection) {
    return std::string(mainSection) + "\\" + std::string(subsection);
}

}  // namespace

void CRegistry::SetRoot(Root, std::string_view parent) { ParentName() = std::string(parent); }

void CRegistry::StartRun() { RunStore().reset(); }

const std::string& CRegistry::Parent() { return ParentName(); }

int CRegistry::GetInt(std::string_view section, std::string_view name, int def) {
    auto value = Read(section, name);
    if (!value) return def;
    std::string bytes = value->RegistryBytes();
    // The host reads into a 4-byte buffer: more data fails the read, less fills its start.
    if (bytes.size() > 4) return def;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        number |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    }
    return static_cast<int>(number);
}

std::string CRegistry::GetString(std::string_view section, std::string_view name,
                                 std::string_view def) {
    auto value = Read(section, name);
    if (!value) return std::string(def);
    if (value->kind == host::SettingKind::Text) return value->data;
    return FromUtf16(value->RegistryBytes());
}

std::optional<std::string> CRegistry::GetBinary(std::string_view section, std::string_view name) {
    auto value = Read(section, name);
    if (!value) return std::nullopt;
    return value->RegistryBytes();
}

bool CRegistry::SetInt(std::string_view section, std::string_view name, int value) {
    return Write([&](host::SettingsFile& store) {
        store.Set(section, name, host::SettingValue::Integer(static_cast<std::uint32_t>(value)));
    });
}

bool CRegistry::SetString(std::string_view section, std::optional<std::string_view> name,
                          std::optional<std::string_view> text) {
    if (!name) return DeleteSection(section);
    if (!text) return DeleteValue(section, *name);
    return Write([&](host::SettingsFile& store) {
        store.Set(section, *name, host::SettingValue::Text(std::string(*text)));
    });
}

bool CRegistry::SetBinary(std::string_view section, std::string_view name, std::string_view data) {
    return Write([&](host::SettingsFile& store) {
        store.Set(section, name, host::SettingValue::Binary(std::string(data)));
    });
}

bool CRegistry::DeleteSection(std::string_view section) {
    return Write([&](host::SettingsFile& store) { store.DeleteSection(section); });
}

bool CRegistry::DeleteValue(std::string_view section, std::string_view name) {
    return Write([&](host::SettingsFile& store) { store.DeleteValue(section, name); });
}

void CRegistry::Enumerate(Root, std::string_view path, bool subkeys,
                          std::vector<std::string>& names, std::vector<std::string>& values) {
    host::SettingsFile* store = Store();
    auto section = SectionOfPath(path);
    if (!store || !section) return;
    host::SettingsData data = store->Read();
    if (subkeys) {
        std::vector<std::string> below = data.Subsections(*section);
        if (below.empty() && !data.FindSection(*section)) return;
        names.insert(names.end(), below.begin(), below.end());
        return;
    }
    const host::SettingsData::Section* found = data.FindSection(*section);
    if (!found) return;
    for (const auto& [name, value] : found->values) {
        if (value.kind != host::SettingKind::Text) continue;
        names.push_back(name);
        values.push_back(value.data);
    }
}

bool CRegistry::ParentExists() {
    host::SettingsFile* store = Store();
    return store && base::FileExists(store->Path());
}

std::string CRegistry::SubsectionPath(std::string_view subsection) {
    return base::Sprintf("Software\\%s\\%s\\%s", ParentName(), mainSection, subsection);
}

std::vector<std::string> CRegistry::GetList(std::string_view subsection) {
    std::vector<std::string> names, texts;
    Enumerate(Root::CurrentUser, SubsectionPath(subsection), false, names, texts);
    std::vector<std::string> entries;
    for (std::size_t i = 0; i < names.size(); ++i) {
        entries.push_back(i < texts.size() && !texts[i].empty() ? texts[i] : names[i]);
    }
    return entries;
}

bool CRegistry::SetList(std::string_view subsection, const std::vector<std::string>& entries) {
    std::string section = Subsection(subsection);
    return Write([&](host::SettingsFile& store) {
        store.DeleteSection(section);
        store.AddSection(section);
        for (const std::string& entry : entries) {
            store.Set(section, entry, host::SettingValue::Text(""));
        }
    });
}

void CRegistry::GetMap(std::string_view subsection, std::vector<std::string>& keys,
                       std::vector<std::string>& values) {
    std::vector<std::string> names, texts;
    Enumerate(Root::CurrentUser, SubsectionPath(subsection), false, names, texts);
    std::size_t count = std::min(names.size(), texts.size());
    for (std::size_t i = 0; i < count; ++i) {
        keys.push_back(names[i]);
        values.push_back(texts[i]);
    }
}

bool CRegistry::SetMap(std::string_view subsection, const std::vector<std::string>& keys,
                       const std::vector<std::string>& values) {
    std::string section = Subsection(subsection);
    std::size_t count = std::min(keys.size(), values.size());
    return Write([&](host::SettingsFile& store) {
        store.DeleteSection(section);
        store.AddSection(section);
        for (std::size_t i = 0; i < count; ++i) {
            store.Set(section, keys[i], host::SettingValue::Text(values[i]));
        }
    });
}

std::map<std::string, std::string> CRegistry::GetMap(std::string_view subsection) {
    std::vector<std::string> keys, values;
    GetMap(subsection, keys, values);
    std::map<std::string, std::string> map;
    for (std::size_t i = 0; i < keys.size(); ++i) map.emplace(std::move(keys[i]), std::move(values[i]));
    return map;
}

bool CRegistry::SetMap(std::string_view subsection, const std::map<std::string, std::string>& map) {
    std::vector<std::string> keys, values;
    for (const auto& [key, value] : map) {
        keys.push_back(key);
        values.push_back(value);
    }
    return SetMap(subsection, keys, values);
}

}  // namespace attbat
