#pragma once
// The working drawing as the schedule code sees it: what it needs is read from the drawing
// database once, so the drawing's memory can go back once its blocks are read. Without a
// drawing, the settings of a new drawing and no current space.

#include "attbat/model/DrawingContext.h"
#include "cad/units/UnitSettings.h"

namespace cad {
class Database;
}

namespace attbat {

class DocumentDrawingContext : public DrawingContext {
public:
    // `db` may be null; it is read here and not kept.
    explicit DocumentDrawingContext(cad::Database* db);
    ObjectId CurrentSpaceId() const override { return currentSpace_; }
    // 2 (decimal) without a drawing or without $LUNITS.
    int LinearUnits() const override { return units_.lunits; }
    std::string DistanceText(double value, int units, int precision) const override;
    std::string AngleText(double value, int units, int precision) const override;

private:
    ObjectId currentSpace_ = 0;
    cad::UnitSettings units_;
};

}  // namespace attbat
