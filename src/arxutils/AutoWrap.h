#pragma once
// The two ways an automation failure reaches the user outside a command's own messages: the
// box of ReportOleError, and the call by name that ends the program when it fails.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "arxutils/excel/ExcelObjects.h"

namespace arxutils {

// The system's text of an automation code ("Exception occurred." ...); "" for a code it has no
// text for.
std::string SystemErrorText(std::int32_t code);

// Shows the failure in an information box: `description` when the failure carried one, else the
// system's text of `code`, else the line that names this source and the code.
void ReportOleError(std::int32_t code, std::string_view description = {});

// Calls member `name` of `object` by name with `args` in the order given. A null object, an
// unknown name or a failed call shows an error box titled as the failure and ends the process
// with status 0: that is the settled behaviour of this one call. Gives 0 on success.
std::int32_t AutoWrap(int flags, excel::Variant* result, excel::Dispatch* object, std::string_view name,
                      std::vector<excel::Variant> args = {});

}  // namespace arxutils
