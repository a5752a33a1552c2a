#pragma once
// What the selection prompt of auto numbering picks, given as text: handles ("1F0,2A4", in the
// order given) or a filter ("block=DOOR layer=A-*", "type=TEXT", "all"), always narrowed to
// block references and single-line texts as the prompt's own filter is.

#include <string_view>
#include <vector>

#include "cad/Entity.h"

namespace cad {
class Database;
}

namespace attbat {

// The name numbering counts a reference's block by: the dynamic block behind an anonymous copy,
// so that all its variants count as one block; else the block's own name.
std::string NumberingBlockName(const cad::Entity& reference);

// The references and texts `answer` picks in `db`, in the order given (handles) or the drawing's
// (a filter). What can't be picked (an unknown handle, another kind of object, a filter word
// not understood) is said on the command line and left out; "" picks nothing.
std::vector<cad::Entity> SelectTextsAndReferences(cad::Database& db, std::string_view answer);

}  // namespace attbat
