#pragma once
// Where a font named by a drawing lives on this machine: a path as it stands, else the file the
// system's font configuration (fontconfig) gives for its name ("arial.ttf", "Arial", "simplex").

#include <string>
#include <string_view>

namespace fonts {

// The file of the font `name`: `name` itself when it is a readable file, else fontconfig's best
// match for the name without its folder and extension. "" when fontconfig has no font at all.
// The match may be a stand-in of another family: FontFileMatches tells.
std::string FindFontFile(std::string_view name);
// True when `file` is the font `name` asks for (same base name, or same family), not a
// stand-in fontconfig chose.
bool FontFileMatches(std::string_view name, std::string_view file);

}  // namespace fonts
