#pragma once
// An OPC package: the parts of a zip archive by name (found in any case, '\' or '/'), their
// content types and relationships. Parts are extracted only when read; parts never written are
// saved as their original compressed bytes.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/File.h"
#include "base/Status.h"
#include "xl/PartReader.h"
#include "xl/Zip.h"

namespace pugi {
class xml_document;
}

namespace xl {

// One relationship of a part; `target` is resolved to a part name unless it is external.
struct Relationship {
    std::string id;
    std::string type;      // full type URI, transitional or strict
    std::string target;    // part name without leading '/', or the URI as written when external
    bool external = false;
};

// True when `type` ends with "/" + `kind` ("worksheet", "comments"...), whichever namespace.
bool IsRelType(std::string_view type, std::string_view kind);

class Package {
public:
    // Largest part extracted, a guard against zip bombs and absurd sizes.
    static constexpr std::uint64_t kPartLimit = 1ull << 30;

    Package();
    ~Package();
    Package(Package&&) noexcept;
    Package& operator=(Package&&) noexcept;

    // Reads a package image; fails on non-zips and packages without [Content_Types].xml.
    static base::Result<Package> Open(std::string image, std::string_view label);
    // The same through a map of the file (ZipReader::Open).
    static base::Result<Package> Open(base::MappedFile mapped, std::string_view label);
    // Ok while a mapped file is as it was when opened: its unchanged parts are copied from it
    // at a save.
    base::Status CheckUnchanged() const;

    // The file name used in messages.
    const std::string& Label() const { return label_; }
    // The stored name of a part matched without regard to case or slash style; "" if absent.
    std::string Find(std::string_view name) const;
    bool Has(std::string_view name) const { return !Find(name).empty(); }
    // Current bytes of a part (written ones included); an error names a missing part.
    base::Result<std::string> Read(std::string_view name) const;
    // The same bytes a piece at a time, inflated as they are read; the package must outlive the
    // reader. An entry that can't be read at all is an error here, damage met later is the
    // reader's.
    base::Result<PartReader> OpenPart(std::string_view name) const;
    // Replaces or adds a part; an existing part keeps its stored name.
    void Write(std::string_view name, std::string data);
    // Replaces or adds a part with data compressed as it was generated.
    void Write(std::string_view name, DeflatedData data);
    // Removes a part, its relationships part and its content-type override; absent is fine.
    void Remove(std::string_view name);
    // Names of all parts in archive order, directory entries excluded.
    std::vector<std::string> PartNames() const;
    // True when the part was written (or added) since opening or SaveThrough().
    bool IsChanged(std::string_view name) const;
    // Uncompressed size of a part as stored (or written); 0 when absent.
    std::uint64_t PartSize(std::string_view name) const;

    // The content type of a part from its override or its extension's default; "" if none.
    std::string ContentType(std::string_view name) const;
    // Sets an override for the part.
    void SetContentType(std::string_view name, std::string_view type);
    // Adds a default for an extension unless one exists.
    void EnsureDefaultContentType(std::string_view extension, std::string_view type);

    // Relationships of a part ("" for the package's own); empty when it has none or they are
    // not readable XML (`RelsError` tells which).
    std::vector<Relationship> Relationships(std::string_view source) const;
    // Why the relationships of `source` could not be read; "" when they could.
    std::string RelsError(std::string_view source) const;
    // The first target of a kind ("worksheet", "comments"...) of `source`; "" when none.
    std::string TargetOf(std::string_view source, std::string_view kind) const;
    // Adds a relationship of `type` and gives its new id; internal targets are part names.
    std::string AddRelationship(std::string_view source, std::string_view type,
                                std::string_view target, bool external = false);
    // Removes a relationship by id; unknown ids are ignored.
    void RemoveRelationship(std::string_view source, std::string_view id);
    // The relationships part of `source` ("xl/_rels/workbook.xml.rels").
    static std::string RelsPartName(std::string_view source);
    // Resolves a relationship target against its source part: absolute or relative, "..".
    static std::string ResolveTarget(std::string_view source, std::string_view target);

    // The whole package as a zip image; unchanged parts keep their compressed bytes.
    std::string Save();
    // Builds the zip image, hands it to `write` and then reads the parts from it as if it had
    // just been opened, so that what was written is held once; parts count as unchanged
    // afterwards. Gives `write`'s status (the image is adopted even when writing failed).
    base::Status SaveThrough(const std::function<base::Status(std::string_view image)>& write);
    // Writes the zip image into the file at `path` piece by piece as it is made (replacing the
    // file only once it is whole, see base::AtomicFile) and then reads the parts from that file
    // through a map, so that the archive is never held whole in memory; parts count as unchanged
    // afterwards. A failed write leaves the package as it was.
    base::Status SaveToFile(const std::string& path, const base::AtomicWriteOptions& options);

private:
    static base::Result<Package> FromZip(base::Result<ZipReader> zip, std::string_view label);
    struct Part {
        std::string name;
        int entry = -1;                    // index into the reader's entries, or -1 if new
        std::optional<std::string> data;   // bytes written since opening
        std::optional<DeflatedData> packed; // or the same, compressed as written
    };
    struct RelsDoc;
    Part* FindPart(std::string_view name);
    const Part* FindPart(std::string_view name) const;
    RelsDoc* LoadRels(std::string_view source) const;
    pugi::xml_document* ContentTypesDoc() const;
    void Flush();
    std::string Build(bool release);
    // Flushes the relationships and content types and compresses big written parts; gives about
    // the archive's size.
    std::uint64_t PrepareParts();
    // Adds every part to `writer`; with `release` a written part is then held in the archive only.
    void WriteParts(ZipWriter& writer, bool release);

    std::string label_;
    std::unique_ptr<ZipReader> zip_;
    std::vector<Part> parts_;
    std::map<std::string, std::size_t> index_;  // folded name -> parts_
    mutable std::map<std::string, std::unique_ptr<RelsDoc>> rels_;
    mutable std::unique_ptr<pugi::xml_document> contentTypes_;
    bool contentTypesDirty_ = false;
};

}  // namespace xl
