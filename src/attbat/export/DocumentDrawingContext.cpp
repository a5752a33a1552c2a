#include "attbat/export/DocumentDrawingContext.h"

#include "arxutils/ArxUtils.h"
#include "attbat/model/AcadDatabase.h"

namespace attbat {

ObjectId DocumentDrawingContext::CurrentSpaceId() const {
    return db_ ? SpaceIdOf(arxutils::CurrentSpace(*db_)) : 0;
}

int DocumentDrawingContext::LinearUnits() const {
    return db_ ? static_cast<int>(db_->HeaderInt("$LUNITS", 2)) : 2;
}

std::string DocumentDrawingContext::DistanceText(double value, int units, int precision) const {
    return arxutils::DistanceText(db_, value, units, precision);
}

std::string DocumentDrawingContext::AngleText(double value, int units, int precision) const {
    return arxutils::AngleText(db_, value, units, precision);
}

}  // namespace attbat
