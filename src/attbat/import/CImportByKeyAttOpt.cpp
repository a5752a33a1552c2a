#include "attbat/import/CImportByKeyAttOpt.h"

#include <vector>

#include "attbat/frame/CRegistry.h"
#include "attbat/model/Archive.h"
#include "base/Text.h"

namespace attbat {

namespace {

constexpr std::string_view kSection = "Velmar";
constexpr std::string_view kDrawingList = "DrawingList";
constexpr std::string_view kColumnMap = "Col2TagMap";

}  // namespace

void CImportByKeyAttOpt::LoadSettings() {
    BlockNames = CRegistry::GetString(kSection, "ExtImportBlockName", BlockNames);
    KeyTag = CRegistry::GetString(kSection, "ExtImportKeyAttTag", KeyTag);
    AttTagOption = CRegistry::GetInt(kSection, "ExtImportAttTagOpt", AttTagOption);
    DrawingOption = CRegistry::GetInt(kSection, "ExtImportDrawingOpt", DrawingOption);
    UseWildcardInKeyAttTag = CRegistry::GetInt(kSection, "UseWildcardInKeyAttTag", UseWildcardInKeyAttTag);
    SaveAsCurrentDwgVersion = CRegistry::GetInt(kSection, "SaveAsCurrentDwgVersion", SaveAsCurrentDwgVersion);
    IgnoreDwgFolder = CRegistry::GetInt(kSection, "IgnoreDwgFolder", IgnoreDwgFolder);
    Drawings.RemoveAll();
    for (std::string& path : CRegistry::GetList(kDrawingList)) Drawings.Add(std::move(path));
    ColumnToTag = CRegistry::GetMap(kColumnMap);
}

bool CImportByKeyAttOpt::SaveSettings() const {
    bool ok = CRegistry::SetString(kSection, "ExtImportBlockName", BlockNames);
    ok &= CRegistry::SetString(kSection, "ExtImportKeyAttTag", KeyTag);
    ok &= CRegistry::SetInt(kSection, "ExtImportAttTagOpt", AttTagOption);
    ok &= CRegistry::SetInt(kSection, "ExtImportDrawingOpt", DrawingOption);
    ok &= CRegistry::SetInt(kSection, "UseWildcardInKeyAttTag", UseWildcardInKeyAttTag);
    ok &= CRegistry::SetInt(kSection, "SaveAsCurrentDwgVersion", SaveAsCurrentDwgVersion);
    ok &= CRegistry::SetInt(kSection, "IgnoreDwgFolder", IgnoreDwgFolder);
    ok &= SaveDrawings();
    ok &= SaveColumnToTag();
    return ok;
}

bool CImportByKeyAttOpt::SaveDrawings() const {
    return CRegistry::SetList(kDrawingList, std::vector<std::string>(Drawings.begin(), Drawings.end()));
}

bool CImportByKeyAttOpt::SaveColumnToTag() const {
    return CRegistry::SetMap(kColumnMap, ColumnToTag);
}

void CImportByKeyAttOpt::Serialize(Archive& archive) {
    archive.Int32(Reserved);
    archive.Int32(AttTagOption);
    archive.Int32(DrawingOption);
    archive.Int32(KeyColumn);
    archive.Int32(HeaderRow);
    archive.String(BlockNames);
    archive.String(KeyTag);
    archive.String(Workbook);
    archive.String(Worksheet);
    archive.StringArray(Drawings);
    // The map as the Windows program's string map stores itself: a count, then key and value.
    std::uint64_t count = archive.IsStoring() ? ColumnToTag.size() : 0;
    archive.Count(count);
    if (archive.IsStoring()) {
        for (auto& [column, tag] : ColumnToTag) {
            std::string key = column;
            archive.String(key);
            archive.String(tag);
        }
        return;
    }
    for (std::uint64_t i = 0; i < count && archive.Ok(); ++i) {
        std::string column, tag;
        archive.String(column);
        archive.String(tag);
        if (archive.Ok()) ColumnToTag[column] = tag;
    }
}

void CImportByKeyAttOpt::BlockNameList(tables::CStringArrayEx& out) const {
    const std::string names = base::Trim(BlockNames, "; ");
    std::size_t start = 0;
    while (start <= names.size()) {
        std::size_t end = names.find(';', start);
        if (end == std::string::npos) end = names.size();
        if (end > start) out.Add(names.substr(start, end - start));
        start = end + 1;
    }
}

std::string CImportByKeyAttOpt::OptionFileBytes() {
    Archive archive = Archive::ForStoring();
    std::string signature(magic);
    archive.String(signature);
    Serialize(archive);
    return archive.Bytes();
}

base::Status CImportByKeyAttOpt::LoadOptionFile(std::string_view bytes) {
    Archive archive = Archive::ForLoading(bytes);
    std::string signature;
    archive.String(signature);
    // A magic that can't even be read is damage, as the Windows program's end-of-file error
    // is; one read whole but different is a file of something else.
    if (!archive.Ok()) return base::Status::Error("Invalid Velmar option file: 3.");
    if (!base::EqualNoCase(signature, magic)) return base::Status::Error("Invalid Velmar option file: 1.");
    // Loaded into a copy: a file that breaks off half way changes nothing. The check boxes
    // aren't in the file and keep their state through the copy.
    CImportByKeyAttOpt loaded = *this;
    loaded.ColumnToTag.clear();
    loaded.Serialize(archive);
    if (!archive.Ok()) return base::Status::Error("Invalid Velmar option file: 3.");
    *this = std::move(loaded);
    return base::Status::Ok();
}

}  // namespace attbat
