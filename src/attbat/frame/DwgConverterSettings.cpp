#include "attbat/frame/DwgConverterSettings.h"

#include <string_view>

#include "attbat/frame/CRegistry.h"
#include "host/DwgConverter.h"
#include "host/Printer.h"

namespace attbat {

namespace {

constexpr std::string_view section = "Velmar";

std::string Converter(std::string_view name, const std::optional<std::string>& given) {
    if (given) {
        std::optional<std::string_view> text;
        if (!given->empty()) text = *given;
        if (!CRegistry::SetString(section, name, text))
            host::CurrentPrinter().Warn("The setting " + std::string(name) + " could not be stored; it holds for this run.");
        return *given;
    }
    return CRegistry::GetString(section, name, "");
}

}  // namespace

void UseDwgConverters(const std::optional<std::string>& toDxf, const std::optional<std::string>& toDwg) {
    host::SetDwgConverters({Converter("DwgConverter", toDxf), Converter("DxfToDwgConverter", toDwg)});
}

void ForgetDwgConverters() { host::SetDwgConverters({}); }

}  // namespace attbat
