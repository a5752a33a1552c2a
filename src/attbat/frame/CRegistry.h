#pragma once
// Lasting options of the current user, by section, name and default. The store is the settings
// file of this run (host::SettingsFilePath); sections are the key paths below software\<parent>
// ("Velmar", "Velmar\DrawingList"). Stateless but for the root and parent set once at start.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace attbat {

class CRegistry {
public:
    // The registry root the store stands for; the current user's is the only one.
    enum class Root { CurrentUser };

    // Keeps root and parent; until it has run every read gives its default and every write false.
    static void SetRoot(Root root, std::string_view parent);
    // Forgets what the run read and wrote: the next command's values are its own, read afresh.
    static void StartRun();
    // The parent given to SetRoot; "" before it.
    static const std::string& Parent();

    // The value; `def` when there is no parent, no file or no value. A value of another type is
    // taken as its stored bytes when they fit in 4 (a one-character text reads as its code).
    static int GetInt(std::string_view section, std::string_view name, int def);
    // The text; `def` as GetInt. A value of another type reads as its bytes taken as UTF-16.
    static std::string GetString(std::string_view section, std::string_view name,
                                 std::string_view def);
    // The bytes of the value (of any type, as stored); nullopt on failure.
    static std::optional<std::string> GetBinary(std::string_view section, std::string_view name);

    // True when written.
    static bool SetInt(std::string_view section, std::string_view name, int value);
    // No name deletes the whole section; no text deletes the value; an empty text is a value.
    static bool SetString(std::string_view section, std::optional<std::string_view> name,
                          std::optional<std::string_view> text);
    static bool SetBinary(std::string_view section, std::string_view name, std::string_view data);
    // Deletes the section with everything below it; true when it is gone afterwards.
    static bool DeleteSection(std::string_view section);
    // True when the value is gone afterwards.
    static bool DeleteValue(std::string_view section, std::string_view name);

    // `path` is full from the root ("Software\Orvane\Velmar\DrawingList"). With `subkeys` the
    // names of the sections below it are appended to `names`; without, the names and texts of
    // its text values to `names` and `values` (other types passed over). A path that doesn't
    // open leaves both as they were.
    static void Enumerate(Root root, std::string_view path, bool subkeys,
                          std::vector<std::string>& names, std::vector<std::string>& values);
    // True when software\<parent> exists: there is a parent and its settings file.
    static bool ParentExists();

    // The full path of a subsection of the main section, "Software\<parent>\Velmar\<sub>".
    static std::string SubsectionPath(std::string_view subsection);
    // A list kept as a subsection of "Velmar": each entry is a value name; an entry with a
    // non-empty text reads as that text, any other as its name.
    static std::vector<std::string> GetList(std::string_view subsection);
    // Rewrites the list: the subsection is deleted and every entry written anew as a name with
    // an empty text.
    static bool SetList(std::string_view subsection, const std::vector<std::string>& entries);
    // A map kept as a subsection of "Velmar" (value name = key, text = value); fills up to the
    // shorter of the two arrays.
    static void GetMap(std::string_view subsection, std::vector<std::string>& keys,
                       std::vector<std::string>& values);
    // Rewrites the map; pairs up to the shorter of the two arrays.
    static bool SetMap(std::string_view subsection, const std::vector<std::string>& keys,
                       const std::vector<std::string>& values);
    // The same map as one container; a key met twice keeps its first value.
    static std::map<std::string, std::string> GetMap(std::string_view subsection);
    static bool SetMap(std::string_view subsection, const std::map<std::string, std::string>& map);
};

}  // namespace attbat
