#pragma once
// The settings file that stands in for the registry of the current user: sections named by key
// paths ("Velmar", "Velmar\DrawingList"), typed values (32-bit integer, text, bytes), written in
// the syntax of a .reg export so that it reads familiar:
//
//   [Velmar\DrawingList]
//   "C:\\work\\a.dxf"=""
//   "CalOuterPolygon"=dword:00000001
//   "Blob"=hex:01,ff
//
// Section and value names compare without regard to case, as the registry's do. Every change is
// made under an advisory lock on FILE.lock, on a fresh read of the file, and written atomically,
// so that two programs never lose each other's writes. A file that doesn't parse is reported
// once, moved aside to FILE.damaged (never overwritten) and read as empty.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"

namespace host {

enum class SettingKind { Integer, Text, Binary };

// One typed value.
struct SettingValue {
    SettingKind kind = SettingKind::Text;
    std::uint32_t integer = 0;
    std::string data;  // the text (UTF-8) or the bytes

    static SettingValue Integer(std::uint32_t v) { return {SettingKind::Integer, v, {}}; }
    static SettingValue Text(std::string v) { return {SettingKind::Text, 0, std::move(v)}; }
    static SettingValue Binary(std::string v) { return {SettingKind::Binary, 0, std::move(v)}; }
    // The value as the registry stores it: 4 little-endian bytes, UTF-16LE text with its
    // terminator, or the bytes themselves.
    std::string RegistryBytes() const;
    bool operator==(const SettingValue&) const = default;
};

// The content of a settings file: sections in file order, values in the order they were made.
class SettingsData {
public:
    struct Section {
        std::string name;
        std::vector<std::pair<std::string, SettingValue>> values;
    };

    // Parses a settings file; the error names the line and what was wrong.
    static base::Result<SettingsData> Parse(std::string_view text);
    // The file's text; Parse(Serialize()) gives back the same data.
    std::string Serialize() const;

    // The section, or null when missing.
    const Section* FindSection(std::string_view name) const;
    // The value, or null when the section or the value is missing.
    const SettingValue* Find(std::string_view section, std::string_view name) const;
    // Sets a value, making the section when missing; an existing value keeps its place.
    void Set(std::string_view section, std::string_view name, SettingValue value);
    // Makes the section when missing (an empty key).
    void AddSection(std::string_view section);
    // False when there was nothing to delete.
    bool DeleteValue(std::string_view section, std::string_view name);
    // Deletes the section and every section below it; false when there was none.
    bool DeleteSection(std::string_view section);
    // Names of the sections directly below `section` (also those only implied by a deeper one),
    // sorted without regard to case like the registry's keys.
    std::vector<std::string> Subsections(std::string_view section) const;
    const std::vector<Section>& Sections() const { return sections_; }

private:
    Section* FindSectionMutable(std::string_view name);
    std::vector<Section> sections_;
};

// One settings file on disk, and the changes this run made to it. A run stores only what it
// changed: Set and the deletes are kept here, and Save applies them to a fresh read made under
// the lock, so two runs at once never write back each other's values as they were at their
// start.
class SettingsFile {
public:
    explicit SettingsFile(std::string path) : path_(std::move(path)) {}
    const std::string& Path() const { return path_; }

    // The current content with this run's unsaved changes on top; a missing file is empty; a
    // damaged one is reported, moved aside and empty. Reading is cached by the file's identity
    // and time, so repeated reads are cheap.
    SettingsData Read() const;
    // Applies `change` to a fresh read made under the lock and writes the result atomically. The
    // change returns false to write nothing. An error says why the file couldn't be written.
    base::Status Update(const std::function<bool(SettingsData&)>& change) const;

    // Sets a value at the next Save. Setting the value this run first read (or last set) is no
    // change: a dialog that stores every control as it stands writes only what was changed.
    void Set(std::string_view section, std::string_view name, SettingValue value);
    // Deletes a value at the next Save; false (and nothing to save) when this run sees none.
    bool DeleteValue(std::string_view section, std::string_view name);
    // Deletes a section and those below it at the next Save; false when this run sees none.
    bool DeleteSection(std::string_view section);
    // Makes the section at the next Save when missing (an empty key).
    void AddSection(std::string_view section);
    // True while changes wait for Save.
    bool HasChanges() const { return !changes_.empty(); }
    // Writes this run's changes: under the lock, on a fresh read, it sets and deletes exactly
    // what this run changed and keeps every other value as the file has it, written
    // atomically. Nothing is written without changes. On failure the changes are kept, so a
    // later Save can try again.
    base::Status Save();

private:
    struct Change {
        enum class Kind { Set, DeleteValue, DeleteSection, AddSection };
        Kind kind;
        std::string section;
        std::string name;
        SettingValue value;
    };
    static void Apply(const Change& change, SettingsData& data);
    // The file as it is, without this run's changes.
    SettingsData ReadFile() const;
    // What this run knows: the file as first read, with this run's own changes applied.
    SettingsData& Known() const;
    void Record(Change change);

    std::string path_;
    mutable std::optional<SettingsData> known_;
    std::vector<Change> changes_;
};

}  // namespace host
