#include "host/AddressOpener.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

#include "base/Path.h"
#include "host/Printer.h"

extern char** environ;

namespace host {

namespace {

std::function<bool(const std::string&)>& Opener() {
    static std::function<bool(const std::string&)> opener;
    return opener;
}

std::string FindInPath(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::string list = path ? path : "/usr/bin:/bin";
    std::size_t pos = 0;
    while (pos <= list.size()) {
        std::size_t end = list.find(':', pos);
        if (end == std::string::npos) end = list.size();
        std::string candidate = base::JoinPath(list.substr(pos, end - pos), program);
        if (end > pos && base::FileExists(candidate)) return candidate;
        pos = end + 1;
    }
    return {};
}

bool XdgOpen(const std::string& address) {
    std::string program = FindInPath("xdg-open");
    if (program.empty()) return false;
    pid_t pid = 0;
    char* argv[] = {program.data(), const_cast<char*>(address.c_str()), nullptr};
    if (posix_spawn(&pid, program.c_str(), nullptr, nullptr, argv, environ) != 0) return false;
    int status = 0;
    // xdg-open hands the address to the desktop and returns; its status says whether it could.
    if (waitpid(pid, &status, 0) != pid) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

bool OpenAddress(const std::string& address) {
    bool opened = Opener() ? Opener()(address) : XdgOpen(address);
    if (opened) {
        Printf("\nOpened %s", address);
    } else {
        Printf("\nOpen this address in your browser: %s", address);
    }
    return opened;
}

void SetAddressOpener(std::function<bool(const std::string&)> opener) {
    Opener() = std::move(opener);
}

}  // namespace host
