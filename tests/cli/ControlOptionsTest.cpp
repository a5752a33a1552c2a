// Options read by the kind of the control they stand for.

#include "cli/ControlOptions.h"

#include <gtest/gtest.h>

#include "attbat/export/ExportCommands.h"
#include "attbat/frame/CAttBatApp.h"
#include "cli/HelpTexts.h"

namespace cli {
namespace {

using attbat::Control;
using attbat::ControlKind;
using attbat::ControlValues;

TEST(ControlOptions, ACheckBoxTakesOnOrOffInAnyOfTheUsualWords) {
    ControlValues values;
    Control box{"border", ControlKind::Check, "Apply border"};
    EXPECT_EQ(SetControlOption(values, box, "Yes"), "");
    EXPECT_EQ(values.Check("border"), true);
    EXPECT_EQ(SetControlOption(values, box, "0"), "");
    EXPECT_EQ(values.Check("border"), false);
    EXPECT_EQ(SetControlOption(values, box, "maybe"), "--border takes on or off, not 'maybe'.");
    EXPECT_EQ(values.Check("missing"), std::nullopt);
}

TEST(ControlOptions, AChoiceIsOneOfItsWordsWithoutRegardToCaseByIndex) {
    ControlValues values;
    Control source{"source", ControlKind::Choice, "Source", {"current", "objects", "drawings"}};
    EXPECT_EQ(SetControlOption(values, source, "Drawings"), "");
    EXPECT_EQ(values.Choice("source"), 2);
    EXPECT_EQ(SetControlOption(values, source, "elsewhere"),
              "--source takes one of current, objects, drawings, not 'elsewhere'.");
    EXPECT_EQ(values.Choice("source"), 2);
}

TEST(ControlOptions, AListIsSplitAtCommasAndARepeatableOneAddsUp) {
    ControlValues values;
    Control tick{"tick", ControlKind::List, "blocks", {}, "NAMES", true};
    Control order{"column-order", ControlKind::List, "order", {}, "LETTERS"};
    EXPECT_EQ(SetControlOption(values, tick, " DOOR , ,WIN*"), "");
    EXPECT_EQ(SetControlOption(values, tick, "TAG"), "");
    EXPECT_EQ(values.List("tick"), (std::vector<std::string>{"DOOR", "WIN*", "TAG"}));
    EXPECT_EQ(SetControlOption(values, order, "A,B"), "");
    EXPECT_EQ(SetControlOption(values, order, "C"), "");
    EXPECT_EQ(values.List("column-order"), (std::vector<std::string>{"C"}));
}

TEST(ControlOptions, TextIsKeptAsGivenAndAButtonIsPressed) {
    ControlValues values;
    EXPECT_EQ(SetControlOption(values, {"block-wildcard", ControlKind::Text, "Match", {}, "PATTERN"}, " D* "), "");
    EXPECT_EQ(values.Text("block-wildcard"), " D* ");
    EXPECT_EQ(values.Text("save-list", "none"), "none");
    EXPECT_FALSE(values.Pressed("preview"));
    EXPECT_EQ(SetControlOption(values, {"preview", ControlKind::Button, "Preview"}, ""), "");
    EXPECT_TRUE(values.Pressed("preview"));
}

TEST(ControlOptions, EveryControlOfACommandIsAnOptionInItsHelpWithItsLabel) {
    attbat::CAttBatApp app;
    attbat::ImplementExportCommands(app);
    std::string help = CommandHelpText(app, *attbat::FindCommandEntry("export"));
    for (const Control& control : attbat::ExportControls()) {
        std::string option = "--" + control.key;
        if (std::string value = attbat::ValueName(control); !value.empty()) option += " " + value;
        EXPECT_NE(help.find("  " + option + " "), std::string::npos) << option;
        EXPECT_NE(help.find(control.label), std::string::npos) << control.label;
    }
}

}  // namespace
}  // namespace cli
