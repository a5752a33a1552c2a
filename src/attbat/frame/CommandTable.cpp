#include "attbat/frame/CommandTable.h"

#include <iterator>

#include "base/Text.h"

namespace attbat {

namespace {

constexpr CommandEntry table[] = {
    {"Velmar", "_VelmarOut", "VelmarOut", ACRX_CMD_MODAL, "export", "",
     "Export block attributes to a worksheet or a table (schedule wizard)"},
    {"Velmar", "_Velmar_UploadToExcel", "Velmar_UploadToExcel", ACRX_CMD_MODAL, "upload", "",
     "Upload changed attribute values to the linked workbook"},
    {"Velmar", "_Velmar_ExportAttDefs", "Velmar_ExportAttDefs", ACRX_CMD_MODAL, "export-attdefs",
     "", "Export attribute definitions of blocks to a worksheet"},
    // The global name has the capital the local one lacks.
    {"Velmar", "_Velmar_ImportAttDefs", "Velmar_importAttDefs", ACRX_CMD_MODAL, "import-attdefs",
     "", "Import attribute definitions from a worksheet"},
    {"Velmar", "_Velmar_Options", "Velmar_Options", ACRX_CMD_MODAL, "options", "",
     "Show or change the export and upload options"},
    {"Velmar", "_VelmarInByHandle", "VelmarInByHandle", ACRX_CMD_MODAL, "import-by-handle", "",
     "Import worksheet values by entity handle (the keys left by an export)"},
    {"Velmar", "_VelmarInByVal", "VelmarInByVal", ACRX_CMD_MODAL, "import-by-key",
     "import-by-value", "Import worksheet values by the value of a key attribute"},
    {"Velmar", "_VelmarInsertBlocks", "VelmarInsertBlocks", ACRX_CMD_MODAL, "insert-blocks", "",
     "Insert or update blocks from worksheet rows"},
    {"Velmar", "_Velmar_Debug", "Velmar_Debug", ACRX_CMD_MODAL, "debug", "",
     "Turn the session log on or off"},
    {"Velmar", "_Velmar_Links", "Velmar_Links", ACRX_CMD_MODAL, "links", "",
     "List and update the links between drawings and workbooks"},
    {"Velmar", "_Velmar_AutoNumber", "Velmar_AutoNumber", ACRX_CMD_MODAL, "auto-number", "",
     "Number attributes and texts automatically"},
    {"Velmar", "_Velmar_Test", "Velmar_Test", ACRX_CMD_SESSION, "test", "",
     "Diagnose the connection to the running spreadsheet"},
    {"Velmar", "_Velmar_UpdateParamsInDynamicBlocks", "Velmar_UpdateParamsInDynamicBlocks",
     ACRX_CMD_MODAL, "update-dynamic-blocks", "", "Update the parameters of dynamic blocks"},
    {"Velmar", "_Velmar_CountBlocks", "Velmar_CountBlocks", ACRX_CMD_MODAL, "count-blocks", "",
     "Count blocks into a worksheet"},
    {"Velmar", "_Velmar_ExportPoints", "Velmar_ExportPoints", ACRX_CMD_MODAL, "export-points", "",
     "Export point coordinates to a worksheet or a text file"},
    {"Velmar", "_Velmar_AddNewAtts", "Velmar_AddNewAtts", ACRX_CMD_MODAL, "add-attributes", "add-new-atts",
     "Add attribute definitions to blocks"},
    {"Velmar", "_Velmar_FindEntByHandle", "Velmar_FindEntByHandle", ACRX_CMD_MODAL, "find", "",
     "Find an entity by its handle"},
    {"CellBlock", "_CreateAttsFromExcel", "CreateAttsFromExcel", ACRX_CMD_MODAL,
     "create-cell-block", "", "Make a block from worksheet cells"},
    {"CellBlock", "_UpdateCellBlockAtts", "UpdateCellBlockAtts", ACRX_CMD_MODAL,
     "update-cell-block", "", "Update a cell block from its worksheet cells"},
    {"CellBlock", "_GetCellBlockInfo", "GetCellBlockInfo", ACRX_CMD_MODAL, "cell-block-info", "",
     "Show where a cell block's values come from"},
    {"CellBlock", "_UpdateCellAttsToExcel", "UpdateCellAttsToExcel", ACRX_CMD_MODAL,
     "upload-cell-block", "", "Write a cell block's values back to its cells"},
    {"Orvane", "_Velmar_Website", "Velmar_Website", ACRX_CMD_MODAL, "website", "",
     "Open the maker's web site"},
    {"Orvane", "_Velmar_About", "Velmar_About", ACRX_CMD_MODAL, "about", "",
     "Show the product name and version"},
    {"Orvane", "_Velmar_Support", "Velmar_Support", ACRX_CMD_MODAL, "support", "",
     "Write to support"},
    {"Orvane", "_Velmar_Faq", "Velmar_Faq", ACRX_CMD_MODAL, "faq", "",
     "Open the frequently asked questions"},
    {"Orvane", "_Velmar_New", "Velmar_New", ACRX_CMD_MODAL, "whats-new", "",
     "Open what is new in this version"},
    {"Orvane", "_Velmar_Demo", "Velmar_Demo", ACRX_CMD_MODAL, "demo", "", "Open the demonstration"},
    {"Orvane", "_Velmar_Help", "Velmar_Help", ACRX_CMD_MODAL, "help", "",
     "List the commands, or the options of one (velmar help COMMAND)"},
    {"Orvane", "_Velmar_Live_Update", "Velmar_Live_Update", ACRX_CMD_MODAL, "live-update", "",
     "Check for a newer version"},
    {"Orvane", "_Velmar_LoadMenu", "Velmar_LoadMenu", ACRX_CMD_MODAL, "load-menu", "",
     "Load the menu group (there is none on Linux; says so)"},
};

// Dialogs the host opens only from other dialogs; the command line reaches them on their own.
// They are never registered with the host.
constexpr CommandEntry dialogs[] = {
    {"Dialogs", "", "CImpExOptDialog", ACRX_CMD_MODAL, "import-options", "",
     "Set the header texts of the position, layer and scale columns"},
    // The wizard's "Update AutoCAD Table", for tables the export made.
    {"Dialogs", "", "UpdateTable", ACRX_CMD_MODAL, "refresh-table", "",
     "Refill the tables the export made from the drawings as they are now"},
};

constexpr std::string_view groups[] = {"Velmar", "CellBlock", "Orvane"};

bool Names(const CommandEntry& entry, std::string_view name) {
    return base::EqualNoCase(entry.localName, name) || base::EqualNoCase(entry.globalName, name) ||
           base::EqualNoCase(entry.alias, name) ||
           (!entry.otherAlias.empty() && base::EqualNoCase(entry.otherAlias, name));
}

}  // namespace

std::span<const CommandEntry> CommandTable() { return table; }

std::span<const std::string_view> CommandGroups() { return groups; }

std::span<const CommandEntry> DialogTable() { return dialogs; }

bool IsDialogEntry(const CommandEntry& entry) {
    return &entry >= std::begin(dialogs) && &entry < std::end(dialogs);
}

const CommandEntry* FindCommandEntry(std::string_view name) {
    if (name.empty()) return nullptr;
    for (const CommandEntry& entry : table)
        if (Names(entry, name)) return &entry;
    for (const CommandEntry& entry : dialogs)
        if (Names(entry, name)) return &entry;
    return nullptr;
}

}  // namespace attbat
