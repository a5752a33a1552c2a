#pragma once
// The module's application object: load and unload, the drawing-load work, the command table
// registered with the host, and the dispatch of commands by name. Each run of the program sends
// it init, load-drawing and unload.

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/frame/AcRxArxApp.h"
#include "attbat/frame/AsdkEditorReactor.h"
#include "attbat/frame/CommandContext.h"
#include "attbat/frame/CommandTable.h"

namespace attbat {

class MenuHost;

// Host facts found at load: the year of the host family and its product text.
extern int hostYear;
extern std::string hostProduct;

// "AutoCAD" for acad.exe, "AutoCAD LT" for acadlt.exe (without regard to case), else
// "Unknown CAD".
std::string HostProductText(std::string_view processFileName);
// 2026 for host version "25.1", 2027 for "25.2", else 2025.
int HostYear(std::string_view hostVersion);

class CAttBatApp : public AcRxArxApp {
public:
    // The frame's own commands are implemented from the start; the others wait for Implement.
    CAttBatApp();

    AppRetCode On_kInitAppMsg(void* pkt) override;
    AppRetCode On_kUnloadAppMsg(void* pkt) override;
    AppRetCode On_kLoadDwgMsg(void* pkt) override;
    void RegisterServerComponents() override {}

    // Gives a command of the table its work; a name not in the table is a programming error and
    // is refused (false).
    bool Implement(std::string_view localName, CommandHandler handler);
    // The work of a command; null while none was implemented.
    const CommandHandler* Handler(const CommandEntry& entry) const;
    // True between init and unload for every entry of the table.
    bool IsRegistered(const CommandEntry& entry) const;
    // Whether `entry` was registered with the module's resource instance (all but session
    // commands are).
    bool HasResourceInstance(const CommandEntry& entry) const;
    // The registered command named `name` (local, global name or alias; without regard to case);
    // null when there is none.
    const CommandEntry* FindCommand(std::string_view name) const;
    // Runs a registered command: how it ended; a command without its work says it is not
    // available in this build yet and fails. The editor's reactors hear how it ended, by its
    // global name.
    CommandStatus Run(const CommandEntry& entry, CommandContext& context);

    // The menu host; null (the default) where there are no menus, and then no load is queued.
    void SetMenuHost(MenuHost* menuHost) { menuHost_ = menuHost; }
    MenuHost* GetMenuHost() const { return menuHost_; }
    // Work done at each drawing load: the link update (when AutoUpdateAtt is set) and the upload
    // (with atLoad true), which also runs after commands through the editor reactor. Unset until
    // their owners give them.
    void SetAutoUpdate(std::function<void()> update) { autoUpdate_ = std::move(update); }
    void SetAutoUpload(std::function<int(bool force)> upload) { autoUpload_ = std::move(upload); }
    // The automatic upload with its force flag; 1 (its "done") when none is set.
    int RunAutoUpload(bool force) { return autoUpload_ ? autoUpload_(force) : 1; }
    // Whether the drawing load uploads. The host's load is the user opening a drawing to work
    // in; a run of one command opens it only for that command, and an upload there would
    // overwrite the very cells an import of that run is to read. Such runs turn it off.
    bool uploadAtLoad = true;
    // Whether the drawing load takes values from the linked workbooks while AutoUpdateAtt is
    // set. Each run starts with it on; a run that must never write the drawing (it belongs to
    // another program: velmar watch) turns it off.
    bool updateAtLoad = true;

    // The host's command queue: texts run after the present command ends.
    void QueueCommand(std::string command) { queue_.push_back(std::move(command)); }
    // The next queued command; "" when the queue is empty.
    std::string TakeQueuedCommand();

    void* instance = nullptr;
    bool unlocked = true;
    bool mdiAware = true;
    // Made at init, gone at unload.
    std::unique_ptr<AsdkEditorReactor> editorReactor;

private:
    struct Registration {
        const CommandEntry* entry;
        void* resourceInstance;
    };
    std::vector<Registration> registered_;
    std::map<std::string, CommandHandler, std::less<>> handlers_;
    MenuHost* menuHost_ = nullptr;
    std::function<void()> autoUpdate_;
    std::function<int(bool)> autoUpload_;
    std::deque<std::string> queue_;
};

// The one application object of the program.
CAttBatApp& TheApp();

// The frame's own commands (options, debug, about, the web pages, help, menu load).
void ImplementFrameCommands(CAttBatApp& app);

}  // namespace attbat
