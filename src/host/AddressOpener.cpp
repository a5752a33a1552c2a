#include "host/AddressOpener.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

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

// Runs `program` (found in $PATH) with `arguments` and waits: true when it ran and exited 0.
bool RunAndWait(const std::string& name, std::vector<std::string> arguments) {
    std::string program = FindInPath(name);
    if (program.empty()) return false;
    std::vector<char*> argv = {program.data()};
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), nullptr, nullptr, argv.data(), environ) != 0) return false;
    int status = 0;
    if (waitpid(pid, &status, 0) != pid) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// xdg-open hands the address to the desktop and returns; its status says whether it could.
bool XdgOpen(const std::string& address) { return RunAndWait("xdg-open", {address}); }

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

bool ShowManualPage(const std::string& page) {
    // Lines printed so far must stand before the page.
    CurrentPrinter().FinishLine();
    std::fflush(stdout);
    bool isFile = page.find('/') != std::string::npos;
    if (FindInPath("man").empty()) {
        Printf("\nThere is no 'man' program to show the manual page%s %s.", isFile ? "; it is" : "", page);
        return false;
    }
    bool shown = isFile ? RunAndWait("man", {"-l", page}) : RunAndWait("man", {page});
    if (!shown) Printf("\nThe manual page %s could not be shown.", page);
    return shown;
}

void SetAddressOpener(std::function<bool(const std::string&)> opener) {
    Opener() = std::move(opener);
}

}  // namespace host
