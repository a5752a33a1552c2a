#pragma once
// Which blocks and references count in a schedule.
#include <string>

#include "tables/CStringArrayEx.h"

namespace attbat {

class Archive;
class SettingsStore;

class AcadBlockFilter {
public:
    // Reads FilterBlocks, FilterIncXref, FilterIncNestedBlock and FilterModelSpaceOnly, each
    // with the member's present value as its default.
    void LoadFromSettings(SettingsStore& store);
    // Writes the same four; the block pattern is trimmed on the way.
    void SaveToSettings(SettingsStore& store) const;
    // The template order: incFrozen, incLocked, incNested, incOff, incXref, currentSpaceOnly,
    // blockPattern, names. A failed load leaves the members read so far.
    void Serialize(Archive& archive);

    tables::CStringArrayEx names;        // selected names; carried by templates, not by settings
    std::string blockPattern;    // wildcard on block names without case; empty passes all
    int incXref = 1;             // 0 drops blocks read through an external reference
    int incNested = 1;           // 0 drops rows that aren't directly in a layout
    int currentSpaceOnly = 0;    // 1 keeps only rows of the working drawing's current space
    int incFrozen = 1;           // 0 drops rows on a frozen layer
    int incLocked = 1;           // 0 drops rows on a locked layer
    int incOff = 1;              // 0 drops rows on a layer that is off
};

}  // namespace attbat
