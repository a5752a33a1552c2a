#pragma once
// References inside formula text: moved when rows are inserted or deleted, and translated when
// a shared formula is written out for one of its cells.

#include <string>
#include <string_view>

#include "xl/CellRef.h"

namespace xl {

// Rows inserted (`count` rows before `row`) or deleted (`count` rows from `row`), in the
// columns `firstColumn`..`lastColumn` (all columns for whole rows).
struct RowShift {
    int row = 1;
    int count = 0;
    bool insert = true;
    int firstColumn = 1;
    int lastColumn = kMaxColumn;

    // The row a row moves to; 0 when it is deleted.
    int Map(int r) const;
    // The rows an area covers afterwards; false when every row of it is deleted.
    bool MapArea(int& first, int& last) const;
    // A range afterwards; invalid when deleted entirely. Ranges that only partly share the
    // shifted columns are left alone.
    CellRange MapRange(const CellRange& range) const;
};

// `formula` with its references to `sheet` moved by `shift`; a deleted reference becomes
// #REF!. Unqualified references count as `sheet` when `onSheet` (the formula lives there).
std::string ShiftFormula(std::string_view formula, const RowShift& shift, std::string_view sheet, bool onSheet);
// `formula` with the sheet prefixes naming `from` (without regard to case) renamed to `to`,
// quoted when the new name needs it.
std::string RenameSheetInFormula(std::string_view formula, std::string_view from, std::string_view to);
// A sheet name as a formula prefix: 'My Sheet' quoted (apostrophes doubled), Data bare.
std::string QuoteSheetName(std::string_view name);

// `formula` as it reads `rows` rows and `columns` columns away: relative references move,
// absolute ones ($A$1) stay.
std::string TranslateFormula(std::string_view formula, int rows, int columns);

}  // namespace xl
