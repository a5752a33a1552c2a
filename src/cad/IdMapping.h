#pragma once
// What a deep clone made of each object it reached: source handle -> target handle, and whether
// the object was copied or an equal one of the target (a record of the same name) stands for it.

#include <cstddef>
#include <unordered_map>

#include "cad/Tag.h"

namespace cad {

class IdMapping {
public:
    struct Pair {
        Handle target = 0;
        bool cloned = false;  // false: the target's own object stands for the source's
    };

    // The target handle of `source`; 0 when the clone did not reach it.
    Handle Lookup(Handle source) const {
        auto it = pairs_.find(source);
        return it == pairs_.end() ? 0 : it->second.target;
    }
    // True when `source` was copied into the target; false also when it was not reached.
    bool IsCloned(Handle source) const {
        auto it = pairs_.find(source);
        return it != pairs_.end() && it->second.cloned;
    }
    // True when the clone reached `source`, copied or matched.
    bool Contains(Handle source) const { return pairs_.count(source) != 0; }
    // Records what `source` became; a second call for the same source replaces the first.
    void Assign(Handle source, Handle target, bool cloned) {
        pairs_[source] = Pair{target, cloned};
    }
    // Forgets `source`; nothing when it was not reached.
    void Erase(Handle source) { pairs_.erase(source); }
    std::size_t Size() const { return pairs_.size(); }
    // Every pair, in no particular order.
    const std::unordered_map<Handle, Pair>& Pairs() const { return pairs_; }

private:
    std::unordered_map<Handle, Pair> pairs_;
};

}  // namespace cad
