#pragma once
// The drawing model's settings store, kept by CRegistry in the settings file of the run.

#include "attbat/model/SettingsStore.h"

namespace attbat {

// Forwards to CRegistry; reads give their defaults and writes fail until CRegistry::SetRoot.
class RegistrySettingsStore : public SettingsStore {
public:
    int GetInt(std::string_view section, std::string_view name, int defaultValue) override;
    std::string GetString(std::string_view section, std::string_view name,
                          std::string_view defaultValue) override;
    bool SetInt(std::string_view section, std::string_view name, int value) override;
    // An empty text is written as an empty value.
    bool SetString(std::string_view section, std::string_view name, std::string_view text) override;
};

}  // namespace attbat
