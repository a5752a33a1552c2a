#include "host/Ui.h"

#include <gtest/gtest.h>

#include "host/Printer.h"

namespace {

class OnceSavedTest : public ::testing::Test {
protected:
    void SetUp() override {
        host::SetCurrentUi(&ui);
        host::CurrentPrinter().Capture(true);
    }
    void TearDown() override {
        host::CurrentPrinter().ReleaseHeld(false);
        host::CurrentPrinter().Capture(false);
        host::SetCurrentUi(nullptr);
    }
    host::RecordingUi ui;
};

TEST_F(OnceSavedTest, BoxIsShownOnlyAfterTheSavesSucceeded) {
    host::ShowMessageOnceSaved("Link the external data successfully.");
    EXPECT_TRUE(ui.Shown().empty());
    host::CurrentPrinter().ReleaseHeld(true);
    ASSERT_EQ(ui.Shown().size(), 1u);
    EXPECT_EQ(ui.Shown()[0].text, "Link the external data successfully.");
    EXPECT_EQ(ui.Shown()[0].title, "Velmar");
    EXPECT_EQ(ui.Shown()[0].buttons, host::BoxButtons::Ok);
}

TEST_F(OnceSavedTest, BoxIsNeverShownWhenASaveFailed) {
    host::ShowMessageOnceSaved("Done.", "Orvane Velmar");
    host::CurrentPrinter().ReleaseHeld(false);
    host::CurrentPrinter().ReleaseHeld(true);
    EXPECT_TRUE(ui.Shown().empty());
}

}  // namespace
