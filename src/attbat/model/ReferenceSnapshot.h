#pragma once
// What every block reference of a drawing looked like at one reading, as one number per handle,
// so that after another program saved the drawing the references whose schedule rows could
// read differently are found without keeping the old drawing.
#include <cstdint>
#include <string>
#include <vector>

#include "cad/Tag.h"

namespace cad {
class Database;
}

namespace attbat {

// The fingerprints of the INSERTs and MINSERTs of a drawing: model space, the paper spaces and
// block definitions. A fingerprint covers the block name, layer, linetype, colour, visibility,
// position, scale, rotation, extrusion, the MINSERT grid, each attribute (its handle, tag, flags,
// text and multi-line contents), the extended data and the extension dictionary's entries. It is
// made of values, not of how the file writes them: the same drawing saved by another program,
// with its own number forms and tag order, gives the same fingerprints.
class ReferenceSnapshot {
public:
    // Reads every live reference of `db` in drawing order.
    static ReferenceSnapshot Take(cad::Database& db);

    // The handles ("1F", as the drawing shows them) of the references that are new since
    // `before` or read differently now, in drawing order; empty when nothing changed.
    std::vector<std::string> ChangedSince(const ReferenceSnapshot& before) const;
    // The handles of the references of `before` that are gone now, in `before`'s drawing order.
    std::vector<std::string> Removed(const ReferenceSnapshot& before) const;

    // How many references were read.
    std::size_t Size() const { return inOrder_.size(); }
    // The fingerprint of the reference `handle`; 0 when the snapshot has none (a fingerprint
    // itself is never 0).
    std::uint64_t FingerprintOf(cad::Handle handle) const;

private:
    struct Entry {
        cad::Handle handle = 0;
        std::uint64_t fingerprint = 0;
    };
    std::vector<Entry> inOrder_;   // drawing order
    std::vector<Entry> byHandle_;  // sorted by handle, for the lookups of a comparison
};

}  // namespace attbat
