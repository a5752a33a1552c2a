#include "attbat/frame/COptionsDialog.h"

#include "FrameFixture.h"

namespace {

using attbat::COptionsDialog;
using attbat::CRegistry;

class COptionsDialogTest : public FrameTest {};

TEST_F(COptionsDialogTest, ConstructorChecksOnlyExportBlocksInMLeaders) {
    COptionsDialog dialog;
    EXPECT_TRUE(dialog.m_exportBlocksInMLeader);
    EXPECT_FALSE(dialog.m_calOuterPolygon);
    EXPECT_FALSE(dialog.m_updateDrawingPathsInExcel);
    EXPECT_FALSE(dialog.m_autoUploadToActiveWorkbook);
}

TEST_F(COptionsDialogTest, OpeningReadsTheStoredValues) {
    CRegistry::SetInt("Velmar", "ExportBlocksInMLeader", 0);
    CRegistry::SetInt("Velmar", "AutoUploadToActiveWorkbook", 1);
    COptionsDialog dialog;
    dialog.OnInitDialog();
    EXPECT_FALSE(dialog.m_exportBlocksInMLeader);
    EXPECT_FALSE(dialog.m_calOuterPolygon);
    EXPECT_TRUE(dialog.m_autoUploadToActiveWorkbook);
}

TEST_F(COptionsDialogTest, OkWritesAllFour) {
    COptionsDialog dialog;
    dialog.OnInitDialog();
    dialog.m_calOuterPolygon = true;
    ASSERT_TRUE(dialog.OnOK());
    EXPECT_EQ(CRegistry::GetInt("Velmar", "ExportBlocksInMLeader", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", -1), 1);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "UpdateDrawingPathsInExcel", -1), 0);
    EXPECT_EQ(CRegistry::GetInt("Velmar", "AutoUploadToActiveWorkbook", -1), 0);
}

TEST_F(COptionsDialogTest, CancelWritesNothing) {
    COptionsDialog dialog;
    dialog.OnInitDialog();
    dialog.m_calOuterPolygon = true;
    dialog.OnCancel();
    EXPECT_EQ(CRegistry::GetInt("Velmar", "CalOuterPolygon", -1), -1);
}

}  // namespace
