// Reactors hear of every change made through the drawing's views, and of nothing else.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Fixtures.h"
#include "cad/DatabaseReactor.h"

namespace {

using cadtest::R12Drawing;

struct Recorder : cad::DatabaseReactor {
    std::vector<std::string> types;
    std::vector<cad::Object> objects;
    void ObjectModified(cad::Database&, const cad::Object& object) override {
        types.push_back(object.Type());
        objects.push_back(object);
    }
};

std::unique_ptr<cad::Database> Drawing() {
    auto db = cad::Database::FromBytes(R12Drawing(), "plan.dxf");
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return std::move(*db);
}

cad::BlockReference FirstReference(cad::Database& db) {
    for (const cad::Entity& entity : db.Select({{0, "INSERT"}})) return cad::BlockReference(&db, entity.Index());
    return {};
}

TEST(DatabaseReactor, SettingAnAttributeValueTellsTheAttribute) {
    auto db = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    cad::BlockReference reference = FirstReference(*db);
    reference.Attributes().front().SetValue("D-202");
    ASSERT_FALSE(recorder.types.empty());
    EXPECT_EQ(recorder.types.front(), "ATTRIB");
    EXPECT_EQ(recorder.objects.front().Container(), reference);
}

TEST(DatabaseReactor, MovingAReferenceTellsTheReference) {
    auto db = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    FirstReference(*db).SetPosition({1, 2, 3});
    ASSERT_FALSE(recorder.types.empty());
    EXPECT_EQ(recorder.types.front(), "INSERT");
}

TEST(DatabaseReactor, AnUnchangedValueTellsNothing) {
    auto db = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    FirstReference(*db).Attributes().front().SetValue("D-101");
    EXPECT_TRUE(recorder.types.empty());
}

TEST(DatabaseReactor, ErasingAReferenceTellsItAndItsAttributes) {
    auto db = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    FirstReference(*db).Erase();
    EXPECT_NE(std::find(recorder.types.begin(), recorder.types.end(), "INSERT"), recorder.types.end());
    EXPECT_NE(std::find(recorder.types.begin(), recorder.types.end(), "ATTRIB"), recorder.types.end());
}

TEST(DatabaseReactor, ARemovedReactorHearsNothingMore) {
    auto db = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    db->AddReactor(&recorder);
    db->RemoveReactor(&recorder);
    FirstReference(*db).SetPosition({1, 2, 3});
    EXPECT_TRUE(recorder.types.empty());
}

TEST(DatabaseReactor, AnotherDatabaseTellsOnlyItsOwnReactors) {
    auto db = Drawing();
    auto side = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    FirstReference(*side).SetPosition({1, 2, 3});
    EXPECT_TRUE(recorder.types.empty());
}

TEST(DatabaseReactor, NotifyModifiedTellsAChangeMadeElsewhere) {
    auto db = Drawing();
    Recorder recorder;
    db->AddReactor(&recorder);
    db->NotifyModified(FirstReference(*db));
    ASSERT_EQ(recorder.types.size(), 1u);
    EXPECT_EQ(recorder.types.front(), "INSERT");
    EXPECT_FALSE(db->IsModified());
}

TEST(ObjectContainer, OnlySubEntitiesHaveOne) {
    auto db = Drawing();
    cad::BlockReference reference = FirstReference(*db);
    EXPECT_TRUE(reference.Container().IsNull());
    EXPECT_EQ(reference.Attributes().front().Container(), reference);
}

}  // namespace
