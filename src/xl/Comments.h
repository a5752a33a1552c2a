#pragma once
// The notes of a sheet: the comments part (authors and texts) and the VML drawing that shows
// them. Note shapes are rewritten; every other VML shape (buttons, pictures) is kept as it was.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "base/TextBlocks.h"
#include "xl/Worksheet.h"
#include "xl/XmlScanner.h"
#include "xl/Zip.h"

namespace xl {

// A note as the sheet keeps it: where it was read from, and whether its text changed since. An
// untouched note is written again from its <comment> element in the part as it stands, so that
// it keeps its rich text; nothing of that element is held in between.
struct StoredNote {
    int row = 0, column = 0;
    int originalRow = 0, originalColumn = 0;  // 0 for a note added since reading
    std::uint32_t author = 0;                 // index into the part's authors
    bool changed = false;
    // The plain text, runs of a rich note joined: kept counted in the blocks of the notes' holder
    // (base::TextBlocks::KeepCounted), so that a note costs no allocation of its own; null for "".
    const char* text = nullptr;

    std::string_view Text() const { return base::TextBlocks::Counted(text); }
};

// The size of the blocks that hold notes' texts.
inline constexpr std::size_t kNoteTextBlock = 64 * 1024;

// A comments part: its authors in order and its notes in file order.
struct NotesPart {
    std::string rootAttributes;  // namespace declarations of the root, as XML
    std::vector<std::string> authors;
    std::vector<StoredNote> notes;
    base::TextBlocks texts{kNoteTextBlock};  // the notes' texts
};

// Reads a comments part in one pass without building a tree; a note with an author id outside
// the list gets the author "" (added to the list). A malformed part is an error naming `label`
// and the byte offset.
base::Result<NotesPart> ReadNotes(std::string_view xml, std::string_view label);
// The same from a scanner (one reading the part in pieces); room is made for `expectedNotes` at
// the start, so that the notes are not copied as they grow.
base::Result<NotesPart> ReadNotes(XmlScanner& x, std::size_t expectedNotes, std::string_view label);
// The index of `author` in `authors`, appended when missing.
std::uint32_t AuthorIndex(std::vector<std::string>& authors, std::string_view author);
// A comments part for `notes`, streamed as text; `authors` are the notes' author list, ids kept.
// `rootAttributes` (the part's own, or "" for a new part) are written on the root. Unchanged
// notes are copied from their elements in `originalPart` (the part as it stands, or ""), under
// their new cell; one missing there is written from its plain text.
void WriteComments(DeflateStream& out, std::string_view rootAttributes, const std::vector<std::string>& authors,
                   const std::vector<StoredNote>& notes, std::string_view originalPart);
// The VML drawing for `notes`: shapes of `originalVml` that are not notes are kept, the shape of
// a note read from it is kept too (moved with its note), and new notes get new shapes with ids
// above every id in use and at least `shapeBase` (a multiple of 1024 unique in the workbook).
void WriteVml(DeflateStream& out, std::string_view originalVml, const std::vector<StoredNote>& notes,
              int shapeBase);

}  // namespace xl
