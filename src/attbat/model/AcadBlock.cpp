#include "attbat/model/AcadBlock.h"

#include "attbat/model/PropertyTable.h"

namespace attbat {

AcadBlock::AcadBlock() {
    for (const AcadAttribute& property : PropertyTable()) {
        defs.AddAppend(AcadAttributeDef(property.tag, {}, {}, 0, 0, 0, 0, 1));
    }
}

AcadBlock::AcadBlock(std::string dwgFile, std::string name, int hasAttDefs, int isAnonymous,
                     int isXref, int isOverlay, int isLayout, int isUnloaded)
    : AcadBlock() {
    this->dwgFile = std::move(dwgFile);
    this->name = std::move(name);
    this->hasAttDefs = hasAttDefs;
    this->isAnonymous = isAnonymous;
    this->isXref = isXref;
    this->isOverlay = isOverlay;
    this->isLayout = isLayout;
    this->isUnloaded = isUnloaded;
}

}  // namespace attbat
