#pragma once
// The schedule code's view of the working drawing, over the drawing library: its current
// space, its units and the host's number texts.
#include "attbat/model/DrawingContext.h"

namespace cad {
class Database;
}

namespace attbat {

// Follows the working database at each call; with `db` given, that drawing instead.
class CadDrawingContext : public DrawingContext {
public:
    // A null `db` follows the working database (none: no space, a new drawing's units).
    explicit CadDrawingContext(cad::Database* db = nullptr) : db_(db) {}

    // The current space's id as rows carry it in ownerId; 0 without a drawing.
    ObjectId CurrentSpaceId() const override;
    // $LUNITS; 2 without a drawing.
    int LinearUnits() const override;
    std::string DistanceText(double value, int units, int precision) const override;
    std::string AngleText(double value, int units, int precision) const override;

private:
    cad::Database* Db() const;
    cad::Database* db_;
};

}  // namespace attbat
