#pragma once
// Opening web pages and mail forms, the host's ShellExecute "open": xdg-open when it is there,
// else the address is printed for the user to open.

#include <functional>
#include <string>

namespace host {

// Opens `address`; true when an opener was started. Without xdg-open (or with a display-less
// run where it fails to start) the address is printed and false returned.
bool OpenAddress(const std::string& address);
// Replaces how addresses are opened (tests); an empty function restores xdg-open.
void SetAddressOpener(std::function<bool(const std::string&)> opener);

}  // namespace host
