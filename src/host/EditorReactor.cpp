#include "host/EditorReactor.h"

#include <algorithm>

namespace host {

void EditorEvents::AddReactor(EditorReactor* reactor) {
    if (reactor && !HasReactor(reactor)) reactors_.push_back(reactor);
}

void EditorEvents::RemoveReactor(EditorReactor* reactor) { std::erase(reactors_, reactor); }

bool EditorEvents::HasReactor(const EditorReactor* reactor) const {
    return std::find(reactors_.begin(), reactors_.end(), reactor) != reactors_.end();
}

template <class Call>
void EditorEvents::Tell(Call call) {
    // A copy: a reactor may detach itself while being told.
    for (EditorReactor* reactor : std::vector<EditorReactor*>(reactors_)) call(*reactor);
}

void EditorEvents::CommandEnded(std::string_view name) {
    Tell([name](EditorReactor& r) { r.CommandEnded(name); });
}

void EditorEvents::CommandCancelled(std::string_view name) {
    Tell([name](EditorReactor& r) { r.CommandCancelled(name); });
}

void EditorEvents::CommandFailed(std::string_view name) {
    Tell([name](EditorReactor& r) { r.CommandFailed(name); });
}

void EditorEvents::ModelessOperationEnded(std::string_view context) {
    Tell([context](EditorReactor& r) { r.ModelessOperationEnded(context); });
}

EditorEvents& TheEditorEvents() {
    static EditorEvents events;
    return events;
}

}  // namespace host
