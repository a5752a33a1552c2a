#include "attbat/schedules/AttDefImport.h"

#include <memory>

#include "arxutils/ArxUtils.h"
#include "arxutils/ExcelUtils.h"
#include "arxutils/excel/AutomationError.h"
#include "arxutils/excel/ExcelServer.h"
#include "attbat/frame/CArxErrLog.h"
#include "attbat/model/DrawingWriter.h"
#include "attbat/schedules/AttDefKey.h"
#include "attbat/schedules/CExportAttDefDialog.h"
#include "base/Format.h"
#include "base/Path.h"
#include "base/Text.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "host/Document.h"
#include "host/Printer.h"
#include "host/ProgressMeter.h"
#include "host/Ui.h"

namespace attbat {

namespace {

using arxutils::ExcelUtils;
namespace excel = arxutils::excel;

constexpr std::string_view kMethod = "CAttBatch::ImportAttDefsByHandle";

// Sets one field of `def` to `value` when it isn't empty and differs; the change is listed.
template <class Get, class Set>
void Apply(const AcadAttributeDef& record, std::string_view field, const std::string& value, Get get, Set set,
           bool write, std::vector<AttDefChange>& changes) {
    const std::string before = get();
    if (value.empty() || value == before) return;
    changes.push_back({DrawingOf(record), HandleOf(record), std::string(field), before, value});
    if (write) set(value);
}

// The records of one drawing written to `db`.
void WriteRecords(cad::Database& db, const std::string& drawing, const AcadAttributeDefArray& records, bool write,
                  std::vector<AttDefChange>& changes) {
    for (const AcadAttributeDef& record : records) {
        if (!base::EqualNoCase(DrawingOf(record), drawing)) continue;
        cad::Object object = arxutils::HandleToId(db, HandleOf(record));
        if (!object || object.IsErased() || object.Type() != "ATTDEF") continue;
        cad::AttributeDefinition def(object.GetDatabase(), object.Index());
        Apply(record, "Tag", record.tag, [&] { return def.Tag(); }, [&](const std::string& v) { def.SetTag(v); },
              write, changes);
        Apply(record, "Prompt", record.prompt, [&] { return def.Prompt(); },
              [&](const std::string& v) { def.SetPrompt(v); }, write, changes);
        Apply(record, "DefaultValue", record.defaultValue, [&] { return def.DefaultValue(); },
              [&](const std::string& v) { def.SetValue(v); }, write, changes);
    }
}

}  // namespace

AcadAttributeDefArray BuildAttDefUpdates(const arxutils::KeyLines& map) {
    AcadAttributeDefArray records;
    for (const auto& [line, value] : map) {
        AttDefKey key;
        if (!ParseAttDefKey(line, key)) continue;
        AcadAttributeDef* record = nullptr;
        for (AcadAttributeDef& held : records) {
            if (base::EqualNoCase(DrawingOf(held), key.drawing) && base::EqualNoCase(HandleOf(held), key.handle)) {
                record = &held;
                break;
            }
        }
        if (!record) {
            AcadAttributeDef made;
            made.extra1 = key.drawing;
            made.extra2 = key.handle;
            records.Add(std::move(made));
            record = &records[records.GetUpperBound()];
        }
        record->SetField(key.field, value);
    }
    return records;
}

std::vector<AttDefChange> WriteAttDefUpdates(const AcadAttributeDefArray& records, bool write) {
    std::vector<AttDefChange> changes;
    std::vector<std::string> drawings;
    for (const AcadAttributeDef& record : records) {
        bool known = false;
        for (const std::string& d : drawings) known = known || base::EqualNoCase(d, DrawingOf(record));
        if (!known) drawings.push_back(DrawingOf(record));
    }
    if (drawings.empty()) return changes;
    host::Document* current = host::DocumentManager::Instance().CurDocument();
    host::ProgressMeter meter("Updating the drawings...", static_cast<long>(drawings.size()));
    for (const std::string& drawing : drawings) {
        if (base::FileExists(drawing)) {
            const bool isCurrent = current && base::EqualNoCase(drawing, current->FileName());
            std::unique_ptr<cad::Database> side;
            cad::Database* db = nullptr;
            if (isCurrent) db = current->Load() ? &current->Database() : nullptr;
            else db = ReachDrawing(drawing, side);
            if (db) {
                const std::size_t before = changes.size();
                WriteRecords(*db, drawing, records, write, changes);
                if (side && write && changes.size() > before) {
                    if (base::Status saved = host::SaveSideDatabase(*side, drawing); !saved)
                        host::Printf("\nFailed to save %s: %s.", drawing, host::StatusText(saved));
                }
            }
        }
        meter.Step();
    }
    return changes;
}

bool ImportAttDefsByHandle(bool write, std::vector<AttDefChange>& changes, bool& declined) {
    declined = false;
    ErrLog().Write("%s - Start.", kMethod);
    if (!ExcelUtils::ConnectToExcel(false) || !ExcelUtils::Workbook || !ExcelUtils::Worksheet) {
        ExcelUtils::Disconnect();
        host::ShowMessage("Please start Excel and open the exported workbook first.", "Velmar");
        return false;
    }
    arxutils::KeyLines map;
    try {
        const std::string question =
            base::Sprintf("Are you sure you want to import the attribute definitions from %s[%s]?",
                          ExcelUtils::Workbook->FullName(), ExcelUtils::Worksheet->GetName());
        if (!host::AskYesNo(question, "Orvane Velmar")) {
            ExcelUtils::Disconnect();
            declined = true;
            return false;
        }
        ErrLog().Write("%s - %d", kMethod, 1);
        ExcelUtils::ReadCommentAndText(map, true);
    } catch (const excel::AutomationError& e) {
        ExcelUtils::Disconnect();
        host::ShowMessage(e.Description(), "Velmar");
        return false;
    }
    ExcelUtils::Disconnect();
    excel::CurrentServer().ReleaseUnchangedData();
    ErrLog().Write("%s - %d", kMethod, 2);
    changes = WriteAttDefUpdates(BuildAttDefUpdates(map), write);
    ErrLog().Write("%s - %d", kMethod, 3);
    return true;
}

}  // namespace attbat
