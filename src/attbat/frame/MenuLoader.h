#pragma once
// Loading the menu group "Velmar" and its pull-down: the host's side stands behind MenuHost so
// that the slot rule and the printed lines hold wherever menus exist (and are tested here).

#include <string>
#include <string_view>
#include <vector>

namespace attbat {

// What the menu load needs of the host.
class MenuHost {
public:
    virtual ~MenuHost() = default;
    // acedIsMenuGroupLoaded.
    virtual bool IsMenuGroupLoaded(std::string_view group) = 0;
    virtual bool FileExists(const std::string& path) = 0;
    // acedCommandS with its words.
    virtual void Command(const std::vector<std::string>& words) = 0;
    // acedMenuCmd; a "P%d.1=?" question answers -5005 while the slot is in use.
    virtual int MenuCmd(std::string_view request) = 0;
    // The folder of the module file, ending with its separator.
    virtual std::string ModuleFolder() = 0;
    // True when the system's default language is Japanese (0x0411).
    virtual bool JapaneseSystem() = 0;
};

// The menu host of a system without menus (Linux): no group is ever loaded, no file exists.
class NoMenuHost : public MenuHost {
public:
    bool IsMenuGroupLoaded(std::string_view) override { return false; }
    bool FileExists(const std::string&) override { return false; }
    void Command(const std::vector<std::string>&) override {}
    int MenuCmd(std::string_view) override { return 0; }
    std::string ModuleFolder() override;
    bool JapaneseSystem() override { return false; }
};

// Folder + "Velmar" + ".jp.cuix" on a Japanese system, ".cuix" otherwise.
std::string MenuFileName(std::string_view folder, bool japanese);
// The pull-down slot used when N is the first free one: N below 3, N - 2 from 3 on.
int PullDownSlot(int firstFree);
// Velmar_LoadMenu: loads the group when it isn't and its file exists, puts "pop1" in the slot,
// then prints the failure line or the ribbon hint, whichever the group's state calls for.
void LoadMenu(MenuHost& host);

}  // namespace attbat
