#pragma once
// The notes of a sheet: the comments part (authors and texts) and the VML drawing that shows
// them. Note shapes are rewritten; every other VML shape (buttons, pictures) is kept as it was.

#include <string>
#include <string_view>
#include <vector>

#include "base/Status.h"
#include "xl/Worksheet.h"

namespace xl {

// The notes of a comments part in file order; a malformed part is an error naming `label`.
base::Result<std::vector<Note>> ReadNotes(std::string_view xml, std::string_view label);
// A comments part for `notes`, streamed as text.
std::string WriteComments(const std::vector<Note>& notes);
// The VML drawing for `notes`: shapes of `originalVml` that are not notes are kept, note shapes
// are written fresh with shape ids from `shapeBase` (a multiple of 1024 unique in the workbook).
std::string WriteVml(std::string_view originalVml, const std::vector<Note>& notes, int shapeBase);

}  // namespace xl
