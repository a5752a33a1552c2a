#pragma once
// The cell block commands: a worksheet range made a block (CreateAttsFromExcel), its values
// taken from the sheet (UpdateCellBlockAtts) and given back to it (UpdateCellAttsToExcel), and
// where it comes from (GetCellBlockInfo).

namespace attbat {

class CAttBatApp;

// Gives the four commands their work.
void ImplementCellBlockCommands(CAttBatApp& app);

}  // namespace attbat
