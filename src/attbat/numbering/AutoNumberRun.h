#pragma once
// One run of auto numbering: selections one after another, each sorted and numbered into an
// attribute of the block references and into the texts, the number running on between them.
// Prompts go through the editor, the restart question through a message box.

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cad/Entity.h"

namespace cad {
class Database;
}

namespace attbat {

struct NumberingState;

class AutoNumberRun {
public:
    // Numbers in `db` with the module's `state` (both not owned).
    AutoNumberRun(cad::Database& db, NumberingState& state) : db_(db), state_(state) {}

    // Selection after selection until one isn't answered or a numbering is cancelled. The first
    // selection is `firstSelection` when given (what the user picked before the command), the
    // others are asked for.
    void Run(const std::optional<std::string>& firstSelection);
    // Numbers one block reference: RTNORM, RTCAN, or RTERROR when it can't be numbered (no
    // reference, no such attribute).
    int NumberBlockReference(const cad::Entity& entity);
    // Numbers one text: RTNORM, RTCAN when the start number was cancelled, RTERROR for no text.
    int NumberText(const cad::Entity& entity);

    // What the run wrote, in its order: the object's handle and its new text.
    struct Written {
        std::string handle;
        std::string text;
    };
    const std::vector<Written>& WrittenTexts() const { return written_; }
    // "Overwrite", "Prefix", "Suffix", or "" until asked.
    const std::string& Placement() const { return placement_; }

private:
    // Numbers a selection of two or more objects; false when the command ends.
    bool NumberSorted(const std::vector<cad::Entity>& picked);
    // The start number and increment; cancelling the increment ends only when `cancelEnds`.
    int AskStartNumber(bool cancelEnds);
    // The placement prompt: Enter "Overwrite", a keyword itself; RTCAN on cancel.
    int AskPlacement();
    // The number advanced unless this is the run's first object, then put into `present` as the
    // placement says (Overwrite, Prefix, Suffix; nothing while it is empty) and given to `write`.
    void AdvanceAndWrite(const std::string& handle, const std::string& present,
                         const std::function<void(const std::string&)>& write);

    cad::Database& db_;
    NumberingState& state_;
    std::string placement_;
    std::map<std::string, std::string> tagOfBlock_;
    bool firstObject_ = true;
    std::vector<Written> written_;
};

}  // namespace attbat
