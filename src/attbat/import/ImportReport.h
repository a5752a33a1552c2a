#pragma once
// What an import tells of the values it changed, or in a dry run would change: one line each,
// or with a machine-readable report one JSON object on standard output, and a count in the
// summary.

#include <string>
#include <vector>

#include "attbat/frame/CommandContext.h"
#include "attbat/import/ImportByHandle.h"

namespace attbat {

// `unmatched`, when not null, lists the sheet rows whose key matched nothing (the import by key).
void ReportChanges(CommandContext& context, const std::vector<ImportChange>& changes, bool dryRun,
                   const std::vector<std::string>* unmatched = nullptr);

}  // namespace attbat
