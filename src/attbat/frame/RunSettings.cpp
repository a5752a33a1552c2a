#include "attbat/frame/RunSettings.h"

#include "attbat/frame/CRegistry.h"
#include "base/Text.h"
#include "host/Printer.h"

namespace attbat {

namespace {

constexpr std::string_view section = "Velmar";

}  // namespace

std::string GivenOrStored(std::string_view name, const std::optional<std::string>& given) {
    if (given) {
        std::optional<std::string_view> text;
        if (!given->empty()) text = *given;
        if (!CRegistry::SetString(section, name, text))
            host::CurrentPrinter().Warn("The setting " + std::string(name) + " could not be stored; it holds for this run.");
        return *given;
    }
    return CRegistry::GetString(section, name, "");
}

base::Result<SpreadsheetChoice> ChooseSpreadsheet(const std::optional<std::string>& spreadsheet,
                                                  const std::optional<std::string>& connection) {
    SpreadsheetChoice choice;
    const std::string kind = GivenOrStored("Spreadsheet", spreadsheet);
    if (base::EqualNoCase(kind, "calc")) {
        choice.live = true;
    } else if (!kind.empty() && !base::EqualNoCase(kind, "file")) {
        return base::Status::Error("The spreadsheet \"" + kind +
                                   "\" is unknown: --spreadsheet takes file or calc (setting Spreadsheet, section Velmar).");
    }
    choice.connection = GivenOrStored("CalcConnection", connection);
    return choice;
}

}  // namespace attbat
