#include "xl/Workbook.h"

#include <fmt/format.h>
#include <pugixml.hpp>

#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/File.h"
#include "base/MappedFile.h"
#include "base/Memory.h"
#include "base/Path.h"
#include "base/Text.h"
#include "xl/FormulaRefs.h"
#include "xl/SharedStrings.h"
#include "xl/Styles.h"
#include "xl/Xml.h"

namespace xl {
namespace {

const char kMainNs[] = "http://schemas.openxmlformats.org/spreadsheetml/2006/main";
const char kRelNs[] = "http://schemas.openxmlformats.org/officeDocument/2006/relationships";
const char kSheetType[] = "application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml";
// From this many notes a sheet's cells are made while its notes' drawing is made on another
// thread (which takes longer than the cells then); with fewer, the two streams' buffers side by
// side would weigh more in the save's peak than the little time won.
constexpr std::size_t kNotesToWriteCellsBeside = 200000;

std::string NewSheetXml() {
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<worksheet xmlns=\"") +
           kMainNs + "\" xmlns:r=\"" + kRelNs +
           "\"><dimension ref=\"A1\"/><sheetViews><sheetView workbookViewId=\"0\"/></sheetViews>"
           "<sheetFormatPr defaultRowHeight=\"15\"/><sheetData/>"
           "<pageMargins left=\"0.7\" right=\"0.7\" top=\"0.75\" bottom=\"0.75\" header=\"0.3\" footer=\"0.3\"/>"
           "</worksheet>";
}

std::string NowIso() {
    std::time_t t = std::time(nullptr);
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[32];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
    return buf;
}

// Where each built-in property lives: part (core or app) and element local name.
struct PropertySlot {
    const char* name;
    bool core;
    const char* element;
};
const PropertySlot kProperties[] = {
    {"Title", true, "title"},           {"Subject", true, "subject"},
    {"Author", true, "creator"},        {"Keywords", true, "keywords"},
    {"Comments", true, "description"},  {"Last Author", true, "lastModifiedBy"},
    {"Revision Number", true, "revision"}, {"Last Print Date", true, "lastPrinted"},
    {"Creation Date", true, "created"}, {"Last Save Time", true, "modified"},
    {"Category", true, "category"},     {"Content status", true, "contentStatus"},
    {"Application Name", false, "Application"}, {"Application Version", false, "AppVersion"}, {"Template", false, "Template"},
    {"Company", false, "Company"},      {"Manager", false, "Manager"},
    {"Hyperlink base", false, "HyperlinkBase"}, {"Security", false, "DocSecurity"},
    {"Total Editing Time", false, "TotalTime"},
};

}  // namespace

Workbook::Workbook() : workbookXml_(std::make_unique<pugi::xml_document>()) {}
Workbook::~Workbook() = default;

base::Result<std::unique_ptr<Workbook>> Workbook::Open(const std::string& path) {
    return base::EndsWithCommand() ? OpenMapped(path) : OpenCopied(path);
}

base::Result<std::unique_ptr<Workbook>> Workbook::OpenCopied(const std::string& path) {
    auto bytes = base::ReadFile(path);
    if (!bytes) return bytes.GetStatus();
    return FromPackage(Package::Open(std::move(*bytes), path), path);
}

base::Result<std::unique_ptr<Workbook>> Workbook::OpenMapped(const std::string& path) {
    // What isn't a non-empty regular file, or can't be mapped, is copied; the copy's reading says
    // what is wrong with it.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {};
    if (fd < 0 || ::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size == 0) {
        if (fd >= 0) ::close(fd);
        return OpenCopied(path);
    }
    auto mapped = base::MappedFile::Map(fd, path);
    if (!mapped) return OpenCopied(path);
    return FromPackage(Package::Open(std::move(*mapped), path), path);
}

base::Result<std::unique_ptr<Workbook>> Workbook::OpenImage(std::string image, std::string_view label) {
    return FromPackage(Package::Open(std::move(image), label), std::string());
}

base::Result<std::unique_ptr<Workbook>> Workbook::FromPackage(base::Result<Package> pkg,
                                                             std::string path) {
    if (!pkg) return pkg.GetStatus();
    std::unique_ptr<Workbook> book(new Workbook());
    book->package_ = std::move(*pkg);
    if (base::Status st = book->Init(); !st) return st;
    book->path_ = std::move(path);
    return book;
}

std::unique_ptr<Workbook> Workbook::Create() {
    std::unique_ptr<Workbook> book(new Workbook());
    Package& p = book->package_;
    p.Write("[Content_Types].xml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
            "<Types xmlns=\"http://schemas.openxmlformats.org/package/2006/content-types\">"
            "<Default Extension=\"rels\" ContentType=\"application/vnd.openxmlformats-package.relationships+xml\"/>"
            "<Default Extension=\"xml\" ContentType=\"application/xml\"/>"
            "<Override PartName=\"/xl/workbook.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet.main+xml\"/>"
            "<Override PartName=\"/xl/worksheets/sheet1.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.worksheet+xml\"/>"
            "<Override PartName=\"/xl/styles.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml\"/>"
            "<Override PartName=\"/docProps/core.xml\" ContentType=\"application/vnd.openxmlformats-package.core-properties+xml\"/>"
            "<Override PartName=\"/docProps/app.xml\" ContentType=\"application/vnd.openxmlformats-officedocument.extended-properties+xml\"/>"
            "</Types>");
    p.Write("_rels/.rels",
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
            "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
            "<Relationship Id=\"rId3\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/extended-properties\" Target=\"docProps/app.xml\"/>"
            "<Relationship Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties\" Target=\"docProps/core.xml\"/>"
            "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument\" Target=\"xl/workbook.xml\"/>"
            "</Relationships>");
    p.Write("docProps/app.xml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
            "<Properties xmlns=\"http://schemas.openxmlformats.org/officeDocument/2006/extended-properties\" "
            "xmlns:vt=\"http://schemas.openxmlformats.org/officeDocument/2006/docPropsVTypes\">"
            "<Application>Velmar</Application></Properties>");
    std::string now = NowIso();
    p.Write("docProps/core.xml",
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
            "<cp:coreProperties xmlns:cp=\"http://schemas.openxmlformats.org/package/2006/metadata/core-properties\" "
            "xmlns:dc=\"http://purl.org/dc/elements/1.1/\" xmlns:dcterms=\"http://purl.org/dc/terms/\" "
            "xmlns:dcmitype=\"http://purl.org/dc/dcmitype/\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
            "<dcterms:created xsi:type=\"dcterms:W3CDTF\">" + now + "</dcterms:created>"
            "<dcterms:modified xsi:type=\"dcterms:W3CDTF\">" + now + "</dcterms:modified>"
            "</cp:coreProperties>");
    p.Write("xl/workbook.xml",
            std::string("<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n<workbook xmlns=\"") +
                kMainNs + "\" xmlns:r=\"" + kRelNs +
                "\"><bookViews><workbookView activeTab=\"0\"/></bookViews><sheets>"
                "<sheet name=\"Sheet1\" sheetId=\"1\" r:id=\"rId1\"/></sheets><calcPr calcId=\"191029\"/></workbook>");
    p.Write("xl/_rels/workbook.xml.rels",
            "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
            "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">"
            "<Relationship Id=\"rId1\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet\" Target=\"worksheets/sheet1.xml\"/>"
            "<Relationship Id=\"rId2\" Type=\"http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles\" Target=\"styles.xml\"/>"
            "</Relationships>");
    p.Write("xl/worksheets/sheet1.xml", NewSheetXml());
    Styles defaults;
    (void)defaults.Load("", "styles");
    p.Write("xl/styles.xml", defaults.Save());
    base::Status st = book->Init();
    (void)st;  // the parts above are ours and always well formed
    return book;
}

base::Status Workbook::Init() {
    const std::string& label = package_.Label();
    workbookPart_ = package_.TargetOf("", "officeDocument");
    if (workbookPart_.empty()) {
        std::string relsError = package_.RelsError("");
        if (!relsError.empty()) return base::Status::Error(relsError);
        // Lenient: a package without a workbook relationship may still have the usual part.
        if (package_.Has("xl/workbook.xml")) workbookPart_ = package_.Find("xl/workbook.xml");
        else return base::Status::Error(label + ": no workbook part: the package holds no spreadsheet");
    }
    if (!package_.Has(workbookPart_))
        return base::Status::Error(label + ": the workbook part " + workbookPart_ + " is missing");
    workbookPart_ = package_.Find(workbookPart_);
    auto xml = package_.Read(workbookPart_);
    if (!xml) return xml.GetStatus();
    if (base::Status st = ParseXml(*workbookXml_, *xml, label + ": " + workbookPart_); !st) return st;
    pugi::xml_node root = workbookXml_->document_element();
    if (LocalName(root) != "workbook")
        return base::Status::Error(label + ": " + workbookPart_ + " is not a workbook");
    pugi::xml_node pr = Child(root, "workbookPr");
    date1904_ = Attr(pr, "date1904").as_bool();
    active_ = Attr(Child(Child(root, "bookViews"), "workbookView"), "activeTab").as_int();
    // Without its relationships no sheet, string or style of the workbook can be found, and a
    // save would write new ones over the damaged part.
    if (std::string relsError = package_.RelsError(workbookPart_); !relsError.empty())
        return base::Status::Error(relsError);
    std::vector<Relationship> rels = package_.Relationships(workbookPart_);
    for (pugi::xml_node s = Child(Child(root, "sheets"), "sheet"); s; s = s.next_sibling()) {
        if (LocalName(s) != "sheet") continue;
        std::string id = Attr(s, "id").value();
        std::string target;
        SheetKind kind = SheetKind::Worksheet;
        for (const Relationship& r : rels) {
            if (r.id != id) continue;
            target = r.target;
            if (IsRelType(r.type, "chartsheet")) kind = SheetKind::Chartsheet;
            else if (IsRelType(r.type, "dialogsheet")) kind = SheetKind::Dialogsheet;
            else if (IsRelType(r.type, "xlMacrosheet") || IsRelType(r.type, "xlIntlMacrosheet")) kind = SheetKind::Macrosheet;
        }
        std::unique_ptr<Worksheet> sheet(new Worksheet(*this, Attr(s, "name").value(),
                                                       package_.Has(target) ? package_.Find(target) : target, kind));
        sheet->relId_ = id;
        std::string_view state = Attr(s, "state").value();
        sheet->state_ = state == "hidden" ? SheetState::Hidden
                        : state == "veryHidden" ? SheetState::VeryHidden : SheetState::Visible;
        sheets_.push_back(std::move(sheet));
    }
    if (active_ < 0 || active_ >= SheetCount()) active_ = 0;
    return base::Status::Ok();
}

base::Status Workbook::LoadStrings() {
    if (strings_) return stringsStatus_;
    strings_ = std::make_unique<SharedStrings>();
    stringsPart_ = package_.TargetOf(workbookPart_, "sharedStrings");
    if (stringsPart_.empty()) return stringsStatus_;
    // A table that can't be read is never replaced by an empty one: the cells that point into it
    // would read as empty, and a save would write a new table over it.
    if (!package_.Has(stringsPart_)) {
        stringsStatus_ = base::Status::Error(package_.Label() + ": the shared-string part " +
                                             stringsPart_ + " is missing");
    } else {
        stringsPart_ = package_.Find(stringsPart_);
        auto xml = package_.Read(stringsPart_);
        stringsStatus_ =
            xml ? strings_->Load(std::move(*xml), package_.Label() + ": " + stringsPart_)
                : xml.GetStatus();
    }
    if (!stringsStatus_) strings_ = std::make_unique<SharedStrings>();
    return stringsStatus_;
}

SharedStrings& Workbook::Strings() {
    (void)LoadStrings();
    return *strings_;
}

std::string Workbook::DefaultFontName() { return GetStyles().DefaultFontName(); }

double Workbook::DefaultFontSize() { return GetStyles().DefaultFontSize(); }

base::Status Workbook::SetDigitWidth(double pixels) {
    if (!(pixels >= 1)) return base::Status::Error(fmt::format("a digit width of {} pixels is no font's", pixels));
    digitWidth_ = pixels;
    return base::Status::Ok();
}

Styles& Workbook::GetStyles() {
    if (!styles_) {
        styles_ = std::make_unique<Styles>();
        std::string part = package_.TargetOf(workbookPart_, "styles");
        std::string xml;
        if (!part.empty() && package_.Has(part)) {
            auto bytes = package_.Read(part);
            if (bytes) xml = std::move(*bytes);
        }
        if (!styles_->Load(xml, part)) {
            styles_ = std::make_unique<Styles>();
            (void)styles_->Load("", "styles");
        }
    }
    return *styles_;
}

Worksheet* Workbook::Sheet(int index) {
    return index >= 0 && index < SheetCount() ? sheets_[index].get() : nullptr;
}

Worksheet* Workbook::FindSheet(std::string_view name) {
    for (auto& s : sheets_)
        if (base::EqualNoCase(s->Name(), name)) return s.get();
    return nullptr;
}

int Workbook::IndexOf(const Worksheet* sheet) const {
    for (int i = 0; i < SheetCount(); ++i)
        if (sheets_[i].get() == sheet) return i;
    return -1;
}

pugi::xml_node Workbook::SheetNode(const Worksheet& sheet) {
    pugi::xml_node sheets = Child(workbookXml_->document_element(), "sheets");
    for (pugi::xml_node s = sheets.first_child(); s; s = s.next_sibling())
        if (LocalName(s) == "sheet" && sheet.relId_ == Attr(s, "id").value()) return s;
    return {};
}

void Workbook::Activate(int index) {
    if (index < 0 || index >= SheetCount()) return;
    Worksheet& sheet = *sheets_[index];
    // Activating the active sheet changes nothing, as in the program: the file isn't touched.
    if (index == active_ && sheet.State() == SheetState::Visible) return;
    if (sheet.State() != SheetState::Visible) (void)sheet.SetState(SheetState::Visible);
    active_ = index;
    pugi::xml_node root = workbookXml_->document_element();
    pugi::xml_node views = Child(root, "bookViews");
    if (!views) {
        pugi::xml_node sheets = Child(root, "sheets");
        views = root.insert_child_before(QualifiedLike(root, "bookViews").c_str(), sheets);
    }
    pugi::xml_node view = Child(views, "workbookView");
    if (!view) view = views.append_child(QualifiedLike(root, "workbookView").c_str());
    pugi::xml_attribute tab = view.attribute("activeTab");
    if (!tab) tab = view.append_attribute("activeTab");
    tab.set_value(index);
    if (pugi::xml_attribute first = view.attribute("firstSheet"); first && first.as_int() > index)
        first.set_value(index);
    workbookChanged_ = true;
    // Only one tab may be selected, or the program opens with a group of sheets.
    for (int i = 0; i < SheetCount(); ++i)
        if (sheets_[i]->Kind() == SheetKind::Worksheet) sheets_[i]->SetTabSelected(i == index);
}

base::Status Workbook::CheckSheetName(std::string_view name) {
    if (name.empty()) return base::Status::Error("A sheet name cannot be empty.");
    if (base::Length(name) > 31)
        return base::Status::Error("The sheet name \"" + std::string(name) + "\" is longer than 31 characters.");
    if (name.find_first_of(":\\/?*[]") != std::string_view::npos)
        return base::Status::Error("The sheet name \"" + std::string(name) +
                                   "\" contains one of the characters : \\ / ? * [ ]");
    if (name.front() == '\'' || name.back() == '\'')
        return base::Status::Error("The sheet name \"" + std::string(name) +
                                   "\" cannot begin or end with an apostrophe.");
    if (base::EqualNoCase(name, "History"))
        return base::Status::Error("\"History\" is a reserved name and cannot be used for a sheet.");
    return base::Status::Ok();
}

base::Result<Worksheet*> Workbook::AddSheet(std::string_view name, int position) {
    std::string finalName(name);
    if (finalName.empty()) {
        for (int n = SheetCount() + 1;; ++n) {
            finalName = "Sheet" + std::to_string(n);
            if (!FindSheet(finalName)) break;
        }
    }
    if (base::Status st = CheckSheetName(finalName); !st) return st;
    if (FindSheet(finalName))
        return base::Status::Error("A sheet named \"" + finalName + "\" already exists in this workbook.");
    std::string part;
    for (int n = 1;; ++n) {
        part = "xl/worksheets/sheet" + std::to_string(n) + ".xml";
        if (!package_.Has(part)) break;
    }
    package_.Write(part, NewSheetXml());
    package_.SetContentType(part, kSheetType);
    std::string rel = package_.AddRelationship(
        workbookPart_, std::string(kRelNs) + "/worksheet", part);
    pugi::xml_node root = workbookXml_->document_element();
    pugi::xml_node sheets = Child(root, "sheets");
    unsigned maxId = 0;
    for (pugi::xml_node s = sheets.first_child(); s; s = s.next_sibling())
        maxId = std::max(maxId, Attr(s, "sheetId").as_uint());
    if (position < 0 || position > SheetCount()) position = SheetCount();
    std::string sheetName = QualifiedLike(sheets, "sheet");
    pugi::xml_node node;
    if (position < SheetCount()) node = sheets.insert_child_before(sheetName.c_str(), SheetNode(*sheets_[position]));
    else node = sheets.append_child(sheetName.c_str());
    node.append_attribute("name") = finalName.c_str();
    node.append_attribute("sheetId") = maxId + 1;
    // The r prefix is declared on the root of every workbook part we know; declare it otherwise.
    std::string rAttr = "r:id";
    for (pugi::xml_attribute a = root.first_attribute(); a; a = a.next_attribute())
        if (std::string_view(a.value()) == kRelNs && std::string_view(a.name()).substr(0, 6) == "xmlns:")
            rAttr = std::string(a.name()).substr(6) + ":id";
    if (rAttr == "r:id" && !root.attribute("xmlns:r")) {
        bool found = false;
        for (pugi::xml_attribute a = root.first_attribute(); a; a = a.next_attribute())
            found = found || std::string_view(a.value()) == kRelNs;
        if (!found) root.append_attribute("xmlns:r") = kRelNs;
    }
    node.append_attribute(rAttr.c_str()) = rel.c_str();
    std::unique_ptr<Worksheet> sheet(new Worksheet(*this, finalName, part, SheetKind::Worksheet));
    sheet->relId_ = rel;
    Worksheet* raw = sheet.get();
    sheets_.insert(sheets_.begin() + position, std::move(sheet));
    // Positions after the new sheet move: the active tab and names scoped to a sheet.
    if (position <= active_ && SheetCount() > 1) {
        ++active_;
        if (pugi::xml_attribute tab = Attr(Child(Child(root, "bookViews"), "workbookView"), "activeTab"))
            tab.set_value(active_);
    }
    for (pugi::xml_node n = Child(Child(root, "definedNames"), "definedName"); n; n = n.next_sibling())
        if (pugi::xml_attribute local = n.attribute("localSheetId"); local && local.as_int() >= position)
            local.set_value(local.as_int() + 1);
    workbookChanged_ = true;
    return raw;
}

base::Status Workbook::RenameSheet(Worksheet& sheet, std::string_view name) {
    if (base::Status st = CheckSheetName(name); !st) return st;
    Worksheet* other = FindSheet(name);
    if (other && other != &sheet)
        return base::Status::Error("A sheet named \"" + std::string(name) + "\" already exists in this workbook.");
    pugi::xml_node node = SheetNode(sheet);
    if (node) node.attribute("name").set_value(std::string(name).c_str());
    std::string old = sheet.name_;
    sheet.name_ = std::string(name);
    if (old == name) return base::Status::Ok();
    // References follow the sheet, as they do when a tab is renamed in the program.
    for (auto& s : sheets_) s->RenameInFormulas(old, name);
    pugi::xml_node names = Child(workbookXml_->document_element(), "definedNames");
    for (pugi::xml_node n = names.first_child(); n; n = n.next_sibling()) {
        std::string renamed = RenameSheetInFormula(n.text().get(), old, name);
        if (renamed != n.text().get()) n.text().set(renamed.c_str());
    }
    workbookChanged_ = true;
    return base::Status::Ok();
}

std::string Workbook::DocumentProperty(std::string_view name) {
    for (const PropertySlot& slot : kProperties) {
        if (!base::EqualNoCase(slot.name, name)) continue;
        std::string part = package_.TargetOf("", slot.core ? "core-properties" : "extended-properties");
        if (part.empty()) return {};
        auto xml = package_.Read(part);
        pugi::xml_document doc;
        if (!xml || !ParseXml(doc, *xml, part)) return {};
        return Child(doc.document_element(), slot.element).text().get();
    }
    return {};
}

bool Workbook::SetDocumentProperty(std::string_view name, std::string_view value) {
    for (const PropertySlot& slot : kProperties) {
        if (!base::EqualNoCase(slot.name, name)) continue;
        std::string part = package_.TargetOf("", slot.core ? "core-properties" : "extended-properties");
        if (part.empty()) return false;
        auto xml = package_.Read(part);
        pugi::xml_document doc;
        if (!xml || !ParseXml(doc, *xml, part)) return false;
        pugi::xml_node root = doc.document_element();
        pugi::xml_node el = Child(root, slot.element);
        if (!el) {
            static const std::pair<const char*, const char*> kPrefixes[] = {
                {"title", "dc:"}, {"subject", "dc:"}, {"creator", "dc:"}, {"description", "dc:"},
                {"created", "dcterms:"}, {"modified", "dcterms:"}};
            std::string qualified = slot.core ? "cp:" : "";
            for (auto& [el2, prefix] : kPrefixes)
                if (std::string_view(el2) == slot.element) qualified = prefix;
            el = root.append_child((qualified + slot.element).c_str());
        }
        el.text().set(std::string(value).c_str());
        package_.Write(part, SaveXml(doc));
        return true;
    }
    return false;
}

void Workbook::SetRecalculateOnOpen(bool on) {
    pugi::xml_node root = workbookXml_->document_element();
    pugi::xml_node calc = Child(root, "calcPr");
    if (!calc) {
        // calcPr follows sheets, functionGroups, externalReferences and definedNames.
        pugi::xml_node after = Child(root, "sheets");
        for (const char* n : {"functionGroups", "externalReferences", "definedNames"})
            if (pugi::xml_node x = Child(root, n)) after = x;
        calc = root.insert_child_after(QualifiedLike(root, "calcPr").c_str(), after);
    }
    calc.remove_attribute("fullCalcOnLoad");
    if (on) calc.append_attribute("fullCalcOnLoad") = 1;
    workbookChanged_ = true;
}

base::Result<std::string> Workbook::SaveImage() {
    if (base::Status st = package_.CheckUnchanged(); !st) return st;
    if (base::Status st = WriteChangedParts(); !st) return st;
    return package_.Save();
}

base::Status Workbook::WriteChangedParts(bool letGo) {
    bool anyChange = workbookChanged_;
    for (auto& sheet : sheets_) {
        if (!sheet->IsChanged() && !sheet->notesChanged_) continue;
        anyChange = true;
        // The cells' part is written after the notes' parts, wherever it is made.
        DeflatedData cells;
        const auto makeCells = [&]() -> base::Status {
            if (!sheet->IsChanged()) return base::Status::Ok();
            DeflateStream xml;
            if (base::Status st = sheet->SaveTo(xml); !st) return st;
            cells = xml.Finish();
            return base::Status::Ok();
        };
        const bool beside = sheet->notesChanged_ && sheet->NoteCount() >= kNotesToWriteCellsBeside;
        const auto nothing = [] { return base::Status::Ok(); };
        base::Status st = base::Status::Ok();
        if (sheet->notesChanged_)
            st = beside ? sheet->SaveNotes(makeCells) : sheet->SaveNotes(nothing);
        if (st && !beside) st = makeCells();
        if (!st) return st;
        if (sheet->IsChanged()) package_.Write(sheet->part_, std::move(cells));
        if (letGo) sheet->KeepOnlyWritten();
    }
    if (strings_ && strings_->IsChanged()) {
        std::string part = package_.TargetOf(workbookPart_, "sharedStrings");
        if (part.empty()) {
            part = "xl/sharedStrings.xml";
            package_.AddRelationship(workbookPart_, std::string(kRelNs) + "/sharedStrings", part);
            package_.SetContentType(part, "application/vnd.openxmlformats-officedocument.spreadsheetml.sharedStrings+xml");
        }
        package_.Write(part, strings_->SaveDeflated());
        // Cells read again from the sheets just written find their texts in the part.
        stringsPart_ = part;
        anyChange = true;
    }
    if (styles_ && styles_->IsChanged()) {
        std::string part = package_.TargetOf(workbookPart_, "styles");
        if (part.empty()) {
            part = "xl/styles.xml";
            package_.AddRelationship(workbookPart_, std::string(kRelNs) + "/styles", part);
            package_.SetContentType(part, "application/vnd.openxmlformats-officedocument.spreadsheetml.styles+xml");
        }
        package_.Write(part, styles_->Save());
        anyChange = true;
    }
    if (workbookChanged_) package_.Write(workbookPart_, SaveXml(*workbookXml_));
    if (anyChange && !package_.TargetOf("", "core-properties").empty())
        SetDocumentProperty("Last Save Time", NowIso());
    return base::Status::Ok();
}

base::Status Workbook::Save(const std::string& path, const SaveOptions& options) {
    std::string folder = base::Folder(path);
    std::string name = base::FileName(path);
    std::vector<std::string> locks = {base::JoinPath(folder, ".~lock." + name + "#"),
                                      base::JoinPath(folder, "~$" + name)};
    // Excel shortens the owner file of long names by their first two characters.
    if (base::Length(name) > 2) locks.push_back(base::JoinPath(folder, "~$" + base::Mid(name, 2)));
    for (const std::string& lock : locks)
        if (base::FileExists(lock))
            return base::Status::Error(path + " is open in another program (" + base::FileName(lock) +
                                       " is beside it); close it there and try again. Nothing was written.");
    if (base::Status st = package_.CheckUnchanged(); !st) return st;
    // A process that ends with its command reads no sheet after its save: the room of the cells
    // and notes written goes to the parts still to come. It writes the archive into the file as
    // it is made and reads the file through a map from then on, as it opens workbooks; others
    // build it in memory and keep it as the package, not beside its parts.
    const bool endsWithCommand = base::EndsWithCommand();
    if (base::Status st = WriteChangedParts(endsWithCommand); !st) return st;
    base::AtomicWriteOptions atomic;
    atomic.backupPath = options.backupPath;
    base::Status st = endsWithCommand
                          ? package_.SaveToFile(path, atomic)
                          : package_.SaveThrough([&](std::string_view image) {
                                return base::WriteFileAtomic(path, image, atomic);
                            });
    if (!st) return st;
    path_ = path;
    return base::Status::Ok();
}

int Workbook::UnloadUnchangedSheets() {
    int n = 0;
    for (auto& sheet : sheets_) n += sheet->Unload() ? 1 : 0;
    return n;
}

}  // namespace xl
