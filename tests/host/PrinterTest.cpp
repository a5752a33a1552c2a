#include "host/Printer.h"

#include <gtest/gtest.h>

namespace {

class PrinterTest : public ::testing::Test {
protected:
    void SetUp() override { printer.Capture(true); }
    host::Printer printer;
};

TEST_F(PrinterTest, TextStandsAsGiven) {
    printer.Print("Block count: ");
    printer.Print("12");
    EXPECT_EQ(printer.Captured(), "Block count: 12");
}

TEST_F(PrinterTest, LeadingLineEndStartsANewLine) {
    printer.Print("\nFirst.");
    printer.Print("\nSecond.");
    EXPECT_EQ(printer.Captured(), "First.\nSecond.");
}

TEST_F(PrinterTest, LeadingLineEndOnAFreshLineIsAbsorbedButFurtherOnesAreBlankLines) {
    printer.Print("Done.\n");
    printer.Print("\n\nNext.");
    EXPECT_EQ(printer.Captured(), "Done.\n\nNext.");
}

TEST_F(PrinterTest, FinishLineEndsAnOpenLineOnly) {
    printer.Print("\nOpen line");
    printer.FinishLine();
    printer.FinishLine();
    EXPECT_EQ(printer.Captured(), "Open line\n");
}

TEST_F(PrinterTest, QuietSilencesPrintingButNotWarnings) {
    printer.SetQuiet(true);
    printer.Print("\nhidden");
    printer.Warn("shown");
    EXPECT_EQ(printer.Captured(), "");
    EXPECT_EQ(printer.CapturedWarnings(), "shown\n");
}

TEST_F(PrinterTest, HeldLinesAndActionsComeOutInTheirOrderOnceSaved) {
    std::string told;
    printer.Hold("\nFirst.");
    printer.HoldAction([&] { told = printer.Captured(); });
    printer.Hold("\nLast.");
    EXPECT_EQ(printer.Captured(), "");
    printer.ReleaseHeld(true);
    EXPECT_EQ(told, "First.");
    EXPECT_EQ(printer.Captured(), "First.\nLast.");
}

TEST_F(PrinterTest, HeldActionsAreForgottenWhenASaveFailed) {
    bool done = false;
    printer.HoldAction([&] { done = true; });
    printer.ReleaseHeld(false);
    printer.ReleaseHeld(true);
    EXPECT_FALSE(done);
    EXPECT_EQ(printer.Captured(), "");
}

TEST_F(PrinterTest, ARecordingKeepsHeldActionsInTheirPlaceUntilReplayed) {
    bool done = false;
    host::PrintRecording recording;
    {
        host::PrintRecording::Scope scope(recording);
        printer.Hold("\nFirst.");
        printer.HoldAction([&] { done = printer.Captured() == "First."; });
    }
    printer.ReleaseHeld(true);
    EXPECT_FALSE(done);
    recording.Replay(printer);
    printer.ReleaseHeld(true);
    EXPECT_TRUE(done);
}

TEST(Printf, FormatsTheSystemsFormatStrings) {
    host::Printer& printer = host::CurrentPrinter();
    printer.Capture(true);
    host::Printf("\nARX ERROR: %s. %s: %d", "eInvalidInput", "a.cpp", 12);
    EXPECT_EQ(printer.Captured(), "ARX ERROR: eInvalidInput. a.cpp: 12");
    printer.Capture(false);
}

}  // namespace
