// The automation error's boxes: ReportOleError's texts, AutoWrap's fatal failures and the
// two clauses of the operations' handler.
#include <gtest/gtest.h>

#include "arxutils/AutoWrap.h"
#include "arxutils/ExcelUtils.h"
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

namespace {

// A worksheet whose every call fails below the object model, as a smart interface's error does.
class FailingSheet : public excel::Worksheet {
public:
    explicit FailingSheet(excel::ErrorOrigin origin) : origin_(origin) {}
    [[noreturn]] void Raise() { throw excel::AutomationError(excel::kErrUnspecified, "interface failed", origin_); }
    std::string GetName() override { Raise(); }
    void SetName(std::string_view) override { Raise(); }
    void SetVisible(int) override { Raise(); }
    void Activate() override { Raise(); }
    std::unique_ptr<excel::Application> GetApplication() override { Raise(); }
    std::unique_ptr<excel::Range> GetRange(std::string_view) override { Raise(); }
    std::unique_ptr<excel::Range> GetRange(std::string_view, std::string_view) override { Raise(); }
    std::unique_ptr<excel::Range> Cells() override { Raise(); }
    std::unique_ptr<excel::Range> UsedRange() override { Raise(); }
    std::unique_ptr<excel::Comments> GetComments() override { Raise(); }
    std::unique_ptr<excel::Range> Columns() override { Raise(); }
    std::unique_ptr<excel::Range> Rows() override { Raise(); }

private:
    excel::ErrorOrigin origin_;
};

}  // namespace

TEST(ExcelUtilsHandler, InterfaceFailureGivesFalseInSilence) {
    UiScope scope;
    arxutils::ExcelUtils::Worksheet = std::make_unique<FailingSheet>(excel::ErrorOrigin::Interface);
    EXPECT_FALSE(arxutils::ExcelUtils::SetCellValue(1, 1, "x"));
    EXPECT_FALSE(arxutils::ExcelUtils::SetWrap("A1"));
    EXPECT_TRUE(scope.ui.Shown().empty());
    arxutils::ExcelUtils::Disconnect();
}

TEST(ExcelUtilsHandler, ApplicationFailureIsShownAndGivesFalse) {
    UiScope scope;
    arxutils::ExcelUtils::Worksheet = std::make_unique<FailingSheet>(excel::ErrorOrigin::Dispatch);
    EXPECT_FALSE(arxutils::ExcelUtils::SetCellValue(1, 1, "x"));
    ASSERT_EQ(scope.ui.Shown().size(), 1u);
    EXPECT_EQ(scope.ui.Shown()[0].text, "interface failed");
    arxutils::ExcelUtils::Disconnect();
}

TEST(ExcelUtilsHandler, ReadCommentAndTextShowsAnInterfaceFailureWithItsDescription) {
    UiScope scope;
    arxutils::ExcelUtils::Worksheet = std::make_unique<FailingSheet>(excel::ErrorOrigin::Interface);
    arxutils::KeyLines map;
    EXPECT_FALSE(arxutils::ExcelUtils::ReadCommentAndText(map, false));
    ASSERT_EQ(scope.ui.Shown().size(), 1u);
    EXPECT_EQ(scope.ui.Shown()[0].text, "interface failed");
    EXPECT_EQ(scope.ui.Shown()[0].title, "Velmar");
    arxutils::ExcelUtils::Disconnect();
}
