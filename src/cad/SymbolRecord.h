#pragma once
// Records of the symbol tables (LAYER, STYLE, LTYPE, APPID, VIEW, VPORT, DIMSTYLE, UCS,
// BLOCK_RECORD) and the typed views the system uses: layers and viewports.

#include <string>

#include "cad/Object.h"

namespace cad {

// A record of a symbol table: a name and standard flags (70).
class SymbolRecord : public Object {
public:
    using Object::Object;

    // The name (2); "" for a null view.
    std::string Name() const { return GetText(2); }
    // The standard flags (70); 0 when missing.
    int Flags() const { return static_cast<int>(GetInt(70, 0)); }
    // True when the record comes from an external reference (flag 16).
    bool IsDependent() const { return (Flags() & 16) != 0; }
};

// A LAYER record.
class Layer : public SymbolRecord {
public:
    using SymbolRecord::SymbolRecord;

    // Frozen in all viewports (flag 1).
    bool IsFrozen() const { return (Flags() & 1) != 0; }
    // Off: a negative colour number.
    bool IsOff() const { return GetInt(62, 7) < 0; }
    // Locked (flag 4).
    bool IsLocked() const { return (Flags() & 4) != 0; }
    // The colour number, always positive (the sign only says "off").
    int Color() const;
    void SetFrozen(bool frozen);
    void SetOff(bool off);
    void SetLocked(bool locked);

private:
    void SetFlag(int bit, bool on);
};

// A VPORT record; the one named "*ACTIVE" is what the user sees in model space.
class Viewport : public SymbolRecord {
public:
    using SymbolRecord::SymbolRecord;

    // The view centre in display coordinates (12, 22).
    double CenterX() const { return GetReal(12, 0); }
    double CenterY() const { return GetReal(22, 0); }
    // The view height (40); 1 when missing.
    double Height() const { return GetReal(40, 1); }
    // Moves the view centre.
    void SetCenter(double x, double y);
    // Sets the view height; values of 0 or below are ignored, as AutoCAD refuses them.
    void SetHeight(double height);
};

// The subclass marker of a record of symbol table `table` ("AcDbLayerTableRecord" for
// "LAYER"); "" for a table the library doesn't know.
std::string_view TableRecordSubclass(std::string_view table);

}  // namespace cad
