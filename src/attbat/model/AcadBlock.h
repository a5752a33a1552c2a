#pragma once
// One block definition with the columns it offers and the rows of its references.
#include <string>

#include "attbat/model/AcadAttributeDefArray.h"
#include "attbat/model/AcadBlockRefArray.h"

namespace attbat {

class AcadBlock {
public:
    // Starts `defs` with the nine property columns, in table order.
    AcadBlock();
    // The same, with the block record's name and flags; `isXref` marks a block read through an
    // external reference.
    AcadBlock(std::string dwgFile, std::string name, int hasAttDefs, int isAnonymous, int isXref,
              int isOverlay, int isLayout, int isUnloaded);

    // Neither anonymous, a layout nor unloaded: a block a user can pick by name.
    bool IsNormal() const { return !isAnonymous && !isLayout && !isUnloaded; }

    AcadAttributeDefArray defs;
    AcadBlockRefArray refs;
    int hasAttDefs = 0;
    int isAnonymous = 0;
    int isXref = 0;
    int isOverlay = 0;
    int isLayout = 0;
    int isUnloaded = 0;
    int selected = 1;  // ticked in the attribute page's list
    int listed = 1;    // passes that page's list options; only selected and listed give columns
    std::string name;
    std::string dwgFile;
};

}  // namespace attbat
