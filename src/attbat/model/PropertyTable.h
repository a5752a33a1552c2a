#pragma once
// The nine pseudo-properties every block reference offers beside its attributes, each with a
// long name (shown to the user), a short key (used in key texts) and a bit, and the name forms
// built on them: "%s_Dup(%d)" for later attributes of a tag and the area unit suffixes.
#include <string>
#include <string_view>

#include "attbat/model/AcadAttributeArray.h"

namespace attbat {

// Property bits, as `AcadAttribute::kind` and `AcadBlockRef::changedMask` hold them.
enum PropertyBit : int {
    kPosX = 1,
    kPosY = 2,
    kPosZ = 4,
    kScaleX = 8,
    kScaleY = 16,
    kScaleZ = 32,
    kRotation = 64,
    kLayer = 128,
    kOuterArea = 256,
};

inline constexpr std::string_view kOuterAreaName = "Outer Polygon Area";
inline constexpr std::string_view kOuterAreaKey = "OPArea";
// The outer polygon's length has a name and a key but no bit and no row in the table.
inline constexpr std::string_view kOuterLengthName = "Outer Polygon Length";
inline constexpr std::string_view kOuterLengthKey = "OPLength";

// The shared table, in bit order: value = short key, tag = long name, kind = bit. Built once on
// first use and never changed.
const AcadAttributeArray& PropertyTable();
// Bit of a short key (or of a long name), without regard to case; 0 for anything else, that is
// for an attribute.
int PropertyBitOf(std::string_view name);
// Short key of a long name, without regard to case; empty when it is no property.
std::string ShortKeyOf(std::string_view longName);
// `tag` for dupIndex 0 (or below), "%s_Dup(%d)" of tag and dupIndex from 1 on.
std::string DupName(std::string_view tag, int dupIndex);
// "OPArea" with ".sq.in.", ".sq.ft." or ".sq.m" for area unit 1, 2, 3; bare for any other unit.
std::string AreaShortKey(int areaUnit);
// The unit of "OPArea.sq.in." (1), ".sq.ft." (2), ".sq.m" (3), without regard to case; 0 for
// the bare key and for anything else.
int AreaUnitOfShortKey(std::string_view name);

}  // namespace attbat
