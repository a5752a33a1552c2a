#include "cli/shell/ShellState.h"

#include "attbat/authoring/DynamicBlockUpdate.h"
#include "attbat/frame/AsdkDataManager.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/frame/CAttBatApp.h"
#include "attbat/links/CAttLinkDataCache.h"
#include "attbat/numbering/NumberingState.h"
#include "base/Path.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace cli {

void PrintModuleState(const attbat::CAttBatApp& app) {
    const attbat::NumberingState& numbering = attbat::TheNumberingState();
    host::Printf("\nNumbering: number \"%s\" (prefix \"%s\"), increment %d, last block \"%s\", drawing \"%s\"",
                 numbering.numberText, numbering.numberPrefix, static_cast<int>(numbering.numberIncrement),
                 numbering.lastBlockName, numbering.lastDrawingPath);
    host::Printf("\nDynamic block update list: %d references", static_cast<int>(attbat::DynamicBlockUpdateList().size()));
    host::Printf("\nLink data cache: %d drawings", attbat::LinkDataCache().GetSize());
    host::Printf("\nSession log: %s", attbat::debugOn ? "on" : "off");
    const bool prepared = app.editorReactor && app.editorReactor->uploadPrepared;
    host::Printf("\nUpload prepared: %s", prepared ? "yes (only changed references are uploaded)" : "no");
    for (host::Document* doc : host::DocumentManager::Instance().Documents()) {
        std::string handles;
        if (attbat::DataManager().HasData(doc)) {
            const auto& modified = attbat::DataManager().docData(doc).modifiedHandles;
            for (int i = 0; i < modified.GetSize(); ++i) handles += (handles.empty() ? "" : ", ") + modified.GetAt(i);
        }
        host::Printf("\nHandles waiting for the upload in %s: %s", base::FileName(doc->FileName()),
                     handles.empty() ? std::string("none") : handles);
    }
}

}  // namespace cli
