#pragma once
// The update of a drawing from the workbooks it is linked to, without a dialog: the comments an
// export left name references and attributes, and their cells hold the values to take. The
// update for the workbook links on references runs at each drawing load while AutoUpdateAtt is
// set; the one for the drawing link keeps what it read in the module's cache.
#include "attbat/import/ImportByHandle.h"

namespace attbat {

// Reads the attached sheet's comment lines that name an attribute ("_" past the first
// character) or, unless `ignoreProperties`, a property (":"), with the text each cell shows.
// A comment that can't be read is told on the command line and the next one follows; false
// when the sheet's comments can't be had at all (told in a box). `map` is left sorted either way.
bool ReadCommentAndText(ImportMap& map, bool ignoreProperties);

// Brings the current drawing's references up to date from every workbook their links name:
// each sheet of each workbook, attributes only while AutoUpdateIgnoreProp is set, for the
// current drawing only, with no link written and no skipped keys told. A drawing without links
// touches no workbook; a missing workbook is told and the others follow. The running
// spreadsheet is left as it was found: its active workbook, and no workbook or instance the
// update had to open.
void UpdateAttributesFromLink2();

// Brings the working drawing up to date from its drawing link. The workbook's comments are read
// again only when its modification time or size changed since they were kept; the cache is
// dropped when more whole minutes than ClearCacheInterval passed since its last use.
void UpdateAttributesFromLink();

}  // namespace attbat
