#include "attbat/links/ExcelLinkStore.h"

#include <memory>

#include "base/Path.h"
#include "base/Text.h"
#include "cad/Dictionary.h"
#include "cad/Entity.h"
#include "host/Document.h"
#include "host/Printer.h"

namespace attbat {

namespace {

constexpr const char* kSaveName = "CAttBatch::SaveLinkToDrawing";
constexpr const char* kReadName = "CAttBatch::ReadLinkFromDrawing";
constexpr const char* kDeleteName = "CAttBatch::DeleteLinkFromDrawing";

// The 1000 strings of `app` that stand outside 1002 brace pairs, in order.
std::vector<std::string> LinkStrings(const cad::Object& object, std::string_view app) {
    std::vector<std::string> strings;
    if (object.IsErased() || app.empty()) return strings;
    bool inBraces = false;
    for (const cad::Tag& tag : object.Xdata(app)) {
        if (tag.code == 1002) inBraces = !inBraces;
        else if (tag.code == 1000 && !inBraces) strings.push_back(tag.value);
    }
    return strings;
}

// The side database of `path`, with the open failure line printed.
std::unique_ptr<cad::Database> ReadForLink(const std::string& path) {
    auto db = host::ReadSideDatabase(path);
    if (!db) {
        host::Printf("\nFailed to open %s: %s.", path, host::StatusText(db.GetStatus()));
        return nullptr;
    }
    return std::move(*db);
}

// References carrying workbook link data, as the "INSERT" plus -3 application filter selects.
std::vector<cad::Entity> LinkedInserts(cad::Database& db) {
    return db.Select({{0, "INSERT"}, {-3, ""}, {1001, std::string(kWorkbookLinkApp)}});
}

}  // namespace

bool SaveLinkToDrawing(cad::Database* db, std::string_view workbookPath) {
    if (db == nullptr) return false;
    cad::Dictionary root = db->NamedObjects();
    if (!root) {
        host::Printf("\n%s: %s.", kSaveName, "the drawing has no named object dictionary");
        return false;
    }
    auto dictionary = root.GetOrAddDictionary(kLinkDictionary);
    if (!dictionary) {
        host::Printf("\n%s: %s.", kSaveName, dictionary.GetStatus().Message());
        return false;
    }
    auto record = dictionary->SetXrecord(kLinkRecord, {{1, std::string(workbookPath)}});
    if (!record) {
        host::Printf("\n%s: %s.", kSaveName, record.GetStatus().Message());
        return false;
    }
    return true;
}

bool ReadLinkFromDrawing(cad::Database* db, std::string& result) {
    if (db == nullptr) return false;
    cad::Dictionary root = db->NamedObjects();
    if (!root) return false;
    cad::Object dictionaryObject = root.Get(kLinkDictionary);
    if (!dictionaryObject || dictionaryObject.Type() != "DICTIONARY") return false;
    cad::Object recordObject = cad::Dictionary(dictionaryObject.GetDatabase(), dictionaryObject.Index()).Get(kLinkRecord);
    if (!recordObject || recordObject.Type() != "XRECORD") return false;
    cad::TagList data = cad::Xrecord(recordObject.GetDatabase(), recordObject.Index()).Data();
    // A record holding something else reads as an empty link; the record itself was found.
    if (!data.empty() && data.front().code == 1) result = data.front().value;
    return true;
}

bool DeleteLinkFromDrawing(cad::Database* db) {
    if (db == nullptr) return false;
    cad::Dictionary root = db->NamedObjects();
    if (!root) {
        host::Printf("\n%s: %s.", kDeleteName, "the drawing has no named object dictionary");
        return false;
    }
    if (root.Has(kLinkDictionary)) root.Remove(kLinkDictionary);
    return true;
}

bool SaveLinkToDrawing(const std::string& drawingPath, std::string_view workbookPath) {
    if (drawingPath.empty() || !base::FileExists(drawingPath)) {
        host::Printf("\n%s: Invalid drawing file.", kSaveName);
        return false;
    }
    if (workbookPath.empty()) {
        host::Printf("\n%s: Invalid Excel file.", kSaveName);
        return false;
    }
    std::unique_ptr<cad::Database> db = ReadForLink(drawingPath);
    if (!db) return false;
    SaveLinkToDrawing(db.get(), workbookPath);
    // The save's outcome isn't part of the answer: the link was made.
    (void)host::SaveSideDatabase(*db, drawingPath);
    return true;
}

bool ReadLinkFromDrawing(const std::string& drawingPath, std::string& result) {
    if (!base::FileExists(drawingPath)) {
        host::Printf("\n%s: Invalid drawing file.", kReadName);
        return false;
    }
    std::unique_ptr<cad::Database> db = ReadForLink(drawingPath);
    if (!db) return false;
    ReadLinkFromDrawing(db.get(), result);
    return true;
}

bool DeleteLinkFromDrawing(const std::string& drawingPath) {
    if (drawingPath.empty() || !base::FileExists(drawingPath)) {
        host::Printf("\n%s: Invalid drawing file.", kDeleteName);
        return false;
    }
    std::unique_ptr<cad::Database> db = ReadForLink(drawingPath);
    if (!db) return false;
    DeleteLinkFromDrawing(db.get());
    (void)host::SaveSideDatabase(*db, drawingPath);
    return true;
}

bool SetXDataString(cad::Object object, std::string_view app, std::string_view text, bool append) {
    if (object.IsNull() || app.empty()) return false;
    if (object.IsErased()) {
        host::Printf("acdbOpenEntity failed in setXdata function");
        return false;
    }
    cad::TagList data;
    if (append) {
        cad::TagList old = object.Xdata(app);
        for (std::size_t i = 1; i < old.size(); ++i) {
            if (old[i].code == 1000 && base::EqualNoCase(old[i].value, text)) return true;
            data.push_back(old[i]);
        }
    }
    data.push_back({1000, std::string(text)});
    return object.SetXdata(app, data).IsOk();
}

bool GetXDataString(const cad::Object& object, std::string_view app, std::string& result) {
    std::vector<std::string> strings = LinkStrings(object, app);
    if (strings.empty()) {
        result.clear();
        return false;
    }
    result = strings.front();
    return true;
}

bool GetXDataStrings(const cad::Object& object, std::string_view app, std::vector<std::string>& result) {
    for (std::string& text : LinkStrings(object, app)) result.push_back(std::move(text));
    return !result.empty();
}

bool DeleteXData(cad::Object object, std::string_view app) {
    if (object.IsNull() || app.empty()) return false;
    if (object.IsErased()) {
        host::Printf("acdbOpenEntity failed in deleteXdata function");
        return false;
    }
    object.DeleteXdata(app);
    return true;
}

bool GetLinkedWorkbooks(cad::Database& db, std::vector<std::string>& result) {
    for (const cad::Entity& entity : LinkedInserts(db)) {
        std::string link;
        if (!GetXDataString(entity, kWorkbookLinkApp, link) || link.empty()) continue;
        // Compared with regard to case on purpose: paths differing in case are listed apart.
        bool known = false;
        for (const std::string& path : result) known = known || path == link;
        if (!known) result.push_back(link);
    }
    return !result.empty();
}

bool GetLinkedReferences(cad::Database& db, std::vector<cad::Object>& result,
                         std::string_view workbookPath) {
    for (const cad::Entity& entity : LinkedInserts(db)) {
        std::string link;
        if (!GetXDataString(entity, kWorkbookLinkApp, link) || link.empty()) continue;
        if (!workbookPath.empty() && !base::EqualNoCase(link, workbookPath)) continue;
        result.push_back(entity);
    }
    return !result.empty();
}

}  // namespace attbat
