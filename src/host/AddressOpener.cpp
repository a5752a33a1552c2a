#include "host/AddressOpener.h"

#include <cstdio>
#include <vector>

#include "host/Printer.h"
#include "host/Program.h"

namespace host {

namespace {

std::function<bool(const std::string&)>& Opener() {
    static std::function<bool(const std::string&)> opener;
    return opener;
}

// Runs `name` (found in $PATH) with `arguments`: true when it ran and exited 0.
bool RunAndWait(const std::string& name, std::vector<std::string> arguments) {
    std::string program = FindInPath(name);
    return !program.empty() && RunProgram(program, std::move(arguments)).Succeeded();
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
