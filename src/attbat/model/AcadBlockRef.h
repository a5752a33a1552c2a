#pragma once
// One block reference as a row of data: where it is, how it is scaled and turned, its layer and
// its values. Handles are text, so the row outlives the drawing it came from.
#include <string>

#include "attbat/model/AcadAttributeArray.h"
#include "attbat/model/AcadLayer.h"
#include "attbat/model/DrawingContext.h"
#include "attbat/model/Point3d.h"

namespace attbat {

class AcadBlockRef {
public:
    // No drawing or handle, unit scale, top level, the drawing's own units, no outer polygon.
    AcadBlockRef() = default;
    // A row as the drawing reader makes it; `ownerName` is the name of the block record of
    // `ownerId` (the layout text of the "DWG File" cell), empty when unknown.
    AcadBlockRef(std::string dwgFile, Point3d position, Scale3d scale, AcadLayer layer,
                 double rotation, std::string handle, int topLevel, ObjectId ownerId, int lunits,
                 int aunits, double outerArea, std::string ownerName = {});

    std::string dwgFile;       // full path of the drawing
    std::string ownerName;     // name of the owning space's block record
    Point3d position;
    Scale3d scale;
    AcadLayer layer;
    std::string handle;        // the reference's handle in hexadecimal: the row's identity
    double rotation = 0.0;     // radians
    double outerArea = -1.0;   // -1.0: no outer polygon was found
    int changedMask = 0;       // property bits the drawing writer is to set
    int topLevel = 1;          // 0 for a reference nested in another block
    int lunits = -1;           // -1: the drawing's own setting at display time
    int aunits = -1;
    ObjectId ownerId = 0;      // the layout block record under which this row counts
    AcadAttributeArray attributes;
};

}  // namespace attbat
