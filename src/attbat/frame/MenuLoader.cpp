#include "attbat/frame/MenuLoader.h"

#include "base/Format.h"
#include "base/Path.h"
#include "host/Locations.h"
#include "host/Printer.h"

namespace attbat {

namespace {

constexpr std::string_view group = "Velmar";
constexpr std::string_view product = "Velmar";
// The answer that sends the search on to the next slot.
constexpr int slotInUse = -5005;

}  // namespace

std::string NoMenuHost::ModuleFolder() {
    std::string program = host::ProgramFile();
    if (program.empty()) return {};
    std::string folder = base::Folder(program);
    return folder.empty() || folder.back() == '/' ? folder : folder + "/";
}

std::string MenuFileName(std::string_view folder, bool japanese) {
    return base::Sprintf("%s%s%s", folder, "Velmar", japanese ? ".jp.cuix" : ".cuix");
}

int PullDownSlot(int firstFree) { return firstFree < 3 ? firstFree : firstFree - 2; }

void LoadMenu(MenuHost& host) {
    std::string file = MenuFileName(host.ModuleFolder(), host.JapaneseSystem());
    if (!host.IsMenuGroupLoaded(group) && host.FileExists(file)) {
        host.Command({"_.menuload", file});
        int n = 1;
        // The guard only stops a host that answers "free" for every slot.
        while (n < 1000 && host.MenuCmd(base::Sprintf("P%d.1=?", n)) == slotInUse) ++n;
        host.MenuCmd(base::Sprintf("P%d=+%s.pop1", PullDownSlot(n), group));
    }
    if (!host.IsMenuGroupLoaded(group)) {
        host::Printf("\nFailed to load the menu and toolbar of %s. Please load %s.cuix from the "
                     "installation folder of %s manually.",
                     product, product, product);
    } else {
        host::Printf("\nIf you can't find the ribbon of %s. Please use the command \"menuload\" to "
                     "unload the menu group of %s and run the command \"Velmar_LoadMenu\" again.",
                     product, product);
    }
}

}  // namespace attbat
