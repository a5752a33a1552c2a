#include "attbat/frame/FindEntByHandle.h"

#include "ReaderFixture.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/SymbolRecord.h"
#include "host/Answers.h"
#include "host/Console.h"
#include "host/Editor.h"

namespace {

class FindEntByHandleTest : public ReaderTest {
protected:
    void SetUp() override {
        auto doc = host::DocumentManager::Instance().OpenCurrent(Copy(ReaderData("writer.dxf")));
        ASSERT_TRUE(doc);
        db = &doc.Value()->Database();
        auto refs = db->FindBlock("EQUIP").References();
        ASSERT_FALSE(refs.empty());
        handle = refs[0].HandleString();
    }
    int Run(std::string_view answer) {
        console.SetAnswers(host::Answers::Parse(std::string(answer) + "\n"));
        return attbat::Velmar_FindEntByHandle(editor);
    }
    host::Console console;
    host::Editor editor{console};
    cad::Database* db = nullptr;
    std::string handle;
};

TEST(HandleFromInput, TrimsBracketsAndCutsAtAnUnderscoreAfterTheFirstCharacter) {
    EXPECT_EQ(attbat::HandleFromInput("2F4_TAG"), "2F4");
    EXPECT_EQ(attbat::HandleFromInput("<2F4_TAG>"), "2F4");
    EXPECT_EQ(attbat::HandleFromInput("_2F4"), "_2F4");
    EXPECT_EQ(attbat::HandleFromInput("<<1A>>"), "1A");
}

TEST_F(FindEntByHandleTest, InputOfAHandleAnUnderscoreAndATagFindsTheHandle) {
    EXPECT_EQ(Run(handle + "_ID"), 0);
    EXPECT_NE(Printed().find("Handle: " + handle + "."), std::string::npos) << Printed();
    EXPECT_NE(Printed().find("Type: INSERT, layer: 0, block: EQUIP, in *Model_Space."), std::string::npos)
        << Printed();
    EXPECT_NE(Printed().find("Extents: "), std::string::npos);
}

TEST_F(FindEntByHandleTest, SameInputBetweenAngleBracketsFindsTheSame) {
    EXPECT_EQ(Run("<" + handle + "_ID>"), 0);
    EXPECT_NE(Printed().find("Handle: " + handle + "."), std::string::npos) << Printed();
    EXPECT_NE(Printed().find("block: EQUIP"), std::string::npos);
}

TEST_F(FindEntByHandleTest, UnknownHandleReportsAndLeavesTheView) {
    std::string before = db->Write();
    EXPECT_EQ(Run("FFFFF"), 1);
    EXPECT_NE(Printed().find("Can't find the entity."), std::string::npos);
    EXPECT_EQ(db->Write(), before);
}

TEST_F(FindEntByHandleTest, FoundEntityBecomesTheSavedView) {
    EXPECT_EQ(Run(handle), 0);
    cad::Viewport active(db, db->ActiveViewport().Index());
    ASSERT_TRUE(active);
    // The first EQUIP stands at (10, 20) scaled 3: its line runs to x = 22.
    EXPECT_GT(active.CenterX(), 10);
    EXPECT_LT(active.CenterX(), 30);
}

TEST_F(FindEntByHandleTest, CancelledPromptDoesNothing) {
    console.SetAnswers(host::Answers::Parse(""));
    EXPECT_EQ(attbat::Velmar_FindEntByHandle(editor), 1);
    EXPECT_EQ(Printed().find("Handle:"), std::string::npos);
}

}  // namespace
