#pragma once
// The lasting options as the filter and view see them: typed values by section and name, read
// with a default. The application's settings store implements it; tests use a map.
#include <string>
#include <string_view>

namespace attbat {

class SettingsStore {
public:
    virtual ~SettingsStore() = default;

    // The stored integer, or `defaultValue` when the section or value is missing.
    virtual int GetInt(std::string_view section, std::string_view name, int defaultValue) = 0;
    // The stored text, or `defaultValue` when the section or value is missing.
    virtual std::string GetString(std::string_view section, std::string_view name,
                                  std::string_view defaultValue) = 0;
    // False when the value could not be written; callers carry on regardless.
    virtual bool SetInt(std::string_view section, std::string_view name, int value) = 0;
    // An empty text is written as an empty value, not as a deletion.
    virtual bool SetString(std::string_view section, std::string_view name,
                           std::string_view text) = 0;
};

// The section that holds every option of the filter and the view.
inline constexpr std::string_view kSettingsSection = "Velmar";

}  // namespace attbat
