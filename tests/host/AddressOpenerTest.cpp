#include "host/AddressOpener.h"

#include <stdlib.h>

#include <string>

#include <gtest/gtest.h>

#include "host/Printer.h"

namespace {

// A PATH where no opener and no man is found, for the length of a test.
struct AddressOpenerTest : ::testing::Test {
    AddressOpenerTest() {
        const char* path = std::getenv("PATH");
        savedPath = path ? path : "";
        setenv("PATH", "/nonexistent-velmar-test", 1);
        host::CurrentPrinter().Capture(true);
        host::CurrentPrinter().ClearCaptured();
    }
    ~AddressOpenerTest() override {
        setenv("PATH", savedPath.c_str(), 1);
        host::CurrentPrinter().Capture(false);
    }
    // What was printed, without the line breaks between the lines.
    static std::string Printed() {
        std::string text = host::CurrentPrinter().Captured();
        std::erase(text, '\n');
        return text;
    }
    std::string savedPath;
};

TEST_F(AddressOpenerTest, WithoutXdgOpenTheAddressIsPrintedToOpenByHand) {
    EXPECT_FALSE(host::OpenAddress("https://example.org/faq"));
    EXPECT_EQ(Printed(), "Open this address in your browser: https://example.org/faq");
}

TEST_F(AddressOpenerTest, WithoutManTheManualPageIsNamedForTheUser) {
    EXPECT_FALSE(host::ShowManualPage("/usr/share/man/man1/velmar.1"));
    EXPECT_EQ(Printed(), "There is no 'man' program to show the manual page; it is /usr/share/man/man1/velmar.1.");
    host::CurrentPrinter().ClearCaptured();
    EXPECT_FALSE(host::ShowManualPage("velmar"));
    EXPECT_EQ(Printed(), "There is no 'man' program to show the manual page velmar.");
}

}  // namespace
