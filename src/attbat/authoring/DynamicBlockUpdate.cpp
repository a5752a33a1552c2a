#include "attbat/authoring/DynamicBlockUpdate.h"

#include "host/Document.h"

namespace attbat {

namespace {

// The open reference an entry names; a null view when its drawing was closed or it was erased.
cad::BlockReference Resolve(const DynamicBlockUpdateEntry& entry) {
    for (host::Document* doc : host::DocumentManager::Instance().Documents()) {
        if (!entry.db || !doc->Holds(*entry.db))
            continue;
        cad::Object object = doc->Database().ObjectByHandle(entry.handle);
        if (!object || object.IsErased() || (object.Type() != "INSERT" && object.Type() != "MINSERT"))
            return {};
        return cad::BlockReference(object.GetDatabase(), object.Index());
    }
    return {};
}

}  // namespace

std::vector<DynamicBlockUpdateEntry>& DynamicBlockUpdateList() {
    static std::vector<DynamicBlockUpdateEntry> list;
    return list;
}

void AddToDynamicBlockUpdateList(const cad::BlockReference& reference) {
    DynamicBlockUpdateList().push_back({reference.GetDatabase(), reference.GetHandle()});
}

CommandStatus UpdateParamsInDynamicBlocksCommand(CommandContext& context) {
    long long walked = 0;
    for (const DynamicBlockUpdateEntry& entry : DynamicBlockUpdateList()) {
        cad::BlockReference reference = Resolve(entry);
        if (!reference)
            continue;
        // The host redraws each entity of the block the reference shows; a DXF drawing keeps no
        // graphics of its own, so what stands for it is that every entity is still there to
        // be drawn from its data, which the regeneration below reads.
        if (cad::BlockRecord block = reference.Block())
            walked += static_cast<long long>(block.Entities().size());
    }
    const long long references = static_cast<long long>(DynamicBlockUpdateList().size());
    DynamicBlockUpdateList().clear();
    if (host::Document* current = host::DocumentManager::Instance().CurDocument())
        current->SendStringToExecute("REGEN\n");
    context.Summary("references", references);
    context.Summary("entities", walked);
    return CommandStatus::Done;
}

}  // namespace attbat
