#pragma once
// Reading a drawing file back in the import tests.

#include <string>

#include "arxutils/ArxUtils.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"

namespace attbat::testing {

// The text of attribute `tag` on the reference `handle` of the drawing file.
inline std::string AttText(const std::string& path, const std::string& handle, const std::string& tag) {
    auto db = cad::Database::Open(path);
    if (!db) return "(unreadable)";
    cad::Object object = arxutils::HandleToId(**db, handle);
    if (!object) return "(no reference)";
    cad::Attribute attribute = cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute(tag);
    return attribute ? attribute.TextString() : std::string("(no attribute)");
}

}  // namespace attbat::testing
