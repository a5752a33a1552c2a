// The module's reactors: which changes of a drawing are collected, and which events lead to the
// automatic upload.

#include <filesystem>
#include <string>
#include <vector>

#include "FrameFixture.h"
#include "attbat/frame/AsdkDataManager.h"
#include "attbat/frame/CAttBatApp.h"
#include "cad/BlockReference.h"
#include "host/Document.h"
#include "host/EditorReactor.h"

namespace {

using namespace attbat;

cad::BlockReference FirstReference(cad::Database& db) {
    for (const cad::Entity& e : db.Select({{0, "INSERT"}})) return cad::BlockReference(&db, e.Index());
    return {};
}

class ReactorsTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        drawing = File("doors.dxf");
        std::filesystem::copy_file(std::string(VELMAR_TEST_DATA) + "/import/doors-r2000.dxf", drawing);
        app.SetAutoUpload([this](bool force) {
            uploads.push_back(force);
            return 1;
        });
        app.EntryPoint(kInitAppMsg, nullptr);
        auto doc = host::DocumentManager::Instance().OpenCurrent(drawing);
        ASSERT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
    }
    void TearDown() override {
        host::DocumentManager::Instance().CloseAll();
        app.EntryPoint(kUnloadAppMsg, nullptr);
        FrameTest::TearDown();
    }
    std::vector<std::string> Handles() {
        std::vector<std::string> out;
        for (const std::string& h : DataManager().docData(current).modifiedHandles) out.push_back(h);
        return out;
    }

    CAttBatApp app;
    std::string drawing;
    host::Document* current = nullptr;
    std::vector<bool> uploads;
};

TEST_F(ReactorsTest, ModifyingAnAttributeOfAReferenceAddsTheReferencesHandleOnce) {
    cad::BlockReference reference = FirstReference(current->Database());
    ASSERT_TRUE(reference);
    auto attributes = reference.Attributes();
    ASSERT_FALSE(attributes.empty());
    attributes.front().SetValue("CHANGED ONCE");
    attributes.front().SetValue("CHANGED TWICE");
    reference.SetPosition({1, 2, 0});
    EXPECT_EQ(Handles(), std::vector<std::string>{reference.HandleString()});
}

TEST_F(ReactorsTest, AChangeInASideDatabaseAddsNothing) {
    auto side = host::ReadSideDatabase(drawing);
    ASSERT_TRUE(side);
    // A reactor on the side drawing too: it still isn't the current document's.
    (*side)->AddReactor(DataManager().docData(current).dbReactor.get());
    FirstReference(**side).SetPosition({1, 2, 0});
    (*side)->RemoveReactor(DataManager().docData(current).dbReactor.get());
    EXPECT_TRUE(Handles().empty());
}

TEST_F(ReactorsTest, ACommandNamedVelmarLinksNeverStartsAnUploadAndStillClearsTheList) {
    FirstReference(current->Database()).SetPosition({1, 2, 0});
    ASSERT_EQ(Handles().size(), 1u);
    host::TheEditorEvents().CommandEnded("Velmar_Links");
    EXPECT_TRUE(uploads.empty());
    EXPECT_TRUE(Handles().empty());
}

TEST_F(ReactorsTest, AnyOtherCommandUploadsWhetherItEndedWasCancelledOrFailed) {
    host::TheEditorEvents().CommandEnded("_MOVE");
    host::TheEditorEvents().CommandCancelled("_ATTEDIT");
    host::TheEditorEvents().CommandFailed("_UpdateCellBlockAtts");
    host::TheEditorEvents().CommandEnded("_VELMAROUT");
    EXPECT_EQ(uploads, (std::vector<bool>{false, false, false}));
}

TEST_F(ReactorsTest, OnlyThePropertiesPalettesChangeUploadsOutsideACommand) {
    FirstReference(current->Database()).SetPosition({1, 2, 0});
    host::TheEditorEvents().ModelessOperationEnded("opm_chgprop");
    EXPECT_EQ(uploads, std::vector<bool>{false});
    FirstReference(current->Database()).SetPosition({3, 2, 0});
    host::TheEditorEvents().ModelessOperationEnded("SOMETHING_ELSE");
    EXPECT_EQ(uploads.size(), 1u);
    EXPECT_TRUE(Handles().empty());
}

TEST_F(ReactorsTest, TheDrawingLoadUploadsWithItsForceFlagUnlessTheRunSaysNot) {
    app.EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(uploads, std::vector<bool>{true});
    app.uploadAtLoad = false;
    app.EntryPoint(kLoadDwgMsg, nullptr);
    EXPECT_EQ(uploads.size(), 1u);
}

TEST_F(ReactorsTest, AClosingDocumentTakesItsRecordAndReactorWithIt) {
    ASSERT_TRUE(DataManager().HasData(current));
    ASSERT_TRUE(DataManager().docData(current).dbReactor);
    host::DocumentManager::Instance().Close(current);
    EXPECT_FALSE(DataManager().HasData(current));
}

TEST_F(ReactorsTest, TheEditorReactorLeavesWithTheModule) {
    ASSERT_TRUE(app.editorReactor);
    EXPECT_TRUE(app.editorReactor->IsAttached());
    app.EntryPoint(kUnloadAppMsg, nullptr);
    EXPECT_FALSE(app.editorReactor);
    host::TheEditorEvents().CommandEnded("_MOVE");
    EXPECT_TRUE(uploads.empty());
}

}  // namespace
