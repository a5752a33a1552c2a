#pragma once
// The commands of the links: the upload, the dialog "Links", and the two automatic roads the
// module runs at a drawing's load.

namespace attbat {

class CAttBatApp;

// Gives Velmar_UploadToExcel and Velmar_Links their work, and the module its automatic link
// update and upload.
void ImplementLinkCommands(CAttBatApp& app);

}  // namespace attbat
