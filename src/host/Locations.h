#pragma once
// Where the settings file and the session log live: given on the command line (--settings,
// --log), else in the user's XDG folders.

#include <string>

namespace host {

// The settings file: the override if one was set, else $XDG_CONFIG_HOME/velmar/settings.ini
// (~/.config when unset); "" when neither that nor $HOME is known.
std::string SettingsFilePath();
// The session log: the override, else $XDG_STATE_HOME/velmar/Velmar.log (~/.local/state when
// unset); "" when the folder can't be found.
std::string LogFilePath();
// Overrides for this run; "" goes back to the XDG location.
// The running program's own file (its full path), "" when the system doesn't say.
std::string ProgramFile();
void SetSettingsFilePath(std::string path);
void SetLogFilePath(std::string path);

}  // namespace host
