#include "attbat/frame/DwgConverterSettings.h"

#include "attbat/frame/RunSettings.h"
#include "host/DwgConverter.h"

namespace attbat {

void UseDwgConverters(const std::optional<std::string>& toDxf, const std::optional<std::string>& toDwg) {
    host::SetDwgConverters({GivenOrStored("DwgConverter", toDxf), GivenOrStored("DxfToDwgConverter", toDwg)});
}

void ForgetDwgConverters() { host::SetDwgConverters({}); }

}  // namespace attbat
