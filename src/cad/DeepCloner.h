#pragma once
// The deep clone under CloneBlock, InsertDrawingAsBlock and ExplodeInto: copies objects from one
// drawing into another (or into the same one) with everything they own, gives every copy a new
// handle from the target's $HANDSEED and translates every handle inside the copies through one
// IdMapping. What a copy points at and the target lacks comes along: symbol records, nested
// blocks, named objects (materials, styles... under the named object dictionary); a record the
// target has by name (without regard to case) stands for the source's instead. Anonymous blocks
// always come along, under the next free name of their kind (*U, *D...).
//
// Handles: owners (350-369, {ACAD_XDICTIONARY}) bring what they own; hard pointers (340-349,
// 390-399, 480, 481) bring or match what they name; soft pointers (330-339, 1005) are translated
// when what they name came along or is matched by name, else set to 0; reactors and block
// reference lists ({ACAD_REACTORS}, {BLKREFS}) keep only what came along; 320-329 stay as they
// are. The draw-order table of a block is carried with its order kept. Within one drawing (source
// and target the same) every block, record and object outside the copies stands for itself, and
// a pointer at something that stayed behind keeps pointing at it.
//
// Text is read in the source's encoding and written in the target's.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Status.h"
#include "cad/BlockRecord.h"
#include "cad/Dictionary.h"
#include "cad/IdMapping.h"

namespace cad {

class Database;

// The drawing to clone from: `source` itself, or for an R12 source and a newer target a copy
// brought to the newest release, kept in `upgraded` (R12 has no owners, subclass markers or
// block records that a newer drawing expects). Fails for a newer source and an R12 target,
// which has no place for what the newer release brought.
base::Result<Database*> CloneSource(Database& source, const Database& target,
                                    std::unique_ptr<Database>& upgraded);

// Drops the pairs whose source handle `source` doesn't have: what only an upgraded copy had.
void KeepPairsOf(Database& source, IdMapping& mapping);

class DeepCloner {
public:
    // Called for every entity copy (ATTRIB, VERTEX and SEQEND included) with its tags, type
    // first, once the handles are translated and before it is made.
    using EntityEdit = std::function<void(const Entity& source, TagList& tags)>;

    // Copies from `source` into `target`, which may be the same drawing; both must outlive the
    // cloner. Pairs already in `mapping` stand: what they name is not copied again.
    DeepCloner(Database& source, Database& target, IdMapping& mapping);
    DeepCloner(const DeepCloner&) = delete;
    DeepCloner& operator=(const DeepCloner&) = delete;
    ~DeepCloner();

    // Plans the copy of block `block` (not a layout) with its entities under its name, or under
    // a new one when it is anonymous; a target block of that name stands for it instead.
    void PlanBlock(const BlockRecord& block);
    // Plans copies of `entities` of the source (their ATTRIB, VERTEX and SEQEND come along),
    // appended in order to the space given to Make. With entities of one block or space, let the
    // mapping name the target space for it, so that their owner handles point there.
    void PlanEntities(const std::vector<Entity>& entities);
    // Plans the copy of `object` (of the OBJECTS section) as entry `name` of the target
    // dictionary that the mapping gives for the object's owner at Make.
    void PlanObjectInto(const Object& object, std::string_view name);
    // Sets the edit applied to every entity copy; none by default.
    void SetEntityEdit(EntityEdit edit);

    // Follows the plan through everything it needs and checks it against the target: R12 has
    // no place for newer objects, older releases none for entity types they don't know. On
    // failure the handles planned are given back and the target is as it was.
    base::Status Check();
    // Makes every object planned, in the file's own style, the copies of PlanEntities at the
    // end of `space` of the target; only after Check succeeded.
    void Make(const BlockRecord& space = {});
    // Check, then Make when it succeeded.
    base::Status Run(const BlockRecord& space = {});

    // The target block that `block` of the source became or was matched to; a null view when it
    // was neither (before Make, for a new block).
    BlockRecord TargetBlock(const BlockRecord& block) const;
    // The copies PlanEntities asked for, in order (after Make); their sub-entities not listed.
    const std::vector<Entity>& Copies() const { return copies_; }

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    std::vector<Entity> copies_;
};

}  // namespace cad
