#include "attbat/model/PropertyTable.h"

#include "base/Format.h"
#include "base/Text.h"

namespace attbat {
namespace {

constexpr const char* kAreaSuffixForms[] = {"%s.sq.in.", "%s.sq.ft.", "%s.sq.m"};

AcadAttributeArray MakePropertyTable() {
    static constexpr struct {
        const char* longName;
        const char* shortKey;
        int bit;
    } kRows[] = {
        {"Position X", "PosX", kPosX},         {"Position Y", "PosY", kPosY},
        {"Position Z", "PosZ", kPosZ},         {"Scale X", "ScaleX", kScaleX},
        {"Scale Y", "ScaleY", kScaleY},        {"Scale Z", "ScaleZ", kScaleZ},
        {"Rotation", "Rotation", kRotation},   {"Layer", "Layer", kLayer},
        {"Outer Polygon Area", "OPArea", kOuterArea},
    };
    AcadAttributeArray table;
    for (const auto& row : kRows) table.Add(AcadAttribute(row.longName, row.shortKey, row.bit));
    return table;
}

}  // namespace

const AcadAttributeArray& PropertyTable() {
    static const AcadAttributeArray table = MakePropertyTable();
    return table;
}

int PropertyBitOf(std::string_view name) {
    for (const AcadAttribute& row : PropertyTable()) {
        if (base::EqualNoCase(row.value, name)) return row.kind;
    }
    for (const AcadAttribute& row : PropertyTable()) {
        if (base::EqualNoCase(row.tag, name)) return row.kind;
    }
    return 0;
}

std::string ShortKeyOf(std::string_view longName) {
    for (const AcadAttribute& row : PropertyTable()) {
        if (base::EqualNoCase(row.tag, longName)) return row.value;
    }
    return {};
}

std::string DupName(std::string_view tag, int dupIndex) {
    if (dupIndex < 1) return std::string(tag);
    return base::Sprintf("%s_Dup(%d)", tag, dupIndex);
}

std::string AreaShortKey(int areaUnit) {
    if (areaUnit < 1 || areaUnit > 3) return std::string(kOuterAreaKey);
    return base::Sprintf(kAreaSuffixForms[areaUnit - 1], kOuterAreaKey);
}

int AreaUnitOfShortKey(std::string_view name) {
    for (int unit = 1; unit <= 3; ++unit) {
        if (base::EqualNoCase(name, AreaShortKey(unit))) return unit;
    }
    return 0;
}

}  // namespace attbat
