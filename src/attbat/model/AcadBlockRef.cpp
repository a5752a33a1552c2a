#include "attbat/model/AcadBlockRef.h"

#include "attbat/model/PropertyTable.h"

namespace attbat {

AcadBlockRef::AcadBlockRef(std::string dwgFile, Point3d position, Scale3d scale, AcadLayer layer,
                           double rotation, std::string handle, int topLevel, ObjectId ownerId,
                           int lunits, int aunits, double outerArea, std::string ownerName)
    : dwgFile(std::move(dwgFile)),
      ownerName(std::move(ownerName)),
      position(position),
      scale(scale),
      layer(std::move(layer)),
      handle(std::move(handle)),
      rotation(rotation),
      outerArea(outerArea),
      topLevel(topLevel),
      lunits(lunits),
      aunits(aunits),
      ownerId(ownerId) {
    PropertyTable();  // built with the first row, so later lookups never pay for it
}

}  // namespace attbat
