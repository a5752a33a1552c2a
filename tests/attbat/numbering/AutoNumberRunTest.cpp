#include "attbat/numbering/AutoNumberRun.h"

#include <gtest/gtest.h>

#include "NumberingFixture.h"
#include "attbat/numbering/NumberSelection.h"

namespace attbat {

namespace {

class AutoNumberRunTest : public NumberingTest {
protected:
    void Number(const std::string& selection) {
        AutoNumberRun run(Db(), TheNumberingState());
        run.Run(selection);
        written = run.WrittenTexts();
        placement = run.Placement();
    }
    std::vector<AutoNumberRun::Written> written;
    std::string placement;
};

TEST_F(AutoNumberRunTest, EnterAtTheSortPromptNumbersNothingAndEndsTheCommand) {
    Answer("=\nX\n");
    Number("C6,CB");
    EXPECT_TRUE(written.empty());
    EXPECT_EQ(Value("C6", "NUMBER"), "101");
    EXPECT_EQ(Value("CB", "NUMBER"), "102");
    EXPECT_NE(Printed().find("Sort selected objects by [X/Y/Select-order]<Select-order>:"), std::string::npos);
    EXPECT_EQ(Printed().find("Specify starting number"), std::string::npos);
    // The command ended there: the next answer was never asked for.
    EXPECT_EQ(Printed().find("Select text or block references:X"), std::string::npos);
}

TEST_F(AutoNumberRunTest, StartA12NumbersA12ThenA13) {
    Answer("Select-order\nA12\n=\nNUMBER\n=\n=\n");
    Number("C6,CB");
    EXPECT_EQ(Value("C6", "NUMBER"), "A12");
    EXPECT_EQ(Value("CB", "NUMBER"), "A13");
    EXPECT_EQ(TheNumberingState().numberPrefix, "A");
    EXPECT_EQ(TheNumberingState().numberText, "13");
    EXPECT_NE(Printed().find("Specify starting number <1>:"), std::string::npos);
    EXPECT_NE(Printed().find("Please specify the attribute tag <NUMBER>:"), std::string::npos);
}

TEST_F(AutoNumberRunTest, Start007WithIncrement5Gives007012017) {
    Answer("Select-order\n007\n5\nNUMBER\n=\n=\n=\n");
    Number("C6,CB,D0");
    EXPECT_EQ(Value("C6", "NUMBER"), "007");
    EXPECT_EQ(Value("CB", "NUMBER"), "012");
    EXPECT_EQ(Value("D0", "NUMBER"), "017");
}

TEST_F(AutoNumberRunTest, LowerCaseLettersRunOnInTheDrawing) {
    Answer("Select-order\nab\n=\nNUMBER\n=\n=\n");
    Number("C6,CB");
    EXPECT_EQ(Value("C6", "NUMBER"), "ab");
    EXPECT_EQ(Value("CB", "NUMBER"), "ac");
}

TEST_F(AutoNumberRunTest, AnInvalidStartNumberIsAskedAgain) {
    Answer("A-1\n=\n=\n=\n");
    Number("12D");
    EXPECT_NE(Printed().find("Invalid start number."), std::string::npos);
    EXPECT_EQ(Value("12D", "DESK_NO"), "1");
}

TEST_F(AutoNumberRunTest, ATextOfEmptyContentGetsThePlainNumberAndTurnsThePlacementToOverwrite) {
    cad::Text empty = AddText(1, 1, "");
    cad::Text room = AddText(2, 1, "Room");
    Answer("Select-order\n=\n=\n");
    Number(empty.HandleString() + "," + room.HandleString());
    EXPECT_EQ(TextOf(empty), "1");
    EXPECT_EQ(TextOf(room), "2");
    EXPECT_EQ(placement, "Overwrite");
    EXPECT_EQ(Printed().find("Placement of numbers in text"), std::string::npos);
}

TEST_F(AutoNumberRunTest, ATextGoesOnAfterCancelsAtTheIncrementAndThePlacementAndGetsNothing) {
    cad::Text room = AddText(1, 1, "Room");
    TheNumberingState().numberIncrement = 4;
    Answer("5\n");
    Number(room.HandleString());
    EXPECT_EQ(TextOf(room), "Room");
    EXPECT_TRUE(written.empty());
    EXPECT_EQ(placement, "");
    EXPECT_EQ(TheNumberingState().Current(), "5");
    EXPECT_EQ(TheNumberingState().numberIncrement, 1);
}

TEST_F(AutoNumberRunTest, SuffixAndPrefixPutTheNumberBesideTheText) {
    cad::Text first = AddText(1, 1, "Room");
    cad::Text second = AddText(2, 1, "Hall");
    Answer("Select-order\nR1\n=\nSuffix\n");
    Number(first.HandleString() + "," + second.HandleString());
    EXPECT_EQ(TextOf(first), "RoomR1");
    EXPECT_EQ(TextOf(second), "HallR2");
    Answer("R1\n=\nP\n");
    cad::Text third = AddText(3, 1, "Lab");
    AutoNumberRun run(Db(), TheNumberingState());
    run.Run(third.HandleString());
    EXPECT_EQ(TextOf(third), "R1Lab");
}

TEST_F(AutoNumberRunTest, TwoReferencesAtTheSameXKeepTheirSelectionOrder) {
    // D0 and C6 both stand at X 3, CB at X 12.
    Answer("X\n=\n=\nNUMBER\n=\n=\n=\n");
    Number("CB,D0,C6");
    EXPECT_EQ(Value("D0", "NUMBER"), "1");
    EXPECT_EQ(Value("C6", "NUMBER"), "2");
    EXPECT_EQ(Value("CB", "NUMBER"), "3");
}

TEST_F(AutoNumberRunTest, YSortsTopToBottomAndReferencesGoAheadOfTexts) {
    cad::Text low = AddText(0, 0, "");
    cad::Text high = AddText(0, 9, "");
    Answer("Y\n=\n=\nNUMBER\n=\n=\n");
    Number(low.HandleString() + ",C6," + high.HandleString() + ",D0");
    EXPECT_EQ(Value("D0", "NUMBER"), "1");  // Y 7.5
    EXPECT_EQ(Value("C6", "NUMBER"), "2");  // Y 2.5
    EXPECT_EQ(TextOf(high), "3");
    EXPECT_EQ(TextOf(low), "4");
}

TEST_F(AutoNumberRunTest, AReferenceWithOneAttributeIsNeverAskedForATag) {
    Answer("Select-order\n=\n=\n=\n");
    Number("12D,130");
    EXPECT_EQ(Value("12D", "DESK_NO"), "1");
    EXPECT_EQ(Value("130", "DESK_NO"), "2");
    EXPECT_EQ(Printed().find("Please specify the attribute tag"), std::string::npos);
}

TEST_F(AutoNumberRunTest, OnALaterSelectionANewBlockNameAsksToRestartAndNoGoesOnCounting) {
    Answer("=\n=\nNUMBER\n=\n130\n");
    ui.QueueAnswer(host::BoxAnswer::No);
    Number("C6");
    EXPECT_EQ(Value("C6", "NUMBER"), "1");
    EXPECT_EQ(Value("130", "DESK_NO"), "2");
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "You select a different block. Do you want to restart the number?");
    EXPECT_EQ(ui.Shown()[0].title, "Velmar");
    EXPECT_EQ(ui.Shown()[0].buttons, host::BoxButtons::YesNo);
    EXPECT_EQ(ui.Shown()[0].icon, host::BoxIcon::Information);
}

TEST_F(AutoNumberRunTest, YesToTheRestartQuestionStartsAgainAtOne) {
    Answer("=\n5\nNUMBER\n=\nC6\n=\n130\n");
    ui.QueueAnswer(host::BoxAnswer::Yes);
    Number("D0");
    EXPECT_EQ(Value("D0", "NUMBER"), "1");
    EXPECT_EQ(Value("C6", "NUMBER"), "6");  // the same block: no question
    EXPECT_EQ(Value("130", "DESK_NO"), "1");
    EXPECT_EQ(TheNumberingState().numberIncrement, 1);
}

TEST_F(AutoNumberRunTest, ABlockWithoutTheTagSaysSoAndTheNextObjectIsNumbered) {
    Answer("Select-order\n=\n=\nNOPE\n=\n=\nNUMBER\n=\n");
    Number("C6,CB");
    EXPECT_NE(Printed().find("Cannot find the attribute NOPE."), std::string::npos);
    EXPECT_EQ(Value("C6", "NUMBER"), "101");
    // Nothing was numbered yet, so the next one is still the first and is asked for its start.
    EXPECT_EQ(Value("CB", "NUMBER"), "1");
}

TEST_F(AutoNumberRunTest, AConstantAttributeIsPassedOver) {
    Answer("=\n=\nMAKER\n");
    Number("115");
    EXPECT_NE(Printed().find("Cannot modify the constant attribute."), std::string::npos);
    EXPECT_NE(Printed().find("Cannot find the attribute MAKER."), std::string::npos);
    EXPECT_TRUE(written.empty());
}

TEST_F(AutoNumberRunTest, CancelAtTheStartNumberOfAReferenceStopsTheList) {
    Answer("Select-order\n");
    Number("C6,CB");
    EXPECT_TRUE(written.empty());
    EXPECT_EQ(Value("C6", "NUMBER"), "101");
}

TEST_F(AutoNumberRunTest, AFilterSelectsInDrawingOrder) {
    const std::vector<cad::Entity> picked = SelectTextsAndReferences(Db(), "block=DESK_SET");
    ASSERT_EQ(picked.size(), 4u);
    EXPECT_EQ(picked[0].HandleString(), "12D");
    EXPECT_EQ(picked[3].HandleString(), "136");
    EXPECT_EQ(SelectTextsAndReferences(Db(), "all").size(), Db().Select({{0, "INSERT"}}).size());
    EXPECT_TRUE(SelectTextsAndReferences(Db(), "colour=red").empty());
    EXPECT_NE(Printed().find("Unknown selection filter 'colour=red'"), std::string::npos);
}

TEST_F(AutoNumberRunTest, HandlesSelectInTheOrderGivenAndOthersAreLeftOutWithAWord) {
    const std::vector<cad::Entity> picked = SelectTextsAndReferences(Db(), "130 12D,FFFF");
    ASSERT_EQ(picked.size(), 2u);
    EXPECT_EQ(picked[0].HandleString(), "130");
    EXPECT_EQ(picked[1].HandleString(), "12D");
    EXPECT_NE(Printed().find("FFFF: the drawing has no object of that handle."), std::string::npos);
}

}  // namespace

}  // namespace attbat
