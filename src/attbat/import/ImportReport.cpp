#include "attbat/import/ImportReport.h"

#include <cstdio>

#include "base/Format.h"
#include "host/Printer.h"

namespace attbat {

void ReportChanges(CommandContext& context, const std::vector<ImportChange>& changes, bool dryRun,
                   const std::vector<std::string>* unmatched) {
    if (context.reportAsJson) {
        std::string out = "{\"changes\": [";
        for (std::size_t i = 0; i < changes.size(); ++i) {
            const ImportChange& c = changes[i];
            out += (i ? ", " : "") + base::Sprintf("{\"drawing\": %s, \"handle\": %s, \"field\": %s, \"old\": %s, \"new\": %s}",
                                                    JsonQuote(c.drawing), JsonQuote(c.handle), JsonQuote(c.field),
                                                    JsonQuote(c.oldValue), JsonQuote(c.newValue));
        }
        out += "]";
        if (unmatched) {
            out += ", \"unmatched\": [";
            for (std::size_t i = 0; i < unmatched->size(); ++i) out += (i ? ", " : "") + JsonQuote((*unmatched)[i]);
            out += "]";
        }
        // Straight to standard output, ahead of the summary line: the list is the answer asked for.
        out += "}\n";
        std::fwrite(out.data(), 1, out.size(), stdout);
        std::fflush(stdout);
    } else if (dryRun) {
        for (const ImportChange& c : changes) {
            host::Printf("\n%s %s %s: '%s' -> '%s'", c.drawing, c.handle, c.field, c.oldValue, c.newValue);
        }
        if (unmatched) {
            for (const std::string& row : *unmatched) host::Printf("\n%s matched no reference.", row);
        }
        host::Printf("\n%d change(s); nothing was written.", static_cast<int>(changes.size()));
    }
    context.Summary("changes", static_cast<long long>(changes.size()));
    if (unmatched) context.Summary("unmatched", static_cast<long long>(unmatched->size()));
}

}  // namespace attbat
