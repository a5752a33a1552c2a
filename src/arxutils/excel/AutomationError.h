#pragma once
// The one failure of the spreadsheet object model: a code and a description, as the automation
// errors of a spreadsheet application carry them.

#include <cstdint>
#include <stdexcept>
#include <string>

namespace arxutils::excel {

// Codes the backends raise; the values are those of the automation world so that messages and
// logs read the same whichever backend runs.
constexpr std::int32_t kErrUnspecified = static_cast<std::int32_t>(0x80004005);    // E_FAIL
constexpr std::int32_t kErrInvalidArg = static_cast<std::int32_t>(0x80070057);     // E_INVALIDARG
constexpr std::int32_t kErrException = static_cast<std::int32_t>(0x80020009);      // DISP_E_EXCEPTION
constexpr std::int32_t kErrBadIndex = static_cast<std::int32_t>(0x8002000B);       // DISP_E_BADINDEX
constexpr std::int32_t kErrUnknownName = static_cast<std::int32_t>(0x80020006);    // DISP_E_UNKNOWNNAME
constexpr std::int32_t kErrTypeMismatch = static_cast<std::int32_t>(0x80020005);   // DISP_E_TYPEMISMATCH
constexpr std::int32_t kErrUnavailable = static_cast<std::int32_t>(0x800401E3);    // MK_E_UNAVAILABLE
constexpr std::int32_t kErrApplication = static_cast<std::int32_t>(0x800A03EC);    // the application's own

// Where a failure surfaced: from a call of the object model (reported to the user by the
// handlers) or from an interface below it (swallowed by the handlers, shown by the command).
enum class ErrorOrigin { Dispatch, Interface };

class AutomationError : public std::runtime_error {
public:
    // An empty description is allowed; handlers then show the code's system text.
    AutomationError(std::int32_t code, const std::string& description,
                    ErrorOrigin origin = ErrorOrigin::Dispatch)
        : std::runtime_error(description), code_(code), origin_(origin) {}

    std::int32_t Code() const { return code_; }
    // The application's text of the failure; "" when it gave none.
    std::string Description() const { return what(); }
    ErrorOrigin Origin() const { return origin_; }

private:
    std::int32_t code_;
    ErrorOrigin origin_;
};

}  // namespace arxutils::excel
