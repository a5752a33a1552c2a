#include "host/Program.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "base/Path.h"

extern char** environ;

namespace host {

std::string FindInPath(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::string list = path ? path : "/usr/bin:/bin";
    std::size_t pos = 0;
    while (pos <= list.size()) {
        std::size_t end = list.find(':', pos);
        if (end == std::string::npos) end = list.size();
        std::string candidate = base::JoinPath(list.substr(pos, end - pos), name);
        if (end > pos && base::FileExists(candidate)) return candidate;
        pos = end + 1;
    }
    return {};
}

ProgramEnd RunProgram(const std::string& program, std::vector<std::string> arguments, bool outputToStandardError) {
    std::string name = program;
    std::vector<char*> argv = {name.data()};
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (outputToStandardError) posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    pid_t pid = 0;
    ProgramEnd end;
    end.started = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    if (!end.started || waitpid(pid, &status, 0) != pid) {
        end.started = false;
        return end;
    }
    end.exited = WIFEXITED(status);
    end.status = end.exited ? WEXITSTATUS(status) : 0;
    return end;
}

}  // namespace host
