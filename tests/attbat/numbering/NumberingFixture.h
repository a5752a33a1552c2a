#pragma once
// The sample drawing made current in a folder of its own, prompts answered from a list and
// message boxes recorded, for the tests of auto numbering.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "../frame/FrameFixture.h"
#include "attbat/numbering/NumberingState.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "host/Answers.h"
#include "host/Console.h"
#include "host/Document.h"
#include "host/Ui.h"

namespace attbat {

inline const std::string kFloor = std::string(VELMAR_SOURCE_DIR) + "/examples/floor.dxf";

class NumberingTest : public FrameTest {
protected:
    void SetUp() override {
        FrameTest::SetUp();
        host::SetCurrentUi(&ui);
        host::DocumentManager::Instance().CloseAll();
        TheNumberingState() = NumberingState();
        drawing = File("floor.dxf");
        std::filesystem::copy_file(kFloor, drawing);
        auto doc = host::DocumentManager::Instance().OpenCurrent(drawing);
        ASSERT_TRUE(doc) << doc.GetStatus().Message();
        current = doc.Value();
    }
    void TearDown() override {
        host::CurrentConsole().SetAnswers({});
        host::DocumentManager::Instance().CloseAll();
        host::SetCurrentUi(nullptr);
        TheNumberingState() = NumberingState();
        FrameTest::TearDown();
    }
    cad::Database& Db() { return current->Database(); }
    // The answers of the prompts to come, one a line as in an answers file.
    void Answer(const std::string& lines) { host::CurrentConsole().SetAnswers(host::Answers::Parse(lines)); }
    // The value of `tag` on the reference of `handle`.
    std::string Value(const std::string& handle, const std::string& tag) {
        cad::Object object = Db().ObjectByHandle(cad::ParseHandle(handle));
        return cad::BlockReference(object.GetDatabase(), object.Index()).FindAttribute(tag).PlainText();
    }
    std::string TextOf(const cad::Text& text) { return text.TextString(); }
    cad::Text AddText(double x, double y, const std::string& content) {
        auto text = Db().ModelSpace().AddText({x, y, 0}, 0.25, content);
        EXPECT_TRUE(text);
        return *text;
    }

    host::RecordingUi ui;
    std::string drawing;
    host::Document* current = nullptr;
};

}  // namespace attbat
