#include "attbat/authoring/BurstBlockReference.h"

#include "attbat/authoring/PassSupport.h"
#include "cad/Database.h"
#include "cad/geometry/Explode.h"
#include "host/Printer.h"

namespace attbat {

bool AttributeToText(const cad::AttributeBase& attribute, cad::BlockRecord& space) {
    if (attribute.IsMTextAttribute()) {
        host::Printf("\nTemporarily Velmar doesn't support the multi-line attribute: %s.", attribute.Tag());
        return false;
    }
    cad::Database& db = *space.Record().GetDatabase();
    const bool r13 = db.Release() >= 1012;
    const int horizontal = static_cast<int>(attribute.GetInt(72, 0));
    const int vertical = static_cast<int>(attribute.GetInt(74, 0));
    const cad::Point3 at = attribute.AlignmentPoint();
    cad::TagList tags;
    if (r13) tags.push_back({100, "AcDbText"});
    tags.push_back(cad::RealTag(10, attribute.Position().x));
    tags.push_back(cad::RealTag(20, attribute.Position().y));
    tags.push_back(cad::RealTag(30, attribute.Position().z));
    tags.push_back(cad::RealTag(40, attribute.Height()));
    tags.push_back({1, attribute.TextString()});
    tags.push_back(cad::RealTag(50, attribute.GetReal(50, 0)));
    tags.push_back(cad::RealTag(41, attribute.GetReal(41, 1)));
    tags.push_back(cad::RealTag(51, attribute.GetReal(51, 0)));
    tags.push_back({7, attribute.GetText(7, "Standard")});
    tags.push_back(cad::IntTag(71, attribute.GetInt(71, 0)));
    tags.push_back(cad::IntTag(72, horizontal));
    // Aligned and fit texts stand between the two points, the others at the second one.
    if (horizontal != 0 || vertical != 0) {
        tags.push_back(cad::RealTag(11, at.x));
        tags.push_back(cad::RealTag(21, at.y));
        tags.push_back(cad::RealTag(31, at.z));
    }
    if (r13) tags.push_back({100, "AcDbText"});
    tags.push_back(cad::IntTag(73, vertical));
    auto made = space.AppendEntity("TEXT", db.HeaderText("$CLAYER", "0"), tags);
    if (!made) {
        host::Printf("Can't create the text");
        return false;
    }
    return true;
}

bool BurstBlockReference(cad::BlockReference& reference) {
    cad::BlockRecord block = reference.Block();
    if (!block || !block.HasAttributeDefinitions()) return false;
    cad::BlockRecord space = reference.OwnerBlock();
    // The pieces come first: a block the explode refuses leaves the reference as it was.
    auto pieces = cad::ExplodeInto(reference, space, true);
    if (!pieces) {
        host::Printf("\nError in Bust: %s.", pieces.GetStatus().Message());
        return false;
    }
    // Constant definitions show as texts where the reference showed them; the others go.
    for (cad::Entity& piece : *pieces) {
        if (piece.Type() != "ATTDEF") continue;
        cad::AttributeDefinition def(piece.GetDatabase(), piece.Index());
        if (def.IsConstant()) AttributeToText(def, space);
        piece.Erase();
    }
    for (const cad::Attribute& attribute : reference.Attributes()) AttributeToText(attribute, space);
    reference.Erase();
    return true;
}

}  // namespace attbat
