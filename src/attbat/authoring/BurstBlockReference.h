#pragma once
// Bursting a reference into what it shows: its attributes and its block's constant attribute
// definitions become texts, the rest of its block becomes plain entities in the reference's
// space, and the reference goes.
#include "cad/BlockReference.h"
#include "cad/BlockRecord.h"

namespace attbat {

// The text that shows `attribute`, appended to `space`: height, justification, oblique angle,
// horizontal and vertical mode, rotation, style, string and width factor taken over, placed at
// its position (left, aligned or fit on the baseline) or its alignment point. A multi-line
// attribute gives none and says so on the command line. False when no text was made.
bool AttributeToText(const cad::AttributeBase& attribute, cad::BlockRecord& space);
// Bursts `reference`: the pieces of its block in its space (constant attribute definitions as
// texts, the others left out), its attributes as texts, and the reference erased. A block
// without attribute definitions isn't burst and stays a reference (false); so does one the
// explode refuses, said on the command line, with nothing made.
bool BurstBlockReference(cad::BlockReference& reference);

}  // namespace attbat
