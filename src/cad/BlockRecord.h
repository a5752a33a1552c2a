#pragma once
// Block records: model space, the paper spaces and block definitions, with their BLOCK and
// ENDBLK and the entities between them.

#include <cstdint>
#include <string>
#include <vector>

#include "base/Status.h"
#include "cad/Curves.h"
#include "cad/Entity.h"
#include "cad/Text.h"

namespace cad {

class BlockReference;
class Database;

// A view of one block record. R12 files have no BLOCK_RECORD table: there the BLOCK entity
// stands for the record, and a virtual record stands for model space.
class BlockRecord {
public:
    BlockRecord() = default;
    BlockRecord(Database* db, std::uint32_t index) : db_(db), index_(index) {}

    explicit operator bool() const { return db_ != nullptr; }
    bool IsNull() const { return db_ == nullptr; }
    // True once the block was erased; a null view counts as erased.
    bool IsErased() const;
    bool operator==(const BlockRecord& other) const { return db_ == other.db_ && index_ == other.index_; }
    // Its place among the database's block records, for tables kept beside them.
    std::uint32_t Index() const { return index_; }
    // The database the block belongs to; null for a null view.
    Database* GetDatabase() const { return db_; }

    // The name as the file writes it ("*Model_Space", "*U12", "Door").
    std::string Name() const;
    // The BLOCK_RECORD's handle, or the BLOCK's in R12 files; 0 for R12 model space.
    Handle GetHandle() const;
    // The handle as text; "" when there is none.
    std::string HandleString() const { return GetHandle() ? HandleText(GetHandle()) : std::string(); }
    // The BLOCK_RECORD; a null view in R12 files.
    Object Record() const;
    // The BLOCK entity; a null view for R12 model space.
    Entity BlockBegin() const;
    // The block-type flags of the BLOCK (70).
    int Flags() const;
    bool IsAnonymous() const { return (Flags() & 1) != 0; }
    // True when the flags say so or the block holds an ATTDEF.
    bool HasAttributeDefinitions() const;
    bool IsExternalReference() const { return (Flags() & 4) != 0; }
    bool IsOverlay() const { return (Flags() & 8) != 0; }
    // True for blocks that come from an external reference (dependent, flag 16, or the xref itself).
    bool IsFromExternalReference() const { return (Flags() & (4 | 16)) != 0; }
    // True for an external reference that is not loaded (not resolved, flag 32 clear).
    bool IsUnloaded() const { return IsExternalReference() && (Flags() & 32) == 0; }
    // True for model space and the paper spaces.
    bool IsLayout() const;
    bool IsModelSpace() const;
    bool IsPaperSpace() const;
    // The path of an external reference (1 of BLOCK); "" otherwise.
    std::string PathName() const;
    // The base point (10 of BLOCK).
    Point3 BasePoint() const;
    // The name of the layout a space belongs to ("Model", "Layout1"); "" for plain blocks.
    std::string LayoutName() const;

    // The entities in order (attributes and vertices come with their owners, not listed here).
    std::vector<Entity> Entities() const;
    // The attribute definitions in order.
    std::vector<AttributeDefinition> AttributeDefinitions() const;
    // The references of this block anywhere in the drawing, in database order.
    std::vector<BlockReference> References() const;
    // The references of this block and of every block that holds one, through any depth of
    // nesting; a block that refers to itself is followed once.
    std::vector<BlockReference> AllReferences() const;

    // Appends an entity of `type` with `data` (subclass markers included; they are dropped in
    // R12 files) on `layer`; fails when the block has no place for entities.
    base::Result<Entity> AppendEntity(std::string_view type, std::string_view layer, const TagList& data);
    base::Result<Line> AddLine(Point3 start, Point3 end, std::string_view layer = "0");
    base::Result<Circle> AddCircle(Point3 center, double radius, std::string_view layer = "0");
    base::Result<Arc> AddArc(Point3 center, double radius, double startAngle, double endAngle,
                             std::string_view layer = "0");
    base::Result<Text> AddText(Point3 position, double height, std::string_view text, std::string_view layer = "0");
    // MTEXT needs R13 or later.
    base::Result<MText> AddMText(Point3 position, double height, double width, std::string_view contents,
                                 std::string_view layer = "0");
    // LWPOLYLINE needs R14 or later.
    base::Result<LwPolyline> AddLwPolyline(const std::vector<PolylinePoint>& points, bool closed,
                                           std::string_view layer = "0");
    // A reference to `block` with an attribute for every non-constant definition, holding its
    // default value and placed as the definition, moved by the insertion point (no rotation or
    // scale applied to attribute positions yet). Fails for a null block or one that is this one.
    base::Result<BlockReference> AddBlockReference(const BlockRecord& block, Point3 position,
                                                   Point3 scale = {1, 1, 1}, double rotation = 0,
                                                   std::string_view layer = "0");
    // An attribute definition; `flags` as in AttributeBase.
    base::Result<AttributeDefinition> AddAttributeDefinition(std::string_view tag, std::string_view prompt,
                                                             std::string_view defaultValue, Point3 position,
                                                             double height, int flags = 0,
                                                             std::string_view layer = "0");

private:
    friend class Database;
    Database* db_ = nullptr;
    std::uint32_t index_ = 0;
};

}  // namespace cad
