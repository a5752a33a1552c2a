#include "cli/LiveSpreadsheet.h"

#ifdef VELMAR_HAVE_CALC
#include <dlfcn.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "arxutils/calc/CalcModule.h"
#include "base/Path.h"
#include "host/Locations.h"
#include "host/Printer.h"
#endif

namespace cli {

#ifdef VELMAR_HAVE_CALC
namespace {

// Where the module may be: beside the program (the build tree), then in the library folder of
// an installed one; none when the system doesn't say where the program is.
std::vector<std::string> ModulePlaces() {
    const std::string bin = base::Folder(host::ProgramFile());
    if (bin.empty()) return {};
    const std::string library = base::JoinPath(base::Folder(bin), VELMAR_INSTALL_LIBDIR);
    return {base::JoinPath(bin, arxutils::calc::kModuleFile),
            base::JoinPath(library, std::string("velmar/") + arxutils::calc::kModuleFile)};
}

// The module's entry, loaded once per process (and never let go: the backend's code must stay
// while any of its objects lives); null with `error` saying why when it can't be had.
arxutils::calc::ModuleEntry LoadModule(std::string& error) {
    static std::once_flag once;
    static arxutils::calc::ModuleEntry entry = nullptr;
    static std::string failure;
    std::call_once(once, [] {
        std::string tried;
        for (const std::string& place : ModulePlaces()) {
            if (!base::FileExists(place)) {
                tried += (tried.empty() ? "" : ", ") + place;
                continue;
            }
            void* module = ::dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
            if (!module) {
                const char* why = ::dlerror();
                failure = "The LibreOffice Calc backend " + place + " could not be loaded: " +
                          (why ? why : "no reason given") + ".";
                return;
            }
            entry = reinterpret_cast<arxutils::calc::ModuleEntry>(
                ::dlsym(module, arxutils::calc::kModuleEntry));
            if (!entry)
                failure = "The LibreOffice Calc backend " + place + " has no entry " +
                          arxutils::calc::kModuleEntry + "; it belongs to another velmar.";
            return;
        }
        const std::string where = tried.empty() ? "the system doesn't say where velmar is"
                                                : "looked for " + tried;
        failure = "The LibreOffice Calc backend of this velmar is missing (" + where +
                  "); use --spreadsheet file.";
    });
    error = failure;
    return entry;
}

}  // namespace
#endif

attbat::LiveServerFactory LiveServerFactory() {
#ifdef VELMAR_HAVE_CALC
    return [](const std::string& connection, bool start,
              const arxutils::excel::FileBackendOptions& workbooks) -> std::unique_ptr<arxutils::excel::ExcelServer> {
        std::string error;
        const arxutils::calc::ModuleEntry create = LoadModule(error);
        if (!create) {
            host::CurrentPrinter().Warn(error);
            return nullptr;
        }
        arxutils::calc::CalcBackendOptions options;
        options.connection = connection;
        options.start = start;
        options.workbook = workbooks.workbook;
        options.sheet = workbooks.sheet;
        options.selection = workbooks.selection;
        options.activeCell = workbooks.activeCell;
        return std::unique_ptr<arxutils::excel::ExcelServer>(create(options));
    };
#else
    return {};
#endif
}

}  // namespace cli
