#pragma once
// Opening web pages and mail forms, the host's ShellExecute "open": xdg-open when it is there,
// else the address is printed for the user to open. The help file's stand-in is the manual page.

#include <functional>
#include <string>

namespace host {

// Opens `address`; true when an opener was started. Without xdg-open (or with a display-less
// run where it fails to start) the address is printed and false returned.
bool OpenAddress(const std::string& address);
// Shows a manual page with man: `page` is a file when it holds a '/', else a page name. True
// when man showed it; without man a line says where the page is and false is returned.
bool ShowManualPage(const std::string& page);
// Replaces how addresses are opened (tests); an empty function restores xdg-open.
void SetAddressOpener(std::function<bool(const std::string&)> opener);

}  // namespace host
