// The template stream on a table made by the wizard: an xrecord in the table's extension
// dictionary whose chain holds the stream cut into binary chunks (310) of 127 bytes, the last one
// shorter, even empty, so that the Windows program reads the same bytes back.

#include <algorithm>

#include "attbat/export/CAttPreviewPage.h"
#include "attbat/export/CScheduleDialog.h"
#include "attbat/model/Archive.h"
#include "base/Format.h"
#include "base/Hex.h"
#include "cad/Dictionary.h"
#include "cad/geometry/Table.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

// The bytes of one binary chunk, as the host's result buffers carry them.
constexpr std::size_t kChunkBytes = 127;

}  // namespace

std::vector<std::string> CAttPreviewPage::TemplateChunks(std::string_view stream) {
    std::vector<std::string> chunks;
    // The writing stops at the first chunk shorter than a whole one.
    for (std::size_t at = 0;; at += kChunkBytes) {
        std::string_view chunk = stream.substr(std::min(at, stream.size()), kChunkBytes);
        chunks.emplace_back(chunk);
        if (chunk.size() < kChunkBytes) break;
    }
    return chunks;
}

base::Status CAttPreviewPage::WriteTemplateToTable(cad::Table& table) {
    wizard_.m_attributePage.CollectPage();
    Archive archive = Archive::ForStoring();
    int failure = 0;
    wizard_.SerializeTemplate(archive, failure);
    cad::TagList chunks;
    for (const std::string& chunk : TemplateChunks(archive.Bytes())) chunks.push_back({310, base::HexOf(chunk)});
    auto dictionary = table.GetOrCreateExtensionDictionary();
    if (!dictionary) return dictionary.GetStatus();
    auto record = dictionary->SetXrecord(CScheduleDialog::templateSignature, chunks);
    if (!record) return record.GetStatus();
    return base::Status::Ok();
}

int CScheduleDialog::LoadTemplateFromTable(const cad::Table& table) {
    if (!table) return 0;
    cad::Dictionary dictionary = table.ExtensionDictionary();
    if (!dictionary) return 0;
    cad::Object entry = dictionary.Get(templateSignature);
    if (!entry || entry.Type() != "XRECORD") return 0;
    std::string stream;
    for (const cad::Tag& tag : cad::Xrecord(entry.GetDatabase(), entry.Index()).Data())
        if (tag.code == 310) stream += base::BytesOfHex(tag.value);
    Archive archive = Archive::ForLoading(stream);
    int failure = 0;
    if (!SerializeTemplate(archive, failure)) {
        // Damage past the version gets the same kind of message, numbered 3 as the file's is,
        // rather than ending the command unexplained.
        host::ShowMessage(base::Sprintf("Invalid Velmar template data: %d.", failure), "Velmar");
        return 0;
    }
    return 1;
}

bool CScheduleDialog::UpdateTable(cad::Table& table) {
    if (!LoadTemplateFromTable(table)) {
        host::ShowMessage("Can't load the attribute template information.", "Orvane Velmar");
        return false;
    }
    m_previewPage.WriteRowsToTable(table);
    host::PrintfOnceSaved("\nUpdate the table successfully.");
    return true;
}

}  // namespace attbat
