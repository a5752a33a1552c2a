#include "arxutils/AutoWrap.h"

#include <cstdlib>

#include "arxutils/excel/AutomationError.h"
#include "base/Format.h"
#include "host/Ui.h"

namespace arxutils {

std::string SystemErrorText(std::int32_t code) {
    // The texts the platform's message table gives for the codes an automation call returns.
    switch (static_cast<std::uint32_t>(code)) {
    case 0x80004005: return "Unspecified error";
    case 0x80070057: return "The parameter is incorrect.";
    case 0x80020009: return "Exception occurred.";
    case 0x8002000B: return "Invalid index.";
    case 0x80020006: return "Unknown name.";
    case 0x80020005: return "Type mismatch.";
    case 0x800401E3: return "Operation unavailable";
    case 0x8007000E: return "Not enough memory resources are available to complete this operation.";
    case 0x80004002: return "No such interface supported";
    default: return {};
    }
}

void ReportOleError(std::int32_t code, std::string_view description) {
    std::string text(description);
    if (text.empty()) text = SystemErrorText(code);
    if (text.empty())
        text = base::Sprintf("\n%s(%d): OLE Execption caught: SCODE = %x", "ArxUtils\\ExcelUtils", 507,
                             static_cast<std::uint32_t>(code));
    host::ShowMessage(text, "Velmar", host::BoxIcon::Information);
}

namespace {

[[noreturn]] void FailAndExit(const std::string& text, std::string_view title) {
    host::ShowMessage(text, title, host::BoxIcon::Error);
    std::exit(0);
}

}  // namespace

std::int32_t AutoWrap(int flags, excel::Variant* result, excel::Dispatch* object, std::string_view name,
                      std::vector<excel::Variant> args) {
    if (!object) FailAndExit("NULL IDispatch passed to AutoWrap()", "Error");
    long id = 0;
    std::int32_t hr = object->GetIDOfName(name, id);
    if (hr != 0)
        FailAndExit(base::Sprintf("IDispatch::GetIDsOfNames(\"%s\") failed w/err 0x%08lx", name,
                                  static_cast<unsigned long>(static_cast<std::uint32_t>(hr))),
                    "AutoWrap()");
    // A put passes its one value as the named property argument.
    hr = object->Invoke(id, flags, args, result);
    if (hr != 0)
        FailAndExit(base::Sprintf("IDispatch::Invoke(\"%s\"=%08lx) failed w/err 0x%08lx", name,
                                  static_cast<unsigned long>(id),
                                  static_cast<unsigned long>(static_cast<std::uint32_t>(hr))),
                    "AutoWrap()");
    return 0;
}

}  // namespace arxutils
