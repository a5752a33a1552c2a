#include "attbat/model/CadDrawingContext.h"

#include "arxutils/ArxUtils.h"
#include "attbat/model/AcadDatabase.h"
#include "cad/units/UnitSettings.h"
#include "host/WorkingDatabase.h"

namespace attbat {

cad::Database* CadDrawingContext::Db() const { return db_ ? db_ : host::WorkingDatabase(); }

ObjectId CadDrawingContext::CurrentSpaceId() const {
    cad::Database* db = Db();
    return db ? SpaceIdOf(arxutils::CurrentSpace(*db)) : 0;
}

int CadDrawingContext::LinearUnits() const {
    cad::Database* db = Db();
    return db ? db->Units().lunits : cad::UnitSettings{}.lunits;
}

std::string CadDrawingContext::DistanceText(double value, int units, int precision) const {
    return arxutils::DistanceText(Db(), value, units, precision);
}

std::string CadDrawingContext::AngleText(double value, int units, int precision) const {
    return arxutils::AngleText(Db(), value, units, precision);
}

}  // namespace attbat
