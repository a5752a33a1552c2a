// Import by handle and dynamic block properties: the dry run lists what the writer would set.
#include "attbat/import/ImportByHandle.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "../export/ExportTestSupport.h"
#include "attbat/model/AcadBlockRefArray.h"
#include "host/Document.h"

namespace attbat {
namespace {

TEST(ImportByHandleDynamic, ADryRunListsTheDynamicPropertiesARowWouldChange) {
    testing::TempFolder temp;
    const std::string plan = temp / "plan.dxf";
    std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/acadsharp-sample-ac1032.dxf", plan);
    auto doc = host::DocumentManager::Instance().OpenCurrent(plan);
    ASSERT_TRUE(doc) << doc.GetStatus().Message();
    AcadBlockRefArray rows;
    rows.AddValue(plan, "ABA", "Dynamic-Diameter", "5", false);
    rows.AddValue(plan, "ABA", "custom_visibility", "visibility_state_default", false);
    rows.AddValue(plan, "AC5", "custom_visibility", "visibility_state_hide_all", false);
    const std::vector<ImportChange> changes = ListImportChanges(rows);
    host::DocumentManager::Instance().CloseAll();
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].handle, "ABA");
    EXPECT_EQ(changes[0].field, "Dynamic-Diameter");
    EXPECT_EQ(changes[0].oldValue, "1.9998");
    EXPECT_EQ(changes[0].newValue, "5");
    EXPECT_EQ(changes[1].handle, "AC5");
    EXPECT_EQ(changes[1].oldValue, "visibility_state_default");
}

}  // namespace
}  // namespace attbat
