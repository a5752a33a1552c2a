#pragma once
// Other programs the host hands work to (the desktop's opener, man, the user's DWG converters):
// found in $PATH and run to their end.

#include <string>
#include <vector>

namespace host {

// The full path of `name` in $PATH (/usr/bin:/bin when unset); "" when it is nowhere.
std::string FindInPath(const std::string& name);

struct ProgramEnd {
    bool started = false;  // false when it could not be started at all
    bool exited = false;   // false when a signal ended it
    int status = 0;        // its exit status when it exited

    bool Succeeded() const { return started && exited && status == 0; }
};

// Runs `program` (a full path) with `arguments` and waits for it. With `outputToStandardError`
// what it prints goes to standard error, leaving standard output to a report of ours.
ProgramEnd RunProgram(const std::string& program, std::vector<std::string> arguments,
                      bool outputToStandardError = false);

}  // namespace host
