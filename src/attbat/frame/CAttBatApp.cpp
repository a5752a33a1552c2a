#include "attbat/frame/CAttBatApp.h"

#include "attbat/frame/AsdkDataManager.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CRegistry.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/EditorReactor.h"
#include "host/Locations.h"
#include "host/Printer.h"

namespace attbat {

int hostYear = 2025;
std::string hostProduct = "Unknown CAD";

namespace {

std::string ProcessFileName() { return base::FileName(host::ProgramFile()); }

}  // namespace

std::string HostProductText(std::string_view processFileName) {
    if (base::EqualNoCase(processFileName, "acad.exe")) return "AutoCAD";
    if (base::EqualNoCase(processFileName, "acadlt.exe")) return "AutoCAD LT";
    return "Unknown CAD";
}

int HostYear(std::string_view hostVersion) {
    if (hostVersion == "25.1") return 2026;
    if (hostVersion == "25.2") return 2027;
    return 2025;
}

CAttBatApp::CAttBatApp() { ImplementFrameCommands(*this); }

AppRetCode CAttBatApp::On_kInitAppMsg(void*) {
    // The class table is empty; the command table is added whole.
    registered_.clear();
    for (const CommandEntry& entry : CommandTable()) {
        void* resources = (entry.flags & ACRX_CMD_SESSION) ? nullptr : this;
        registered_.push_back({&entry, resources});
    }
    if (!editorReactor) {
        editorReactor = std::make_unique<AsdkEditorReactor>(true);
        editorReactor->upload = [this](bool force) { return RunAutoUpload(force); };
    }
    // The data manager hears of documents from now on; the current one gets its reactor here.
    DataManager().DocumentBecameCurrent(host::DocumentManager::Instance().CurDocument());
    // There is no host version to ask on Linux: the year stays that of the 2025 family.
    hostYear = HostYear("");
    hostProduct = HostProductText(ProcessFileName());
    CRegistry::SetRoot(CRegistry::Root::CurrentUser, "Orvane");
    // The menu loads by a queued command, after the load message is over.
    if (menuHost_) QueueCommand("Velmar_LoadMenu");
    return kRetOK;
}

AppRetCode CAttBatApp::On_kUnloadAppMsg(void*) {
    registered_.clear();
    editorReactor.reset();
    // The log's session ends with the module.
    ErrLog().Close();
    return kRetOK;
}

AppRetCode CAttBatApp::On_kLoadDwgMsg(void*) {
    if (updateAtLoad && CRegistry::GetInt("Velmar", "AutoUpdateAtt", 0) != 0 && autoUpdate_) autoUpdate_();
    if (editorReactor && uploadAtLoad) editorReactor->UploadToExcel(true);
    return kRetOK;
}

bool CAttBatApp::Implement(std::string_view localName, CommandHandler handler) {
    const CommandEntry* entry = FindCommandEntry(localName);
    if (!entry || entry->localName != localName) return false;
    handlers_[std::string(localName)] = std::move(handler);
    return true;
}

const CommandHandler* CAttBatApp::Handler(const CommandEntry& entry) const {
    auto it = handlers_.find(entry.localName);
    return it == handlers_.end() || !it->second.run ? nullptr : &it->second;
}

bool CAttBatApp::IsRegistered(const CommandEntry& entry) const {
    for (const Registration& r : registered_) {
        if (r.entry == &entry) return true;
    }
    return false;
}

bool CAttBatApp::HasResourceInstance(const CommandEntry& entry) const {
    for (const Registration& r : registered_) {
        if (r.entry == &entry) return r.resourceInstance != nullptr;
    }
    return false;
}

const CommandEntry* CAttBatApp::FindCommand(std::string_view name) const {
    const CommandEntry* entry = FindCommandEntry(name);
    return entry && (IsRegistered(*entry) || IsDialogEntry(*entry)) ? entry : nullptr;
}

CommandStatus CAttBatApp::Run(const CommandEntry& entry, CommandContext& context) {
    const CommandHandler* handler = Handler(entry);
    CommandStatus status = CommandStatus::Failed;
    if (handler) {
        status = handler->run(context);
    } else {
        host::CurrentPrinter().Warn(std::string(entry.localName) + " (velmar " +
                                    std::string(entry.alias) +
                                    ") is not available in this build yet.");
        context.Summary("error", "not available in this build yet");
    }
    host::EditorEvents& editor = host::TheEditorEvents();
    if (status == CommandStatus::Done) editor.CommandEnded(entry.globalName);
    else if (context.Cancelled()) editor.CommandCancelled(entry.globalName);
    else editor.CommandFailed(entry.globalName);
    return status;
}

std::string CAttBatApp::TakeQueuedCommand() {
    if (queue_.empty()) return {};
    std::string next = std::move(queue_.front());
    queue_.pop_front();
    return next;
}

CAttBatApp& TheApp() {
    static CAttBatApp app;
    return app;
}

}  // namespace attbat
