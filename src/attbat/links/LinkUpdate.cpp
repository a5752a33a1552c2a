#include "attbat/links/LinkUpdate.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <string>
#include <vector>

#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "attbat/frame/CRegistry.h"
#include "attbat/links/CAttLinkDataCache.h"
#include "attbat/links/ExcelLinkStore.h"
#include "base/Path.h"
#include "base/Format.h"
#include "base/Text.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"
#include "host/WorkingDatabase.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
using arxutils::excel::AutomationError;

constexpr std::string_view kSection = "Velmar";

std::int64_t Now() {
    return std::chrono::duration_cast<std::chrono::seconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// The running spreadsheet for one update: attached, or started when none runs, and left as it
// was found. Workbooks the update opens are closed again and the active one made active again,
// so that the command that follows the drawing's load finds the instance it was given; an
// instance the update started is ended.
class LinkedWorkbooks {
public:
    LinkedWorkbooks() {
        if (ExcelUtils::ConnectToExcel(false)) {
            attached_ = true;
            if (ExcelUtils::Workbook) before_ = ExcelUtils::Workbook->FullName();
            auto books = ExcelUtils::Application->GetWorkbooks();
            for (int i = 1, n = books->Count(); i <= n; ++i) open_.insert(books->Item(i)->FullName());
        } else {
            attached_ = started_ = ExcelUtils::StartExcel(false);
        }
    }
    ~LinkedWorkbooks() {
        try {
            if (started_ && ExcelUtils::Application) {
                ExcelUtils::Application->Quit();
            } else if (attached_ && ExcelUtils::Application) {
                Restore();
            }
        } catch (const AutomationError&) {
            // Putting the instance back is a courtesy: the drawing is what the update changed.
        }
        ExcelUtils::Disconnect();
    }
    LinkedWorkbooks(const LinkedWorkbooks&) = delete;
    LinkedWorkbooks& operator=(const LinkedWorkbooks&) = delete;

    bool Attached() const { return attached_; }

    // Opens `path` and reads the comments of every sheet into `map`, the active sheet active
    // again afterwards; false when it couldn't be opened (said by the opening) or a sheet
    // couldn't be read (what was read before stays in `map`).
    bool Read(const std::string& path, bool ignoreProperties, ImportMap& map) {
        if (!ExcelUtils::OpenWorkbook(path) || !ExcelUtils::Workbook) return false;
        ExcelUtils::Worksheet = ExcelUtils::Workbook->ActiveSheet();
        return ExcelUtils::ForEachWorksheet([&] { return ReadCommentAndText(map, ignoreProperties); });
    }

private:
    void Restore() {
        auto books = ExcelUtils::Application->GetWorkbooks();
        for (int i = books->Count(); i >= 1; --i) {
            auto book = books->Item(i);
            if (!open_.count(book->FullName())) book->Close();
        }
        for (int i = 1, n = books->Count(); i <= n; ++i) {
            auto book = books->Item(i);
            if (book->FullName() == before_) book->Activate();
        }
    }

    bool attached_ = false;
    bool started_ = false;
    std::string before_;
    std::set<std::string> open_;
};

// The import options of an automatic update: the current drawing only, properties as set.
ImportByHandleOptions AutomaticImportOptions() {
    ImportByHandleOptions options;
    options.CurrentDrawingOnly = 1;
    options.IgnoreProperty = CRegistry::GetInt(kSection, "AutoUpdateIgnoreProp", 1) != 0 ? 1 : 0;
    return options;
}

}  // namespace

bool ReadCommentAndText(ImportMap& map, bool ignoreProperties) {
    bool ok = true;
    try {
        if (!ExcelUtils::Worksheet) throw AutomationError(0, "");
        auto comments = ExcelUtils::Worksheet->GetComments();
        const int count = comments->Count();
        host::ProgressMeter meter("Reading the data from Excel...", count + 1);
        for (int i = 1; i <= count; ++i) {
            try {
                ExcelUtils::AddKeyLines(*comments->Item(i), map, ignoreProperties);
            } catch (const AutomationError& e) {
                host::Printf("\nComment %d of %s couldn't be read: %s", i, ExcelUtils::Worksheet->GetName(),
                             e.Description());
            }
            meter.Step();
        }
    } catch (const AutomationError& e) {
        host::ShowMessage(e.Description().empty() ? "Unknown error in ReadCommentAndText" : e.Description(),
                          "Velmar");
        ok = false;
    }
    return ok;
}

void UpdateAttributesFromLink2() {
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    if (!current || !current->Load()) return;
    std::vector<std::string> paths;
    if (!GetLinkedWorkbooks(current->Database(), paths)) return;
    const ImportByHandleOptions options = AutomaticImportOptions();
    try {
        LinkedWorkbooks excel;
        if (!excel.Attached()) {
            host::ShowMessage("Cannot start Excel.", "Velmar");
            return;
        }
        for (const std::string& path : paths) {
            if (!base::FileExists(path)) {
                host::Printf("\nCannot to find %s.", path);
                continue;
            }
            ImportMap map;
            // A workbook that couldn't be opened was said by the opening; its sheets read
            // before a failure still count.
            if (!excel.Read(path, options.IgnoreProperty != 0, map) && map.empty()) continue;
            ApplyImportMap(std::move(map), options, nullptr, false);
        }
    } catch (const AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    } catch (...) {
        host::ShowMessage("Unknown error in UpdateAttributesFromLink2.", "Velmar");
    }
}

void UpdateAttributesFromLink() {
    CAttLinkDataCachePtrArray& cache = LinkDataCache();
    const std::int64_t minutes = (Now() - lastCachedUpdate) / 60;
    if (minutes > CRegistry::GetInt(kSection, "ClearCacheInterval", 5)) cache.RemoveAll();
    std::string path;
    if (!ReadLinkFromDrawing(host::WorkingDatabase(), path) || path.empty()) return;
    if (!base::FileExists(path)) {
        host::Printf("\nFailed to find %s.", path);
        return;
    }
    CAttLinkDataCache* entry = cache.Find(path);
    std::unique_ptr<CAttLinkDataCache> made;
    if (!entry) {
        made = std::make_unique<CAttLinkDataCache>(path);
        entry = made.get();
    }
    const ImportByHandleOptions options = AutomaticImportOptions();
    try {
        if (entry->Refresh(path)) {
            LinkedWorkbooks excel;
            if (!excel.Attached()) {
                host::ShowMessage("Cannot start Excel.", "Velmar");
                return;
            }
            entry->values.clear();
            excel.Read(path, options.IgnoreProperty != 0, entry->values);
        }
    } catch (const AutomationError& e) {
        host::ShowMessage(e.Description(), "Velmar");
    } catch (...) {
        host::ShowMessage("Unknown error in UpdateAttributesFromLink.", "Velmar");
    }
    ApplyImportMap(entry->values, options, nullptr, false);
    if (made) cache.Add(std::move(made));
    lastCachedUpdate = Now();
}

}  // namespace attbat
