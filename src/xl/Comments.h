#pragma once
// The notes of a sheet: the comments part (authors and texts) and the VML drawing that shows
// them. Note shapes are rewritten; every other VML shape (buttons, pictures) is kept as it was.

#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "xl/Worksheet.h"
#include "xl/Zip.h"

namespace xl {

// A note as the sheet keeps it: where it was read from, and whether its text changed since. Its
// <comment> element as written (without its ref) is fetched only when the part is written, so
// that an untouched note keeps its rich text.
struct StoredNote {
    Note note;
    int originalRow = 0, originalColumn = 0;  // 0 for a note added since reading
    bool changed = false;
    std::string commentXml;
};

// A comments part: its authors in order and its notes in file order.
struct NotesPart {
    std::string rootAttributes;  // namespace declarations of the root, as XML
    std::vector<std::string> authors;
    std::vector<StoredNote> notes;
};

// Reads a comments part; a malformed part is an error naming `label`. With `keepXml` each
// note's <comment> element is kept as well.
base::Result<NotesPart> ReadNotes(std::string xml, std::string_view label, bool keepXml);
// A comments part for `notes`, streamed as text; `authors` (the part's own) keep their ids.
// `rootAttributes` (the part's own, or "" for a new part) are written on the root.
void WriteComments(DeflateStream& out, std::string_view rootAttributes, std::vector<std::string> authors,
                   const std::vector<StoredNote>& notes);
// The VML drawing for `notes`: shapes of `originalVml` that are not notes are kept, the shape of
// a note read from it is kept too (moved with its note), and new notes get new shapes with ids
// above every id in use and at least `shapeBase` (a multiple of 1024 unique in the workbook).
void WriteVml(DeflateStream& out, std::string_view originalVml, const std::vector<StoredNote>& notes,
              int shapeBase);

}  // namespace xl
