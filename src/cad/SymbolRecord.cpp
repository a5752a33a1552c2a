#include "cad/SymbolRecord.h"

#include <cstdlib>

namespace cad {

int Layer::Color() const { return static_cast<int>(std::llabs(GetInt(62, 7))); }

void Layer::SetFlag(int bit, bool on) {
    int flags = Flags();
    SetInt(70, on ? (flags | bit) : (flags & ~bit));
}

void Layer::SetFrozen(bool frozen) { SetFlag(1, frozen); }
void Layer::SetLocked(bool locked) { SetFlag(4, locked); }

void Layer::SetOff(bool off) {
    long long color = Color();
    SetInt(62, off ? -color : color);
}

void Viewport::SetCenter(double x, double y) {
    SetReal(12, x);
    SetReal(22, y);
}

void Viewport::SetHeight(double height) {
    if (height > 0) SetReal(40, height);
}

std::string_view TableRecordSubclass(std::string_view table) {
    if (table == "LAYER") return "AcDbLayerTableRecord";
    if (table == "STYLE") return "AcDbTextStyleTableRecord";
    if (table == "LTYPE") return "AcDbLinetypeTableRecord";
    if (table == "APPID") return "AcDbRegAppTableRecord";
    if (table == "VIEW") return "AcDbViewTableRecord";
    if (table == "VPORT") return "AcDbViewportTableRecord";
    if (table == "UCS") return "AcDbUCSTableRecord";
    if (table == "DIMSTYLE") return "AcDbDimStyleTableRecord";
    if (table == "BLOCK_RECORD") return "AcDbBlockTableRecord";
    return {};
}

}  // namespace cad
