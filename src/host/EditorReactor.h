#pragma once
// The editor's notifications (AcEditorReactor): how each command ended, and the end of a change
// made outside any command (the properties palette's). Reactors are added to the one
// EditorEvents object of the run, as the host's editor keeps them.
#include <string_view>
#include <vector>

namespace host {

class EditorReactor {
public:
    virtual ~EditorReactor() = default;
    // `globalName` is the command's global name ("_VelmarOut").
    virtual void CommandEnded(std::string_view globalName) { (void)globalName; }
    virtual void CommandCancelled(std::string_view globalName) { (void)globalName; }
    virtual void CommandFailed(std::string_view globalName) { (void)globalName; }
    // A change that ran outside a command ended; `context` names it ("OPM_CHGPROP").
    virtual void ModelessOperationEnded(std::string_view context) { (void)context; }
};

class EditorEvents {
public:
    // Adding one twice does nothing; reactors are not owned.
    void AddReactor(EditorReactor* reactor);
    void RemoveReactor(EditorReactor* reactor);
    bool HasReactor(const EditorReactor* reactor) const;

    void CommandEnded(std::string_view globalName);
    void CommandCancelled(std::string_view globalName);
    void CommandFailed(std::string_view globalName);
    void ModelessOperationEnded(std::string_view context);

private:
    template <class Call>
    void Tell(Call call);
    std::vector<EditorReactor*> reactors_;
};

// The editor of this run, where every editor reactor attaches.
EditorEvents& TheEditorEvents();

}  // namespace host
