#include "attbat/frame/RegistrySettingsStore.h"

#include "attbat/frame/CRegistry.h"

namespace attbat {

int RegistrySettingsStore::GetInt(std::string_view section, std::string_view name,
                                  int defaultValue) {
    return CRegistry::GetInt(section, name, defaultValue);
}

std::string RegistrySettingsStore::GetString(std::string_view section, std::string_view name,
                                             std::string_view defaultValue) {
    return CRegistry::GetString(section, name, defaultValue);
}

bool RegistrySettingsStore::SetInt(std::string_view section, std::string_view name, int value) {
    return CRegistry::SetInt(section, name, value);
}

bool RegistrySettingsStore::SetString(std::string_view section, std::string_view name,
                                      std::string_view text) {
    return CRegistry::SetString(section, name, text);
}

}  // namespace attbat
