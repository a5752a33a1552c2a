#include "attbat/links/LinkCommands.h"

#include "attbat/frame/CAttBatApp.h"
#include "attbat/links/LinkUpdate.h"
#include "attbat/links/LinksCommand.h"
#include "attbat/links/UploadCommand.h"
#include "attbat/links/UploadToExcel.h"

namespace attbat {

void ImplementLinkCommands(CAttBatApp& app) {
    app.Implement("Velmar_UploadToExcel", {UploadControls(), "", UploadToExcelCommand});
    app.Implement("Velmar_Links", {LinksControls(), "", LinksCommand});
    app.SetAutoUpdate(UpdateAttributesFromLink2);
    app.SetAutoUpload(AutoUpload);
}

}  // namespace attbat
