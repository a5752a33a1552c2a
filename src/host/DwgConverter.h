#pragma once
// DWG drawings through converters the user names: no DWG library is at hand, so a DWG drawing
// is turned into a temporary DXF to be read, and a changed one is written back through the
// reverse converter. Each converter is a shell command with {in} and {out} standing for the
// files; without one a DWG drawing is refused (reading) or left unchanged (saving).

#include <memory>
#include <string>
#include <string_view>

#include "base/Status.h"
#include "cad/Database.h"

namespace host {

struct DwgConverters {
    std::string toDxf;  // DWG -> DXF, such as "dwg2dxf {in} -o {out}"; "" for none
    std::string toDwg;  // DXF -> DWG; "" for none
};

// The converters of this run; none until set.
void SetDwgConverters(DwgConverters converters);
const DwgConverters& CurrentDwgConverters();

// True for a path ending in ".dwg", without regard to case.
bool IsDwgPath(std::string_view path);
// True for a drawing this run can read by its name: a .dxf file, or a .dwg one while a DWG
// converter is set (a folder's drawings are gathered by it).
bool IsReadableDrawingName(std::string_view path);
// Why a DWG drawing can't be read: no DWG-to-DXF converter is set. Ok for any other path, or
// when one is set.
base::Status RefuseUnconvertibleDwg(const std::string& path);
// Reads the DWG drawing `path` through the DWG-to-DXF converter; the database keeps the DWG's
// name, so keys and saves name the user's file. The converter's failure is said with its command.
base::Result<std::unique_ptr<cad::Database>> ReadDwgDrawing(const std::string& path);
// Writes `db` to the DWG drawing `target` through the DXF-to-DWG converter, replacing it only
// when the converter made a file (`backup`, when not "", keeps the old one); refused, with
// `target` unchanged, when no such converter is set.
base::Status SaveDwgDrawing(const cad::Database& db, const std::string& target, const std::string& backup);

}  // namespace host
