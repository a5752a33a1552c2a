#pragma once
// Velmar_FindEntByHandle (`velmar find-handle`): shows an entity by the handle a worksheet
// comment holds, and leaves the drawing's view on it.
#include <string>
#include <string_view>

namespace host {
class Editor;
}

namespace attbat {

// The handle an input names: "<" and ">" trimmed off both ends, then cut at a "_" that stands
// after the first character ("2F4_TAG" gives "2F4"); at most 134 characters are looked at.
std::string HandleFromInput(std::string_view input);
// Asks for a handle, prints the entity's type, layer, block and extents and makes its extents
// the current document's view. Returns 0 when the entity was shown, 1 when the prompt was
// cancelled, there is no current drawing or the handle names no entity (the view stays).
int Velmar_FindEntByHandle(host::Editor& editor);
// The same for a handle typed in advance (the command's argument), without the prompt.
int FindEntByHandle(std::string_view input);

}  // namespace attbat
