#include "attbat/cellblock/CAutoBorder.h"

#include "arxutils/excel/ExcelObjects.h"

namespace attbat {

namespace excel = arxutils::excel;

void ApplyBorderStyle(CAutoBorder& border) {
    switch (border.lineStyle) {
    case excel::xlContinuous: border.lineType = "CONTINUOUS"; break;
    case excel::xlDash: border.lineType = "DASHED"; break;
    case excel::xlDashDot: border.lineType = "DASHDOT"; break;
    case excel::xlDashDotDot: border.lineType = "DIVIDE"; break;
    case excel::xlDot: border.lineType = "DOT"; break;
    case excel::xlDouble: border.lineType = kDoubleLineType; break;
    default: break;
    }
    if (border.weight == excel::xlMedium) border.lineWidth = 1.5;
    else if (border.weight == excel::xlThick) border.lineWidth = 2.25;
    else border.lineWidth = 0.0;
}

}  // namespace attbat
