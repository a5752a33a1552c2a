#include "cad/geometry/ActiveView.h"

#include <cmath>

#include "cad/SymbolRecord.h"

namespace cad {

namespace {

void SetIfDifferent(Object& o, int code, double value, double fallback) {
    if (!o.Has(code) && value == fallback) return;
    if (o.Has(code) && o.GetReal(code) == value) return;
    o.SetReal(code, value);
}

}  // namespace

base::Status SetActiveView(Database& db, Point3 center, double width, double height) {
    SymbolRecord record = db.ActiveViewport();
    if (!record) return base::Status::Error(db.FileName() + " has no active viewport (VPORT \"*ACTIVE\") to set");
    Viewport view(record.GetDatabase(), record.Index());
    SetIfDifferent(view, 12, center.x, 0);
    SetIfDifferent(view, 22, center.y, 0);
    if (height > 0) {
        SetIfDifferent(view, 40, height, 1);
        if (width > 0) SetIfDifferent(view, 41, width / height, 1);
    }
    for (int code : {16, 26}) SetIfDifferent(view, code, 0, 0);
    SetIfDifferent(view, 36, 1, 1);
    for (int code : {17, 27, 37, 51}) SetIfDifferent(view, code, 0, 0);

    if (!db.Header("$VIEWCTR").empty()) {
        TagList old = db.Header("$VIEWCTR");
        TagList now = {RealTag(10, center.x), RealTag(20, center.y)};
        if (old.size() != 2 || old[0].Real() != center.x || old[1].Real() != center.y) {
            if (auto status = db.SetHeader("$VIEWCTR", now); !status) return status;
        }
    }
    if (height > 0 && !db.Header("$VIEWSIZE").empty() && db.HeaderReal("$VIEWSIZE") != height) {
        if (auto status = db.SetHeader("$VIEWSIZE", {RealTag(40, height)}); !status) return status;
    }
    return base::Status::Ok();
}

base::Status SetActiveView(Database& db, const Extents3d& extents) {
    if (!extents.IsValid()) return base::Status::Error("no extents to show");
    Point3 size = extents.Size();
    return SetActiveView(db, extents.Center(), size.x, size.y);
}

}  // namespace cad
