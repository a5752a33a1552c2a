#pragma once
// The drawing writer: rows of values written back into drawings by handle, the current drawing
// in place under its lock, other drawings through their open documents or side databases saved
// in their own version with a backup.
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "attbat/model/AcadBlockRef.h"
#include "attbat/model/AcadBlockRefArray.h"
#include "cad/Database.h"
#include "cad/DynamicBlockReference.h"
#include "cad/Text.h"

namespace attbat {

// The extended data application under which a written reference keeps its link text.
inline constexpr std::string_view kLinkAppName = "999F152C-1E9D-4402-B4E6-01B380A38CD4";

// What a write did, for callers that report it and for tests; every count starts at 0.
struct WriteTrace {
    int textWrites = 0;          // attribute texts set
    int alignments = 0;          // attributes realigned after a new text
    int transforms = 0;          // transforms applied to references (identity ones included)
    int identityTransforms = 0;  // of those, the ones that changed nothing
    int leaderWrites = 0;        // multileader attribute values set
    int dynamicWrites = 0;       // dynamic properties set
};

// The dynamic property of `ref` that the row's tag names (without regard to case, points left
// out) into `property`, and whether the cell's text asks for another value (`change`, then the
// value in `value`): texts compared without regard to case, angles by their text in `aunits`,
// distances by the number `lunits` reads, other reals and integers by their numbers. False when
// the reference isn't dynamic or has no such property.
bool FindDynamicPropertyChange(const cad::BlockReference& ref, const AcadAttribute& cell, cad::Database& db,
                               int lunits, int aunits, cad::DynamicBlockProperty& property, cad::DynamicValue& value,
                               bool& change);
// Writes one row into `db`: attribute values (kind 0, by tag, else a dynamic property of that
// name, else the text(handle) form), position, scale, rotation and layer by the property
// kinds, or a multileader's block attribute values. Units -1 take the drawing's. False when the row has no handle or no values,
// or its handle names no block reference or multileader in `db`.
bool WriteTo(const AcadBlockRef& row, cad::Database& db, int lunits, int aunits,
             WriteTrace* trace = nullptr);
// The drawing of `path` as the writer reaches it: an open document's (read now if it wasn't
// yet), else the file read on its own into `side`. Null when it can't be had, after the line
// the writer prints for it ("\nCannot find %s." or "\nFailed to open %s: %s.").
cad::Database* ReachDrawing(const std::string& path, std::unique_ptr<cad::Database>& side);
// Whether the rows of a drawing (named by a row's `dwgFile`) are wanted.
using DrawingFilter = std::function<bool(const std::string& dwgFile)>;
// What is done with one row.
using RowTaker = std::function<void(const AcadBlockRef& row)>;
// Rows an update reads one at a time, so that a long update need not hold them all: `walk` gives
// each row whose drawing the filter wants to the taker, in the rows' order, and can be walked
// again. `drawings` names every row's drawing at least once.
struct RowWalk {
    std::vector<std::string> drawings;
    std::function<void(const DrawingFilter& wanted, const RowTaker& take)> walk;
};
// Writes every row into its drawing (`dwgFile`; empty or the current document's name is the
// current document), printing the lines of each drawing; `linkText`, when not null, is stored on
// each reference written under kLinkAppName. The current document is not saved here (the
// command saves it at its end); other drawings are saved at once. The rows are walked once for
// the current document and once for each other drawing.
void UpdateDrawings(const RowWalk& rows, const std::string* linkText, WriteTrace* trace = nullptr);
// The same with rows held in a list.
void UpdateDrawings(const AcadBlockRefArray& rows, const std::string* linkText,
                    WriteTrace* trace = nullptr);
// The upload's short form on the current document: changed attribute texts, then the
// properties marked in `changedMask`. False when there is no current document or the handle
// names no block reference there.
bool UpdateInCurrentDrawing(const AcadBlockRef& row, WriteTrace* trace = nullptr);
// The text of an attribute as a user reads it: a multi-line attribute's without its formatting.
std::string AttributeText(const cad::Attribute& attribute);
// Sets an attribute's text when it differs, realigning it unless the new text is blank; false
// when it was the same, and then nothing was written.
bool SetAttributeText(cad::Attribute& attribute, const std::string& value, WriteTrace* trace = nullptr);
// Moves the insertion point of a justified text after its text changed, as the host does on
// adjustAlignment: the alignment point stays and the text is laid out from it again. Texts
// placed by their insertion point, aligned and fitted texts are left alone.
void AdjustAlignment(cad::Text& text);

}  // namespace attbat
