// The host's notifications: documents becoming current and closing, database reactors staying
// with a document across its readings, and the editor's command events.

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TempFolder.h"
#include "cad/BlockReference.h"
#include "host/Document.h"
#include "host/EditorReactor.h"

namespace {

struct DocEvents : host::DocManagerReactor {
    std::vector<std::string> heard;
    void DocumentBecameCurrent(host::Document* doc) override { heard.push_back("current " + doc->FileName()); }
    void DocumentToBeDestroyed(host::Document* doc) override { heard.push_back("closing " + doc->FileName()); }
};

struct Changes : cad::DatabaseReactor {
    std::vector<std::string> handles;
    void ObjectModified(cad::Database&, const cad::Object& object) override {
        handles.push_back(object.HandleString());
    }
};

struct ReactorTest : ::testing::Test {
    ~ReactorTest() override { host::DocumentManager::Instance().CloseAll(); }
    std::string Copy(const std::string& name) {
        std::string target = dir.File(name);
        std::filesystem::copy_file(std::string(VELMAR_CORPUS) + "/dxf/" + name, target);
        return target;
    }
    TempFolder dir;
};

cad::BlockReference AnyReference(cad::Database& db) {
    for (const cad::Entity& e : db.Select({{0, "INSERT"}})) return cad::BlockReference(&db, e.Index());
    return {};
}

TEST_F(ReactorTest, TheManagerTellsWhenADocumentBecomesCurrentAndWhenItCloses) {
    std::string a = Copy("attribute-ac1032.dxf");
    std::string b = Copy("entities-attribs-ac1015.dxf");
    auto& manager = host::DocumentManager::Instance();
    DocEvents events;
    manager.AddReactor(&events);
    ASSERT_TRUE(manager.OpenCurrent(a));
    ASSERT_TRUE(manager.Open(b));
    ASSERT_TRUE(manager.OpenCurrent(a));  // already current: nothing new
    manager.CloseAll();
    manager.RemoveReactor(&events);
    EXPECT_EQ(events.heard, (std::vector<std::string>{"current " + a, "closing " + a, "closing " + b}));
}

TEST_F(ReactorTest, ADatabaseReactorStaysWithTheDocumentAcrossReadings) {
    auto& manager = host::DocumentManager::Instance();
    auto doc = manager.OpenCurrent(Copy("attribute-ac1032.dxf"), host::ReadKind::OnFirstUse);
    ASSERT_TRUE(doc);
    Changes changes;
    doc.Value()->AddDatabaseReactor(&changes);
    cad::BlockReference reference = AnyReference(doc.Value()->Database());
    ASSERT_TRUE(reference);
    const std::string handle = reference.HandleString();
    ASSERT_TRUE(doc.Value()->Release());
    ASSERT_TRUE(doc.Value()->Reload());
    AnyReference(doc.Value()->Database()).SetPosition({5, 6, 0});
    ASSERT_FALSE(changes.handles.empty());
    for (const std::string& heard : changes.handles) EXPECT_EQ(heard, handle);
    const std::size_t told = changes.handles.size();
    doc.Value()->RemoveDatabaseReactor(&changes);
    AnyReference(doc.Value()->Database()).SetPosition({7, 6, 0});
    EXPECT_EQ(changes.handles.size(), told);
}

TEST_F(ReactorTest, AReloadThatFailsKeepsTheDrawing) {
    auto& manager = host::DocumentManager::Instance();
    std::string path = Copy("attribute-ac1032.dxf");
    auto doc = manager.OpenCurrent(path);
    ASSERT_TRUE(doc);
    std::filesystem::resize_file(path, 100);
    EXPECT_FALSE(doc.Value()->Reload());
    EXPECT_TRUE(AnyReference(doc.Value()->Database()));
}

struct Commands : host::EditorReactor {
    std::vector<std::string> heard;
    void CommandEnded(std::string_view name) override { heard.push_back("ended " + std::string(name)); }
    void CommandCancelled(std::string_view name) override { heard.push_back("cancelled " + std::string(name)); }
    void CommandFailed(std::string_view name) override { heard.push_back("failed " + std::string(name)); }
    void ModelessOperationEnded(std::string_view context) override { heard.push_back("modeless " + std::string(context)); }
};

TEST(EditorEvents, EachReactorHearsEachEventOnce) {
    host::EditorEvents events;
    Commands commands;
    events.AddReactor(&commands);
    events.AddReactor(&commands);
    EXPECT_TRUE(events.HasReactor(&commands));
    events.CommandEnded("_MOVE");
    events.CommandCancelled("_ERASE");
    events.CommandFailed("_VelmarOut");
    events.ModelessOperationEnded("OPM_CHGPROP");
    events.RemoveReactor(&commands);
    events.CommandEnded("_MOVE");
    EXPECT_EQ(commands.heard, (std::vector<std::string>{"ended _MOVE", "cancelled _ERASE",
                                                        "failed _VelmarOut", "modeless OPM_CHGPROP"}));
}

}  // namespace
