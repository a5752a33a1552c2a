#include "attbat/export/CExportOptionsDialog.h"

#include <gtest/gtest.h>

#include "../model/ModelTestSupport.h"

namespace attbat {
namespace {

using testing::MapSettings;

TEST(CExportOptionsDialog, FreshSettingsGiveTheDefaults) {
    MapSettings settings;
    CExportOptionsDialog dialog(settings);
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_options.workbookOption, 0);
    EXPECT_EQ(dialog.m_options.worksheetOption, 1);
    EXPECT_EQ(dialog.m_startColumn, "A");
    EXPECT_EQ(dialog.m_startRowText, "1");
    EXPECT_TRUE(settings.values.empty());  // opening stores nothing
}

TEST(CExportOptionsDialog, StoredStartColumnComesBackInUpperCaseAndRowBelowOneAsLastFilledRow) {
    MapSettings settings;
    settings.SetString("Velmar", "ExportStartCol", "ab");
    settings.SetInt("Velmar", "ExportStartRow", 0);
    CExportOptionsDialog dialog(settings);
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_startColumn, "AB");
    EXPECT_EQ(dialog.m_startRowText, "Last Filled Row");
}

TEST(CExportOptionsDialog, OkRepairsTheFieldsAndStoresAllSeven) {
    MapSettings settings;
    CExportOptionsDialog dialog(settings);
    dialog.OnInitDialog();
    dialog.m_startColumn = "$$";
    dialog.m_startRowText = "-4";
    dialog.m_options.applyBorder = 1;
    dialog.OnOK();
    EXPECT_EQ(settings.Get("ExportStartCol"), "A");
    EXPECT_EQ(settings.Get("ExportStartRow"), "1");
    EXPECT_EQ(settings.Get("ApplyBorder"), "1");
    for (const char* name : {"MergeBlockName", "AddHyperlinkToDrawingPath", "ExportWorkbookOpt", "WorksheetOpt"}) {
        EXPECT_TRUE(settings.Has(name)) << name;
    }
}

TEST(CExportOptionsDialog, LastFilledRowInAnyCaseBecomesMinusOne) {
    MapSettings settings;
    CExportOptionsDialog dialog(settings);
    dialog.OnInitDialog();
    dialog.m_startRowText = "last filled ROW";
    dialog.m_startColumn = "c";
    dialog.OnOK();
    EXPECT_EQ(settings.Get("ExportStartRow"), "-1");
    EXPECT_EQ(settings.Get("ExportStartCol"), "C");
    dialog.m_startRowText = "12 rows";
    dialog.OnOK();
    EXPECT_EQ(settings.Get("ExportStartRow"), "12");
}

}  // namespace
}  // namespace attbat
