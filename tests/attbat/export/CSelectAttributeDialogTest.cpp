#include "attbat/export/CSelectAttributeDialog.h"

#include <gtest/gtest.h>

#include "ExportTestSupport.h"
#include "attbat/model/AcadBlockArray.h"

namespace attbat {
namespace {

using testing::Att;
using testing::Block;
using testing::MapSettings;
using testing::Row;
using testing::WizardFixture;

// DOOR offers MARK (valued), NOTE (never valued) and the dynamic property Width.
AcadBlock Door() {
    AcadBlock block = Block("DOOR", {"MARK", "NOTE"});
    block.defs.AddAppend(AcadAttributeDef("Width", "Width", Point3d{}, 0, 1, 0, 0, 2));
    AcadBlockRef row = Row("1A0");
    row.attributes.Add(Att("MARK", "D1", 0, "2A0"));
    row.attributes.Add(Att("NOTE", "", 0, "2A1"));
    row.attributes.Add(Att("Width", "900"));
    block.refs.Add(row);
    return block;
}

std::vector<std::string> Texts(const CSelectAttributeDialog& dialog) {
    std::vector<std::string> texts;
    for (const auto& row : dialog.m_tagList) texts.push_back(row.text);
    return texts;
}

std::vector<std::string> Unticked(const AcadBlockView& view) {
    std::vector<std::string> tags;
    for (const AcadAttDefTag& tag : view.unselectedTags) tags.push_back(tag.DisplayName());
    return tags;
}

// The dialog over DOOR alone, as the "..." button opens it with DOOR ticked.
struct DoorDialog {
    MapSettings settings;
    AcadBlockView view;
    AcadBlockArray blocks;
    AcadAttDefTagArray all;
    AcadAttDefTagArray noValue;

    DoorDialog() {
        blocks.Add(Door());
        CollectTickedTags(blocks, tables::CStringArrayEx{"DOOR"}, all, noValue);
    }
    CSelectAttributeDialog Open() { return CSelectAttributeDialog(view, settings, all, noValue); }
};

TEST(CSelectAttributeDialog, TagListLeavesOutPropertiesAndNoValueListHoldsTagsNeverValued) {
    DoorDialog d;
    std::vector<std::string> all;
    for (const AcadAttDefTag& tag : d.all) all.push_back(tag.DisplayName());
    EXPECT_EQ(all, (std::vector<std::string>{"MARK", "NOTE", "Width"}));
    ASSERT_EQ(d.noValue.GetSize(), 1);
    EXPECT_EQ(d.noValue[0].tag, "NOTE");
}

TEST(CSelectAttributeDialog, FillWithBothBoxesOnHidesTagsWithoutValueAndShowsDynamicProperties) {
    DoorDialog d;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    EXPECT_EQ(dialog.m_removeNoValue, 1);
    EXPECT_EQ(dialog.m_dynamicProperties, 1);
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "Width"}));
    for (const auto& row : dialog.m_tagList) EXPECT_TRUE(row.checked) << row.text;
}

TEST(CSelectAttributeDialog, FillWithBothBoxesOffListsEveryAttributeButNoDynamicProperty) {
    DoorDialog d;
    d.view.unselNoValueAtts = 0;
    d.view.selectDynProperties = 0;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "NOTE"}));
}

TEST(CSelectAttributeDialog, EachBoxClickRefillsTheListAndReachesTheView) {
    DoorDialog d;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    dialog.SetRemoveNoValue(false);
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "NOTE", "Width"}));
    EXPECT_EQ(d.view.unselNoValueAtts, 0);
    dialog.SetDynamicProperties(false);
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "NOTE"}));
    EXPECT_EQ(d.view.selectDynProperties, 0);
    dialog.SetDynamicProperties(true);
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "NOTE", "Width"}));
}

TEST(CSelectAttributeDialog, PropertiesAreNeverListedWhateverTheBoxes) {
    DoorDialog d;
    d.view.unselNoValueAtts = 0;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    for (const auto& row : dialog.m_tagList) {
        EXPECT_NE(row.tag.kind, 1) << row.text;
        EXPECT_NE(row.text, "Position X");
        EXPECT_NE(row.text, "Layer");
    }
    EXPECT_EQ(dialog.m_tagList.size(), 3u);
}

TEST(CSelectAttributeDialog, DynamicPropertyIsListedOnlyWithDynamicProperties) {
    DoorDialog d;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    ASSERT_EQ(Texts(dialog).back(), "Width");
    EXPECT_EQ(dialog.m_tagList.back().tag.kind, 2);
    dialog.SetDynamicProperties(false);
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK"}));
}

TEST(CSelectAttributeDialog, RowsStartUntickedForTagsTheViewLeavesOut) {
    DoorDialog d;
    d.view.unselectedTags.Add(AcadAttDefTag("Width", 0, 2));
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    ASSERT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "Width"}));
    EXPECT_TRUE(dialog.m_tagList[0].checked);
    EXPECT_FALSE(dialog.m_tagList[1].checked);
}

TEST(CSelectAttributeDialog, ClearAllUnticksEveryRow) {
    DoorDialog d;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    dialog.ClearAll();
    for (const auto& row : dialog.m_tagList) EXPECT_FALSE(row.checked) << row.text;
    dialog.OnOK();
    EXPECT_EQ(Unticked(d.view), (std::vector<std::string>{"MARK", "Width"}));
}

TEST(CSelectAttributeDialog, OkDropsAnUntickedTagThatIsNotListedAtThatMoment) {
    DoorDialog d;
    // NOTE was left out earlier; now it has no value and the list doesn't show it.
    d.view.unselectedTags.Add(AcadAttDefTag("NOTE", 0, 0));
    d.view.unselectedTags.Add(AcadAttDefTag("GONE", 0, 0));
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    ASSERT_EQ(dialog.Tick("MARK", false), 1);
    dialog.OnOK();
    EXPECT_EQ(Unticked(d.view), (std::vector<std::string>{"MARK"}));
    EXPECT_EQ(d.view.unselectedTags[0].kind, 0);
}

TEST(CSelectAttributeDialog, CancelKeepsTheBoxesInTheViewButStoresNothing) {
    DoorDialog d;
    d.view.unselectedTags.Add(AcadAttDefTag("MARK", 0, 0));
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    dialog.SetRemoveNoValue(false);
    dialog.SetDynamicProperties(false);
    dialog.Tick("MARK", true);
    dialog.Tick("NOTE", false);
    dialog.OnCancel();
    EXPECT_EQ(d.view.unselNoValueAtts, 0);
    EXPECT_EQ(d.view.selectDynProperties, 0);
    EXPECT_EQ(Unticked(d.view), (std::vector<std::string>{"MARK"}));
    EXPECT_TRUE(d.settings.values.empty());
}

TEST(CSelectAttributeDialog, OkStoresBothBoxesAndTheUntickedRowsWithTheirKind) {
    DoorDialog d;
    CSelectAttributeDialog dialog = d.Open();
    dialog.OnInitDialog();
    dialog.SetRemoveNoValue(false);
    dialog.Tick("Width", false);
    dialog.OnOK();
    EXPECT_EQ(d.settings.Get("UnSelNoValueAtts"), "0");
    EXPECT_EQ(d.settings.Get("SelectDynProperties"), "1");
    EXPECT_EQ(d.settings.values.size(), 2u);
    ASSERT_EQ(Unticked(d.view), (std::vector<std::string>{"Width"}));
    EXPECT_EQ(d.view.unselectedTags[0].kind, 2);

    // The next wizard's view starts from what OK stored.
    AcadBlockView next;
    next.LoadFromSettings(d.settings);
    EXPECT_EQ(next.unselNoValueAtts, 0);
    EXPECT_EQ(next.selectDynProperties, 1);
}

TEST(CSelectAttributeDialog, LaterTagOfTheSameNameShowsItsDupFormAndIsTickedByIt) {
    MapSettings settings;
    AcadBlockView view;
    view.unselNoValueAtts = 0;
    AcadBlockArray blocks;
    blocks.Add(Block("PANEL", {"CIRCUIT", "CIRCUIT", "NO."}));
    AcadAttDefTagArray all, noValue;
    CollectTickedTags(blocks, tables::CStringArrayEx{"panel"}, all, noValue);
    CSelectAttributeDialog dialog(view, settings, all, noValue);
    dialog.OnInitDialog();
    ASSERT_EQ(Texts(dialog), (std::vector<std::string>{"CIRCUIT", "CIRCUIT_Dup(1)", "NO."}));
    // The exact text hits one row; as a wildcard "CIRCUIT*" hits both.
    EXPECT_EQ(dialog.Tick("CIRCUIT_Dup(1)", false), 1);
    EXPECT_EQ(dialog.Tick("NO.", false), 1);
    EXPECT_EQ(dialog.Tick("circuit*", false), 2);
    EXPECT_EQ(dialog.Tick("DOOR", false), 0);
    dialog.OnOK();
    ASSERT_EQ(view.unselectedTags.GetSize(), 3);
    EXPECT_EQ(view.unselectedTags[1].tag, "CIRCUIT");
    EXPECT_EQ(view.unselectedTags[1].dupIndex, 1);
}

TEST(CSelectAttributeDialog, OpenedFromTheWizardListsTheTagsOfTickedBlocksOnly) {
    WizardFixture f;
    AcadBlock window = testing::BlockWithRows("WINDOW", {"W1"});
    window.defs.AddAppend(AcadAttributeDef("SILL", "Sill", Point3d{5.0, 0.0, 0.0}, 0, 0, 0, 0, 0));
    window.refs[0].attributes.Add(Att("SILL", "900"));
    f.Start({Door(), window});
    f.wizard.GoNext();
    f.wizard.m_attributePage.Tick("WINDOW", false);

    CSelectAttributeDialog dialog(f.wizard);
    dialog.OnInitDialog();
    EXPECT_EQ(Texts(dialog), (std::vector<std::string>{"MARK", "Width"}));
    ASSERT_EQ(dialog.NoValueTags().GetSize(), 1);
    EXPECT_EQ(dialog.NoValueTags()[0].tag, "NOTE");

    f.wizard.m_attributePage.Tick("WINDOW", true);
    CSelectAttributeDialog both(f.wizard);
    both.OnInitDialog();
    EXPECT_EQ(Texts(both), (std::vector<std::string>{"MARK", "Width", "SILL"}));
}

TEST(CSelectAttributeDialog, WithoutACollectionTheListIsEmptyAndOkEmptiesTheUntickedTags) {
    WizardFixture f;
    f.wizard.m_view.unselectedTags.Add(AcadAttDefTag("MARK", 0, 0));
    ASSERT_EQ(f.wizard.m_activeBlocks, nullptr);
    CSelectAttributeDialog dialog(f.wizard);
    dialog.OnInitDialog();
    EXPECT_TRUE(dialog.m_tagList.empty());
    dialog.OnOK();
    EXPECT_TRUE(f.wizard.m_view.unselectedTags.IsEmpty());
}

TEST(CSelectAttributeDialog, UntickedTagLeavesThePreviewAfterOk) {
    WizardFixture f;
    f.Start({Door()});
    f.wizard.GoNext();
    CSelectAttributeDialog dialog(f.wizard);
    dialog.OnInitDialog();
    dialog.Tick("MARK", false);
    dialog.OnOK();
    f.wizard.GoNext();
    const CAttPreviewPage& preview = f.wizard.m_previewPage;
    ASSERT_GE(preview.RowCount(), 1);
    std::vector<std::string> header;
    for (int p = 0; p < preview.ColumnCount(); ++p) header.emplace_back(preview.TextAt(0, p));
    EXPECT_EQ(header, (std::vector<std::string>{"Block Name", "Quantity", "Width"}));
}

}  // namespace
}  // namespace attbat
