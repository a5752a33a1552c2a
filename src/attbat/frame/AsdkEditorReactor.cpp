#include "attbat/frame/AsdkEditorReactor.h"

#include <string>

#include "attbat/frame/AsdkDataManager.h"
#include "base/Text.h"

namespace attbat {

AsdkEditorReactor::AsdkEditorReactor(bool autoInitAndRelease) : autoInitAndRelease(autoInitAndRelease) {
    if (autoInitAndRelease) Attach();
}

AsdkEditorReactor::~AsdkEditorReactor() { Detach(); }

void AsdkEditorReactor::Attach() {
    Detach();
    editor_ = &host::TheEditorEvents();
    editor_->AddReactor(this);
}

void AsdkEditorReactor::Detach() {
    if (editor_) editor_->RemoveReactor(this);
    editor_ = nullptr;
}

void AsdkEditorReactor::AfterCommand(std::string_view globalName) {
    Finish(base::FindNoCase(globalName, "Velmar") == std::string::npos);
}

void AsdkEditorReactor::ModelessOperationEnded(std::string_view context) {
    Finish(base::EqualNoCase(context, "OPM_CHGPROP"));
}

void AsdkEditorReactor::Finish(bool upload) {
    if (upload) UploadToExcel(false);
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (current && DataManager().HasData(current)) DataManager().docData(current).ClearModifiedHandles();
}

}  // namespace attbat
