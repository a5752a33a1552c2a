#pragma once
// The DWG converters of a run: kept in the settings (section "Velmar", DwgConverter and
// DxfToDwgConverter), a value given for the run being stored first, as a dialog's OK would.

#include <optional>
#include <string>

namespace attbat {

// Stores the given commands (an empty one removes the setting), then hands the stored ones to
// the host for the run's drawings.
void UseDwgConverters(const std::optional<std::string>& toDxf, const std::optional<std::string>& toDwg);
// Forgets the run's converters.
void ForgetDwgConverters();

}  // namespace attbat
