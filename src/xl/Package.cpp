#include "xl/Package.h"

#include <fcntl.h>

#include <pugixml.hpp>

#include "base/Format.h"
#include "base/MappedFile.h"
#include "base/Text.h"
#include "xl/Xml.h"

namespace xl {
namespace {

const char kRelsNs[] = "http://schemas.openxmlformats.org/package/2006/relationships";
const char kTypesNs[] = "http://schemas.openxmlformats.org/package/2006/content-types";

std::string Normalize(std::string_view name) {
    std::string out(name);
    for (char& c : out)
        if (c == '\\') c = '/';
    std::size_t start = out.find_first_not_of('/');
    return start == std::string::npos ? std::string() : out.substr(start);
}

std::string Key(std::string_view name) { return base::FoldCase(Normalize(name)); }

bool IsDirectory(std::string_view name) { return !name.empty() && (name.back() == '/' || name.back() == '\\'); }

}  // namespace

bool IsRelType(std::string_view type, std::string_view kind) {
    return type.size() > kind.size() && type.substr(type.size() - kind.size()) == kind &&
           type[type.size() - kind.size() - 1] == '/';
}

struct Package::RelsDoc {
    std::string name;  // the rels part as it is (or will be) stored
    pugi::xml_document doc;
    std::vector<Relationship> list;
    std::string error;
    bool dirty = false;
};

Package::Package() = default;
Package::~Package() = default;
Package::Package(Package&&) noexcept = default;
Package& Package::operator=(Package&&) noexcept = default;

base::Result<Package> Package::Open(std::string image, std::string_view label) {
    return FromZip(ZipReader::Open(std::move(image), label), label);
}

base::Result<Package> Package::Open(base::MappedFile mapped, std::string_view label) {
    return FromZip(ZipReader::Open(std::move(mapped), label), label);
}

base::Status Package::CheckUnchanged() const {
    return zip_ ? zip_->CheckUnchanged() : base::Status::Ok();
}

base::Result<Package> Package::FromZip(base::Result<ZipReader> zip, std::string_view label) {
    if (!zip) return zip.GetStatus();
    Package pkg;
    pkg.label_ = std::string(label);
    pkg.zip_ = std::make_unique<ZipReader>(std::move(*zip));
    const auto& entries = pkg.zip_->Entries();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::string key = Key(entries[i].name);
        // A second entry of the same name is unreachable for every reader; keep the first.
        if (pkg.index_.count(key)) continue;
        pkg.index_[key] = pkg.parts_.size();
        pkg.parts_.push_back(Part{entries[i].name, static_cast<int>(i), std::nullopt, std::nullopt});
    }
    if (!pkg.Has("[Content_Types].xml"))
        return base::Status::Error(pkg.label_ +
                                   ": not a spreadsheet package: [Content_Types].xml is missing");
    return pkg;
}

Package::Part* Package::FindPart(std::string_view name) {
    auto it = index_.find(Key(name));
    return it == index_.end() ? nullptr : &parts_[it->second];
}

const Package::Part* Package::FindPart(std::string_view name) const {
    auto it = index_.find(Key(name));
    return it == index_.end() ? nullptr : &parts_[it->second];
}

std::string Package::Find(std::string_view name) const {
    const Part* p = FindPart(name);
    return p && !IsDirectory(p->name) ? Normalize(p->name) : std::string();
}

base::Result<std::string> Package::Read(std::string_view name) const {
    const Part* p = FindPart(name);
    if (!p || IsDirectory(p->name))
        return base::Status::Error(label_ + ": the part " + std::string(name) + " is missing");
    if (p->data) return *p->data;
    if (p->packed) return Inflate(*p->packed);
    return zip_->Extract(zip_->Entries()[p->entry], kPartLimit);
}

base::Result<PartReader> Package::OpenPart(std::string_view name) const {
    const Part* p = FindPart(name);
    if (!p || IsDirectory(p->name))
        return base::Status::Error(label_ + ": the part " + std::string(name) + " is missing");
    if (p->data) return PartReader(*p->data);
    if (p->packed) return PartReader(Inflate(*p->packed));
    const ZipEntry& entry = zip_->Entries()[p->entry];
    if (base::Status st = zip_->CheckEntry(entry, kPartLimit); !st) return st;
    return PartReader(*zip_, entry);
}

void Package::Write(std::string_view name, std::string data) {
    if (Part* p = FindPart(name)) {
        p->data = std::move(data);
        p->packed.reset();
        return;
    }
    index_[Key(name)] = parts_.size();
    parts_.push_back(Part{Normalize(name), -1, std::move(data), std::nullopt});
}

void Package::Write(std::string_view name, DeflatedData data) {
    if (Part* p = FindPart(name)) {
        p->packed = std::move(data);
        p->data.reset();
        return;
    }
    index_[Key(name)] = parts_.size();
    parts_.push_back(Part{Normalize(name), -1, std::nullopt, std::move(data)});
}

void Package::Remove(std::string_view name) {
    std::string key = Key(name);
    auto it = index_.find(key);
    if (it == index_.end()) return;
    std::string stored = Normalize(parts_[it->second].name);
    parts_.erase(parts_.begin() + it->second);
    index_.clear();
    for (std::size_t i = 0; i < parts_.size(); ++i) index_[Key(parts_[i].name)] = i;
    rels_.erase(Key(RelsPartName(stored)));
    Remove(RelsPartName(stored));
    if (pugi::xml_document* types = ContentTypesDoc()) {
        pugi::xml_node root = types->document_element();
        for (pugi::xml_node o = root.first_child(); o;) {
            pugi::xml_node next = o.next_sibling();
            if (LocalName(o) == "Override" && Key(o.attribute("PartName").value()) == key) {
                root.remove_child(o);
                contentTypesDirty_ = true;
            }
            o = next;
        }
    }
}

std::vector<std::string> Package::PartNames() const {
    std::vector<std::string> out;
    for (const Part& p : parts_)
        if (!IsDirectory(p.name)) out.push_back(Normalize(p.name));
    return out;
}

bool Package::IsChanged(std::string_view name) const {
    const Part* p = FindPart(name);
    return p && (p->data.has_value() || p->packed.has_value() ||
                 (Key(name) == Key("[Content_Types].xml") && contentTypesDirty_));
}

std::uint64_t Package::PartSize(std::string_view name) const {
    const Part* p = FindPart(name);
    if (!p) return 0;
    if (p->data) return p->data->size();
    if (p->packed) return p->packed->size;
    return zip_->Entries()[p->entry].size;
}

pugi::xml_document* Package::ContentTypesDoc() const {
    if (!contentTypes_) {
        contentTypes_ = std::make_unique<pugi::xml_document>();
        auto bytes = Read("[Content_Types].xml");
        if (!bytes || !ParseXml(*contentTypes_, *bytes, "[Content_Types].xml")) {
            contentTypes_->reset();
            pugi::xml_node decl = contentTypes_->append_child(pugi::node_declaration);
            decl.append_attribute("version") = "1.0";
            decl.append_attribute("encoding") = "UTF-8";
            decl.append_attribute("standalone") = "yes";
            contentTypes_->append_child("Types").append_attribute("xmlns") = kTypesNs;
        }
    }
    return contentTypes_.get();
}

std::string Package::ContentType(std::string_view name) const {
    pugi::xml_node root = ContentTypesDoc()->document_element();
    std::string key = Key(name);
    for (pugi::xml_node o = root.first_child(); o; o = o.next_sibling())
        if (LocalName(o) == "Override" && Key(o.attribute("PartName").value()) == key)
            return o.attribute("ContentType").value();
    std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos) return {};
    std::string ext = base::FoldCase(name.substr(dot + 1));
    for (pugi::xml_node d = root.first_child(); d; d = d.next_sibling())
        if (LocalName(d) == "Default" && base::FoldCase(d.attribute("Extension").value()) == ext)
            return d.attribute("ContentType").value();
    return {};
}

void Package::SetContentType(std::string_view name, std::string_view type) {
    pugi::xml_node root = ContentTypesDoc()->document_element();
    std::string key = Key(name);
    contentTypesDirty_ = true;
    for (pugi::xml_node o = root.first_child(); o; o = o.next_sibling())
        if (LocalName(o) == "Override" && Key(o.attribute("PartName").value()) == key) {
            o.attribute("ContentType").set_value(std::string(type).c_str());
            return;
        }
    pugi::xml_node o = root.append_child(QualifiedLike(root, "Override").c_str());
    o.append_attribute("PartName") = ("/" + Normalize(name)).c_str();
    o.append_attribute("ContentType") = std::string(type).c_str();
}

void Package::EnsureDefaultContentType(std::string_view extension, std::string_view type) {
    pugi::xml_node root = ContentTypesDoc()->document_element();
    std::string ext = base::FoldCase(extension);
    for (pugi::xml_node d = root.first_child(); d; d = d.next_sibling())
        if (LocalName(d) == "Default" && base::FoldCase(d.attribute("Extension").value()) == ext)
            return;
    contentTypesDirty_ = true;
    // Defaults come before overrides in every file Excel writes.
    pugi::xml_node first = root.first_child();
    pugi::xml_node d = first ? root.insert_child_before(QualifiedLike(root, "Default").c_str(), first)
                             : root.append_child(QualifiedLike(root, "Default").c_str());
    d.append_attribute("Extension") = std::string(extension).c_str();
    d.append_attribute("ContentType") = std::string(type).c_str();
}

std::string Package::RelsPartName(std::string_view source) {
    std::string s = Normalize(source);
    std::size_t slash = s.rfind('/');
    std::string folder = slash == std::string::npos ? std::string() : s.substr(0, slash + 1);
    std::string file = slash == std::string::npos ? s : s.substr(slash + 1);
    return folder + "_rels/" + file + ".rels";
}

std::string Package::ResolveTarget(std::string_view source, std::string_view target) {
    std::string t(target);
    for (char& c : t)
        if (c == '\\') c = '/';
    std::size_t hash = t.find('#');
    if (hash != std::string::npos) t.resize(hash);
    std::vector<std::string> segments;
    if (t.empty() || t[0] != '/') {
        std::string s = Normalize(source);
        std::size_t slash = s.rfind('/');
        if (slash != std::string::npos) t = s.substr(0, slash + 1) + t;
    }
    std::size_t pos = 0;
    while (pos <= t.size()) {
        std::size_t next = t.find('/', pos);
        if (next == std::string::npos) next = t.size();
        std::string seg = t.substr(pos, next - pos);
        if (seg == "..") {
            if (!segments.empty()) segments.pop_back();
        } else if (!seg.empty() && seg != ".") {
            segments.push_back(seg);
        }
        pos = next + 1;
    }
    std::string out;
    for (const std::string& seg : segments) out += (out.empty() ? "" : "/") + seg;
    return out;
}

Package::RelsDoc* Package::LoadRels(std::string_view source) const {
    std::string relsName = RelsPartName(source);
    std::string key = Key(relsName);
    auto it = rels_.find(key);
    if (it != rels_.end()) return it->second.get();
    auto doc = std::make_unique<RelsDoc>();
    doc->name = Has(relsName) ? Find(relsName) : relsName;
    if (Has(relsName)) {
        auto bytes = Read(relsName);
        base::Status st =
            bytes ? ParseXml(doc->doc, *bytes, label_ + ": " + doc->name) : bytes.GetStatus();
        if (!st) {
            doc->error = st.Message();
            doc->doc.reset();
        }
    }
    if (!doc->doc.document_element()) {
        pugi::xml_node decl = doc->doc.append_child(pugi::node_declaration);
        decl.append_attribute("version") = "1.0";
        decl.append_attribute("encoding") = "UTF-8";
        decl.append_attribute("standalone") = "yes";
        doc->doc.append_child("Relationships").append_attribute("xmlns") = kRelsNs;
    }
    for (pugi::xml_node r = doc->doc.document_element().first_child(); r; r = r.next_sibling()) {
        if (LocalName(r) != "Relationship") continue;
        Relationship rel;
        rel.id = r.attribute("Id").value();
        rel.type = r.attribute("Type").value();
        rel.external = base::EqualNoCase(r.attribute("TargetMode").value(), "External");
        rel.target = rel.external ? r.attribute("Target").value()
                                  : ResolveTarget(source, r.attribute("Target").value());
        doc->list.push_back(std::move(rel));
    }
    RelsDoc* raw = doc.get();
    rels_[key] = std::move(doc);
    return raw;
}

std::vector<Relationship> Package::Relationships(std::string_view source) const {
    return LoadRels(source)->list;
}

std::string Package::RelsError(std::string_view source) const { return LoadRels(source)->error; }

std::string Package::TargetOf(std::string_view source, std::string_view kind) const {
    for (const Relationship& r : LoadRels(source)->list)
        if (!r.external && IsRelType(r.type, kind)) return r.target;
    return {};
}

std::string Package::AddRelationship(std::string_view source, std::string_view type,
                                     std::string_view target, bool external) {
    RelsDoc* doc = LoadRels(source);
    std::string id;
    for (int n = static_cast<int>(doc->list.size()) + 1;; ++n) {
        id = "rId" + std::to_string(n);
        bool taken = false;
        for (const Relationship& r : doc->list) taken = taken || r.id == id;
        if (!taken) break;
    }
    std::string written(target);
    if (!external) {
        // Relative to the source's folder, as Excel writes them.
        std::string from = Normalize(source);
        std::size_t slash = from.rfind('/');
        std::string folder = slash == std::string::npos ? "" : from.substr(0, slash + 1);
        if (!folder.empty() && written.compare(0, folder.size(), folder) == 0)
            written = written.substr(folder.size());
        else if (!folder.empty())
            written = "/" + written;
    }
    pugi::xml_node root = doc->doc.document_element();
    pugi::xml_node r = root.append_child(QualifiedLike(root, "Relationship").c_str());
    r.append_attribute("Id") = id.c_str();
    r.append_attribute("Type") = std::string(type).c_str();
    r.append_attribute("Target") = written.c_str();
    if (external) r.append_attribute("TargetMode") = "External";
    doc->list.push_back(Relationship{id, std::string(type), std::string(target), external});
    doc->dirty = true;
    return id;
}

void Package::RemoveRelationship(std::string_view source, std::string_view id) {
    RelsDoc* doc = LoadRels(source);
    pugi::xml_node root = doc->doc.document_element();
    for (pugi::xml_node r = root.first_child(); r; r = r.next_sibling())
        if (LocalName(r) == "Relationship" && id == r.attribute("Id").value()) {
            root.remove_child(r);
            doc->dirty = true;
            break;
        }
    std::erase_if(doc->list, [&](const Relationship& r) { return r.id == id; });
}

void Package::Flush() {
    for (auto& entry : rels_) {
        RelsDoc* doc = entry.second.get();
        if (!doc->dirty) continue;
        doc->dirty = false;
        const std::string& name = doc->name;
        Write(name, SaveXml(doc->doc));
        if (ContentType(name).empty())
            EnsureDefaultContentType("rels", "application/vnd.openxmlformats-package.relationships+xml");
    }
    if (contentTypesDirty_) {
        contentTypesDirty_ = false;
        Write("[Content_Types].xml", SaveXml(*ContentTypesDoc()));
    }
}

std::string Package::Save() { return Build(false); }

base::Status Package::SaveThrough(const std::function<base::Status(std::string_view image)>& write) {
    std::string image = Build(true);
    base::Status written = write(image);
    // The archive just made becomes the one the parts are read from, as if it had been opened.
    auto zip = ZipReader::Open(std::move(image), label_);
    if (!zip || zip->Entries().size() != parts_.size())
        return base::Status::Error(label_ + ": the package just written could not be read back");
    for (std::size_t i = 0; i < parts_.size(); ++i) parts_[i].entry = static_cast<int>(i);
    zip_ = std::make_unique<ZipReader>(std::move(*zip));
    return written;
}

base::Status Package::SaveToFile(const std::string& path, const base::AtomicWriteOptions& options) {
    PrepareParts();
    // The parts stay until the file is in place, so that a failed save leaves the package whole.
    base::Status written = base::WriteFileAtomicInPieces(
        path,
        [this](const std::function<void(std::string_view)>& put) {
            ZipWriter writer(put);
            WriteParts(writer, false);
            writer.Finish();
        },
        options);
    if (!written) return written;
    // What was written is read from the file from now on, as a package opened from it would be.
    const base::Status unreadable = base::Status::Error(
        label_ + ": the package just written could not be read back from " + path);
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return unreadable;
    auto mapped = base::MappedFile::Map(fd, path);
    if (!mapped) return unreadable;
    auto zip = ZipReader::Open(std::move(*mapped), label_);
    if (!zip || zip->Entries().size() != parts_.size()) return unreadable;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        parts_[i].entry = static_cast<int>(i);
        parts_[i].data.reset();
        parts_[i].packed.reset();
    }
    zip_ = std::make_unique<ZipReader>(std::move(*zip));
    return base::Status::Ok();
}

std::string Package::Build(bool release) {
    ZipWriter writer;
    writer.Reserve(PrepareParts());
    WriteParts(writer, release);
    return writer.Finish();
}

std::uint64_t Package::PrepareParts() {
    Flush();
    // Big written parts are compressed now and kept so (a read inflates them again); with every
    // compressed size known, an archive built in memory is made in one buffer of the right size.
    std::uint64_t size = 22 + 98;
    for (Part& p : parts_) {
        if (p.data && p.data->size() > kDeflateChunk) {
            p.packed = Deflate(*p.data);
            p.data.reset();
        }
        std::uint64_t body = p.data ? p.data->size() + p.data->size() / 64 + 64
                             : p.packed ? p.packed->compressed.size()
                                        : zip_->Entries()[p.entry].compressedSize;
        size += 30 + 46 + 2 * p.name.size() + 2 * 32 + body;
    }
    return size;
}

void Package::WriteParts(ZipWriter& writer, bool release) {
    for (Part& p : parts_) {
        if (p.data) {
            writer.Add(p.name, *p.data);
        } else if (p.packed) {
            writer.AddDeflated(p.name, *p.packed);
        } else {
            const ZipEntry& e = zip_->Entries()[p.entry];
            writer.AddRaw(e, zip_->RawData(e));
        }
        if (release) {
            // Held once: from now on in the archive only.
            p.data.reset();
            p.packed.reset();
        }
    }
}

}  // namespace xl
