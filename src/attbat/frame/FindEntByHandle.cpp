#include "attbat/frame/FindEntByHandle.h"

#include "arxutils/ArxUtils.h"
#include "base/Text.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/geometry/ActiveView.h"
#include "cad/geometry/Extents3d.h"
#include "cad/geometry/GeomExtents.h"
#include "host/Document.h"
#include "host/Editor.h"
#include "host/Printer.h"

namespace attbat {

std::string HandleFromInput(std::string_view input) {
    // The host's input buffer holds 134 characters.
    std::string text = base::Trim(base::Left(input, 134), "<>");
    std::size_t cut = text.find('_');
    if (cut != std::string::npos && cut > 0) text.resize(cut);
    return text;
}

int Velmar_FindEntByHandle(host::Editor& editor) {
    std::string input;
    if (editor.GetString(false, "\nPlease enter the entity's handle:", input) != host::RTNORM) return 1;
    return FindEntByHandle(input);
}

int FindEntByHandle(std::string_view input) {
    std::string handle = HandleFromInput(input);
    host::Printf("\nHandle: %s.", handle);
    host::Document* doc = host::DocumentManager::Instance().CurDocument();
    cad::Object object = doc ? arxutils::HandleToId(doc->Database(), handle) : cad::Object();
    cad::Entity entity(object.GetDatabase(), object.Index());
    cad::BlockRecord space = object ? entity.OwnerBlock() : cad::BlockRecord();
    if (!object || !space) {
        host::Printf("\nCan't find the entity.");
        return 1;
    }
    std::string type = entity.Type();
    std::string block;
    if (type == "INSERT" || type == "MINSERT") block = cad::BlockReference(object.GetDatabase(), object.Index()).BlockName();
    host::Printf("\nType: %s, layer: %s, block: %s, in %s.", type, entity.LayerName(),
                 block.empty() ? std::string("-") : block, space.Name());
    auto extents = cad::GeomExtents(entity);
    if (!extents) {
        host::Printf("\n%s", extents.GetStatus().Message());
        return 0;
    }
    cad::Point3 lo = extents.Value().Min(), hi = extents.Value().Max();
    host::Printf("\nExtents: (%g, %g, %g) - (%g, %g, %g).", lo.x, lo.y, lo.z, hi.x, hi.y, hi.z);
    base::Status view = cad::SetActiveView(doc->Database(), extents.Value());
    if (!view.IsOk()) host::Printf("\n%s", view.Message());
    return 0;
}

}  // namespace attbat
