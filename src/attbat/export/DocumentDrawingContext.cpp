#include "attbat/export/DocumentDrawingContext.h"

#include "arxutils/ArxUtils.h"
#include "attbat/model/AcadDatabase.h"
#include "cad/Database.h"
#include "cad/units/AngleText.h"
#include "cad/units/DistanceText.h"

namespace attbat {

DocumentDrawingContext::DocumentDrawingContext(cad::Database* db) {
    if (!db) return;
    currentSpace_ = SpaceIdOf(arxutils::CurrentSpace(*db));
    units_ = db->Units();
}

std::string DocumentDrawingContext::DistanceText(double value, int units, int precision) const {
    auto text = cad::DistanceText(value, units, precision, units_);
    return text ? text.Value() : std::string();
}

std::string DocumentDrawingContext::AngleText(double value, int units, int precision) const {
    auto text = cad::AngleText(value, units, precision, units_);
    return text ? text.Value() : std::string();
}

}  // namespace attbat
