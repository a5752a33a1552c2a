#pragma once
// The editor reactor of the module: after a command that wasn't one of ours, and after a change
// in the properties palette, it runs the automatic upload of the changed references, then
// forgets them. It lives from the module's init to its unload.
#include <cstdint>
#include <functional>
#include <string_view>

#include "host/EditorReactor.h"

namespace attbat {

class AsdkEditorReactor : public host::EditorReactor {
public:
    // With `autoInitAndRelease` it attaches itself to the editor now and detaches when it goes.
    explicit AsdkEditorReactor(bool autoInitAndRelease);
    ~AsdkEditorReactor() override;
    AsdkEditorReactor(const AsdkEditorReactor&) = delete;
    AsdkEditorReactor& operator=(const AsdkEditorReactor&) = delete;

    virtual void Attach();
    virtual void Detach();
    virtual host::EditorEvents* Subject() const { return editor_; }
    virtual bool IsAttached() const { return editor_ != nullptr; }

    void CommandEnded(std::string_view globalName) override { AfterCommand(globalName); }
    void CommandCancelled(std::string_view globalName) override { AfterCommand(globalName); }
    void CommandFailed(std::string_view globalName) override { AfterCommand(globalName); }
    void ModelessOperationEnded(std::string_view context) override;

    // The entry of the automatic upload: `upload` with `atLoad` as its force flag; nothing when
    // none is set.
    void UploadToExcel(bool atLoad) {
        if (upload) upload(atLoad);
    }

    bool autoInitAndRelease;
    // The module's automatic upload, given by the application that made the reactor.
    std::function<int(bool force)> upload;
    // Set once an upload took in every reference of the drawing; 0 again when the setting is
    // off.
    std::int32_t uploadPrepared = 0;

private:
    // The body the three command events share: an upload unless the command is one of ours
    // (its name holds "Velmar"), then the list of changed handles is emptied in any case.
    void AfterCommand(std::string_view globalName);
    void Finish(bool upload);

    host::EditorEvents* editor_ = nullptr;
};

}  // namespace attbat
