#pragma once
// Velmar_importAttDefs: the definition comments of the active sheet read back with their cells'
// texts, and the tags, prompts and default values they name written to their drawings.
#include <string>
#include <vector>

#include "arxutils/ExcelUtils.h"
#include "attbat/model/AcadAttributeDefArray.h"

namespace attbat {

// One change a record makes, for what a dry run shows and a summary tells.
struct AttDefChange {
    std::string drawing;
    std::string handle;
    std::string field;  // "Tag", "Prompt" or "DefaultValue"
    std::string before;
    std::string after;
};

// The update list of a map of comment lines to cell texts: one record per drawing and handle
// (found without regard to case), its tag, prompt or default value set from each line's field
// ("Tag", "Prompt", "DefaultValue", without regard to case; others set nothing). Lines that
// don't parse are passed over.
AcadAttributeDefArray BuildAttDefUpdates(const arxutils::KeyLines& map);
// Writes the records to their drawings, those whose files exist: the current one in place,
// others read, changed and saved in their own version. A non-empty field that differs (exact
// comparison) is set; an empty one never is. With `write` false nothing changes and the
// changes are only listed.
std::vector<AttDefChange> WriteAttDefUpdates(const AcadAttributeDefArray& records, bool write);
// The whole command after its question: attach, ask, read, release, apply. False when it
// stopped (a message said why) or the user said no (then `declined`).
bool ImportAttDefsByHandle(bool write, std::vector<AttDefChange>& changes, bool& declined);

}  // namespace attbat
