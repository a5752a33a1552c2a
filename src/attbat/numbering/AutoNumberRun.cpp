#include "attbat/numbering/AutoNumberRun.h"

#include "attbat/numbering/NumberSelection.h"
#include "attbat/numbering/NumberingState.h"
#include "base/Format.h"
#include "base/Text.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Text.h"
#include "cad/geometry/Matrix3d.h"
#include "host/Editor.h"
#include "host/Printer.h"
#include "host/Ui.h"

namespace attbat {

namespace {

constexpr const char* kSelectPrompt = "\nSelect text or block references:";

// Where an object stands for the sort, in world coordinates.
cad::Point3 SortPosition(const cad::Entity& entity) {
    if (entity.Type() == "INSERT") return cad::BlockReference(entity.GetDatabase(), entity.Index()).WorldPosition();
    const cad::Text text(entity.GetDatabase(), entity.Index());
    const cad::Point3 normal{text.GetReal(210, 0), text.GetReal(220, 0), text.GetReal(230, 1)};
    return cad::ObjectToWorld(normal).Apply(text.Position());
}

// Puts `entity` ahead of the first object of `list` that `before` says it precedes, else at the
// end: equal positions keep the selection order.
template <class Before>
void InsertSorted(std::vector<cad::Entity>& list, const cad::Entity& entity, Before before) {
    const cad::Point3 position = SortPosition(entity);
    for (auto it = list.begin(); it != list.end(); ++it) {
        if (before(position, SortPosition(*it))) {
            list.insert(it, entity);
            return;
        }
    }
    list.push_back(entity);
}

}  // namespace

void AutoNumberRun::Run(const std::optional<std::string>& firstSelection) {
    host::Editor& editor = host::CurrentEditor();
    bool givenUsed = false;
    while (true) {
        std::string answer;
        if (firstSelection && !givenUsed) {
            givenUsed = true;
            answer = *firstSelection;
            host::CurrentPrinter().Print(kSelectPrompt);
            host::CurrentPrinter().Print(answer + "\n");
        } else if (editor.GetString(true, kSelectPrompt, answer) != host::RTNORM) {
            return;
        }
        const std::vector<cad::Entity> picked = SelectTextsAndReferences(db_, answer);
        if (picked.empty()) return;
        if (picked.size() == 1) {
            int result = NumberBlockReference(picked.front());
            if (result != host::RTNORM) result = NumberText(picked.front());
            if (result == host::RTNORM) firstObject_ = false;
            if (result == host::RTCAN) return;
            continue;
        }
        if (!NumberSorted(picked)) return;
    }
}

bool AutoNumberRun::NumberSorted(const std::vector<cad::Entity>& picked) {
    host::Editor& editor = host::CurrentEditor();
    std::string sort;
    editor.InitGet(0, "X Y Select-order");
    // Enter ends the command although the prompt shows a default: "Select-order" must be typed.
    if (editor.GetKword("\nSort selected objects by [X/Y/Select-order]<Select-order>:", sort) != host::RTNORM) {
        return false;
    }
    std::vector<cad::Entity> references, texts;
    for (const cad::Entity& entity : picked) {
        const bool reference = entity.Type() == "INSERT";
        if (!reference && entity.Type() != "TEXT") continue;
        std::vector<cad::Entity>& list = reference ? references : texts;
        if (sort == "X") {
            InsertSorted(list, entity, [](cad::Point3 a, cad::Point3 b) { return b.x > a.x; });
        } else if (sort == "Y") {
            InsertSorted(list, entity, [](cad::Point3 a, cad::Point3 b) { return b.y < a.y; });
        } else {
            list.push_back(entity);
        }
    }
    int result = host::RTNORM;
    for (const cad::Entity& entity : references) {
        result = NumberBlockReference(entity);
        if (result == host::RTNORM) firstObject_ = false;
        if (result == host::RTCAN) break;
    }
    for (const cad::Entity& entity : texts) {
        result = NumberText(entity);
        if (result == host::RTNORM) firstObject_ = false;
        if (result == host::RTCAN) break;
    }
    return result != host::RTCAN;
}

int AutoNumberRun::AskStartNumber(bool cancelEnds) {
    host::Editor& editor = host::CurrentEditor();
    while (true) {
        const std::string start = state_.Current();
        std::string typed;
        const int result = editor.GetString(false, base::Sprintf("\nSpecify starting number <%s>:", start), typed);
        if (result != host::RTNORM) return result;
        if (typed.empty()) typed = start;
        if (!IsAllLettersOrDigits(typed)) {
            host::Printf("\nInvalid start number.");
            continue;
        }
        state_.SplitStart(typed);
        break;
    }
    int increment = state_.numberIncrement;
    while (true) {
        const int result = editor.GetInt("\nSpecify increment <1>:", increment);
        if (result == host::RTCAN && cancelEnds) return host::RTCAN;
        if (result != host::RTNORM) {
            state_.numberIncrement = 1;
            return host::RTNORM;
        }
        if (increment >= -32768 && increment <= 32767) break;
        host::Printf("\nValue must be between -32768 and 32767.");
    }
    state_.numberIncrement = static_cast<short>(increment);
    return host::RTNORM;
}

int AutoNumberRun::AskPlacement() {
    host::Editor& editor = host::CurrentEditor();
    std::string keyword;
    editor.InitGet(0, "Overwrite Prefix Suffix");
    const int result = editor.GetKword("\nPlacement of numbers in text [Overwrite/Prefix/Suffix] <Overwrite>: ", keyword);
    if (result == host::RTNONE) placement_ = "Overwrite";
    else if (result == host::RTNORM) placement_ = keyword;
    return result == host::RTCAN ? host::RTCAN : host::RTNORM;
}

void AutoNumberRun::AdvanceAndWrite(const std::string& handle, const std::string& present,
                                    const std::function<void(const std::string&)>& write) {
    if (!firstObject_) state_.Advance();
    if (placement_.empty()) return;  // nothing is written, and still the object counts as numbered
    const std::string number = state_.Current();
    const std::string text = placement_ == "Prefix"   ? number + present
                             : placement_ == "Suffix" ? present + number
                                                      : number;
    write(text);
    written_.push_back({handle, text});
}

int AutoNumberRun::NumberBlockReference(const cad::Entity& entity) {
    if (!entity || entity.Type() != "INSERT") return host::RTERROR;
    const cad::BlockReference reference(entity.GetDatabase(), entity.Index());
    const std::string name = NumberingBlockName(entity);
    if (!firstObject_) {
        if (!base::EqualNoCase(name, state_.lastBlockName)) {
            state_.lastBlockName = name;
            if (host::AskYesNo("You select a different block. Do you want to restart the number?", "Velmar",
                               host::BoxIcon::Information)) {
                state_.Restart();
            }
        }
    } else {
        if (name != state_.lastBlockName) {
            state_.StartAtOne();
        } else {
            state_.Advance();
        }
        if (const int result = AskStartNumber(true); result != host::RTNORM) return result;
    }

    const std::vector<cad::Attribute> attributes = reference.Attributes();
    if (attributes.empty()) {
        host::Printf("\nThe block doesn't have any attributes.");
        return host::RTERROR;
    }
    std::string tag;
    if (auto known = tagOfBlock_.find(name); known != tagOfBlock_.end()) tag = known->second;
    if (attributes.size() >= 2) {
        const std::string prompt =
            tag.empty() ? std::string("\nThe selected block has multiple attributes. Please specify the attribute tag:")
                        : base::Sprintf("\nThe selected block has multiple attributes. Please specify the attribute tag <%s>:", tag);
        std::string typed;
        if (host::CurrentEditor().GetString(true, prompt, typed) == host::RTCAN) return host::RTCAN;
        if (!base::Trim(typed).empty()) tag = base::Trim(typed);
        if (tag.empty()) {
            host::Printf("\nInvalid attribute tag.");
            return host::RTERROR;
        }
    }
    cad::Attribute attribute;
    for (const cad::Attribute& candidate : attributes) {
        if (candidate.IsConstant()) {
            host::Printf("\nCannot modify the constant attribute.");
            continue;
        }
        if (attributes.size() == 1 || base::EqualNoCase(candidate.Tag(), tag)) {
            attribute = candidate;
            break;
        }
    }
    if (!attribute) {
        host::Printf("\nCannot find the attribute %s.", tag);
        return host::RTERROR;
    }
    const std::string present = attribute.PlainText();
    if (present.empty()) {
        placement_ = "Overwrite";
    } else {
        if (placement_.empty() && AskPlacement() == host::RTCAN) return host::RTCAN;
        tagOfBlock_[name] = attributes.size() == 1 ? attribute.Tag() : tag;
    }
    state_.lastBlockName = name;
    AdvanceAndWrite(reference.HandleString(), present, [&](const std::string& text) { attribute.SetValue(text); });
    return host::RTNORM;
}

int AutoNumberRun::NumberText(const cad::Entity& entity) {
    if (!entity || entity.Type() != "TEXT") return host::RTERROR;
    cad::Text text(entity.GetDatabase(), entity.Index());
    if (firstObject_) {
        state_.StartAtOne();
        if (const int result = AskStartNumber(false); result != host::RTNORM) return result;
    }
    const std::string present = text.TextString();
    if (present.empty()) {
        placement_ = "Overwrite";
    } else if (placement_.empty()) {
        AskPlacement();  // a cancel here leaves the placement empty: the text gets nothing
    }
    AdvanceAndWrite(text.HandleString(), present, [&](const std::string& written) { text.SetTextString(written); });
    return host::RTNORM;
}

}  // namespace attbat
