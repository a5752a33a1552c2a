#pragma once
// The working drawing as the schedule code sees it, over a drawing database; without one, the
// settings of a new drawing and no current space.

#include "attbat/model/DrawingContext.h"

namespace cad {
class Database;
}

namespace attbat {

class DocumentDrawingContext : public DrawingContext {
public:
    // `db` may be null; it must outlive the context.
    explicit DocumentDrawingContext(cad::Database* db) : db_(db) {}
    ObjectId CurrentSpaceId() const override;
    // 2 (decimal) without a drawing or without $LUNITS.
    int LinearUnits() const override;
    std::string DistanceText(double value, int units, int precision) const override;
    std::string AngleText(double value, int units, int precision) const override;

private:
    cad::Database* db_;
};

}  // namespace attbat
