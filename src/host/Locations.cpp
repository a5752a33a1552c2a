#include "host/Locations.h"

#include <unistd.h>

#include <cstdlib>

#include "base/Path.h"

namespace host {

namespace {

std::string settingsOverride;
std::string logOverride;

// $variable when set to an absolute path (relative ones are invalid by XDG's rules), else
// $HOME/fallback.
std::string XdgFolder(const char* variable, const char* fallback) {
    const char* value = std::getenv(variable);
    if (value && value[0] == '/') return value;
    const char* home = std::getenv("HOME");
    if (!home || !home[0]) return {};
    return base::JoinPath(home, fallback);
}

}  // namespace

std::string SettingsFilePath() {
    if (!settingsOverride.empty()) return settingsOverride;
    std::string folder = XdgFolder("XDG_CONFIG_HOME", ".config");
    return folder.empty() ? folder : base::JoinPath(base::JoinPath(folder, "velmar"), "settings.ini");
}

std::string LogFilePath() {
    if (!logOverride.empty()) return logOverride;
    std::string folder = XdgFolder("XDG_STATE_HOME", ".local/state");
    return folder.empty() ? folder : base::JoinPath(base::JoinPath(folder, "velmar"), "Velmar.log");
}

std::string ProgramFile() {
    char path[4096];
    ssize_t n = ::readlink("/proc/self/exe", path, sizeof path - 1);
    return n > 0 ? std::string(path, static_cast<std::size_t>(n)) : std::string();
}

void SetSettingsFilePath(std::string path) { settingsOverride = std::move(path); }

void SetLogFilePath(std::string path) { logOverride = std::move(path); }

}  // namespace host
