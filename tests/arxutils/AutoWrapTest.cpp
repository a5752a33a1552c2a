// The automation error's boxes: ReportOleError's texts and AutoWrap's fatal failures.
#include <gtest/gtest.h>

#include "arxutils/AutoWrap.h"
#include "arxutils/excel/AutomationError.h"
#include "host/Ui.h"

namespace excel = arxutils::excel;

namespace {

class UiScope {
public:
    UiScope() { host::SetCurrentUi(&ui); }
    ~UiScope() { host::SetCurrentUi(nullptr); }
    host::RecordingUi ui;
};

// An object with one readable member, "Name".
class Named : public excel::Dispatch {
public:
    std::int32_t GetIDOfName(std::string_view name, long& id) override {
        if (name != "Name" && name != "Broken") return Dispatch::GetIDOfName(name, id);
        id = name == "Name" ? 110 : 111;
        return 0;
    }
    std::int32_t Invoke(long id, int, std::vector<excel::Variant>&, excel::Variant* result) override {
        if (id != 110) return excel::kErrException;
        *result = excel::Variant::String("Sheet1");
        return 0;
    }
};

}  // namespace

TEST(ReportOleError, ShowsTheDescriptionOfTheFailure) {
    UiScope scope;
    arxutils::ReportOleError(excel::kErrApplication, "Method 'Range' of object '_Worksheet' failed");
    ASSERT_EQ(scope.ui.Shown().size(), 1u);
    EXPECT_EQ(scope.ui.Shown()[0].text, "Method 'Range' of object '_Worksheet' failed");
    EXPECT_EQ(scope.ui.Shown()[0].icon, host::BoxIcon::Information);
}

TEST(ReportOleError, ShowsTheSystemTextOfAKnownCode) {
    UiScope scope;
    arxutils::ReportOleError(excel::kErrBadIndex);
    EXPECT_EQ(scope.ui.Shown().at(0).text, "Invalid index.");
}

TEST(ReportOleError, NamesItsSourceForACodeWithoutText) {
    UiScope scope;
    arxutils::ReportOleError(0x800A01A8);
    EXPECT_EQ(scope.ui.Shown().at(0).text, "\nArxUtils\\ExcelUtils(507): OLE Execption caught: SCODE = 800a01a8");
}

TEST(AutomationError, CarriesCodeDescriptionAndOrigin) {
    excel::AutomationError e(excel::kErrTypeMismatch, "Type mismatch", excel::ErrorOrigin::Interface);
    EXPECT_EQ(e.Code(), static_cast<std::int32_t>(0x80020005));
    EXPECT_EQ(e.Description(), "Type mismatch");
    EXPECT_EQ(e.Origin(), excel::ErrorOrigin::Interface);
}

TEST(AutoWrap, ReadsAPropertyByName) {
    Named object;
    excel::Variant result;
    EXPECT_EQ(arxutils::AutoWrap(excel::DISPATCH_PROPERTYGET, &result, &object, "Name"), 0);
    EXPECT_EQ(result.text, "Sheet1");
}

TEST(AutoWrapDeathTest, NullObjectEndsTheProcessWithStatusZero) {
    EXPECT_EXIT(arxutils::AutoWrap(excel::DISPATCH_PROPERTYGET, nullptr, nullptr, "Name"),
                ::testing::ExitedWithCode(0), "");
}

TEST(AutoWrapDeathTest, UnknownNameEndsTheProcessAfterItsBox) {
    Named object;
    EXPECT_EXIT(
        {
            UiScope scope;
            excel::Variant result;
            arxutils::AutoWrap(excel::DISPATCH_PROPERTYGET, &result, &object, "Nope");
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(AutoWrapDeathTest, FailedInvokeEndsTheProcess) {
    Named object;
    EXPECT_EXIT(
        {
            excel::Variant result;
            arxutils::AutoWrap(excel::DISPATCH_PROPERTYGET, &result, &object, "Broken");
        },
        ::testing::ExitedWithCode(0), "");
}
