#include "attbat/numbering/NumberSelection.h"

#include <optional>
#include <string>

#include "arxutils/ArxUtils.h"
#include "base/Text.h"
#include "base/Wildcard.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/DynamicBlockReference.h"
#include "host/Printer.h"

namespace attbat {

namespace {

bool Numberable(const cad::Entity& entity) {
    const std::string type = entity.Type();
    return type == "INSERT" || type == "TEXT";
}

// The words of an answer: separated by commas or blanks.
std::vector<std::string> Words(std::string_view answer) {
    std::vector<std::string> words;
    std::string word;
    for (char c : answer) {
        if (c == ',' || c == ' ' || c == '\t') {
            if (!word.empty()) words.push_back(std::move(word));
            word.clear();
        } else {
            word += c;
        }
    }
    if (!word.empty()) words.push_back(std::move(word));
    return words;
}

bool IsFilterWord(const std::string& word) {
    return word.find('=') != std::string::npos || base::EqualNoCase(word, "all") || word == "*";
}

std::vector<cad::Entity> ByHandles(cad::Database& db, const std::vector<std::string>& handles) {
    std::vector<cad::Entity> picked;
    for (const std::string& handle : handles) {
        cad::Object object = arxutils::HandleToId(db, handle);
        if (!object) {
            host::Printf("\n%s: the drawing has no object of that handle.", handle);
            continue;
        }
        cad::Entity entity(object.GetDatabase(), object.Index());
        if (!Numberable(entity)) {
            host::Printf("\n%s is a %s, not a text or block reference: left out.", handle, entity.Type());
            continue;
        }
        bool twice = false;
        for (const cad::Entity& earlier : picked) twice = twice || earlier.Index() == entity.Index();
        if (!twice) picked.push_back(entity);
    }
    return picked;
}

// The filter's picks; nullopt for a filter word not understood, which is said.
std::optional<std::vector<cad::Entity>> ByFilter(cad::Database& db, const std::vector<std::string>& words) {
    std::string block, layer, type;
    for (const std::string& word : words) {
        const std::size_t eq = word.find('=');
        if (eq == std::string::npos) {
            if (IsFilterWord(word)) continue;  // "all"
            host::Printf("\n%s: give handles or a filter, not both.", word);
            return std::nullopt;
        }
        const std::string key = base::FoldCase(word.substr(0, eq));
        const std::string value = word.substr(eq + 1);
        if (key == "block") block = value;
        else if (key == "layer") layer = value;
        else if (key == "type") type = value;
        else {
            host::Printf("\nUnknown selection filter '%s': give handles, or block=NAME, layer=NAME, type=INSERT|TEXT or all.",
                         word);
            return std::nullopt;
        }
    }
    std::vector<cad::Entity> picked;
    for (const cad::Entity& entity : db.Select({{-4, "<or"}, {0, "INSERT"}, {0, "TEXT"}, {-4, "or>"}})) {
        if (!type.empty() && !base::WcMatch(entity.Type(), type, true)) continue;
        if (!layer.empty() && !base::WcMatch(arxutils::LayerNameOf(entity), layer, true)) continue;
        if (!block.empty() && (entity.Type() != "INSERT" || !base::WcMatch(NumberingBlockName(entity), block, true))) {
            continue;
        }
        picked.push_back(entity);
    }
    return picked;
}

}  // namespace

std::string NumberingBlockName(const cad::Entity& entity) {
    cad::BlockReference reference(entity.GetDatabase(), entity.Index());
    if (cad::BlockRecord dynamic = cad::DynamicBlockReference(reference).DynamicBlock()) return dynamic.Name();
    if (cad::BlockRecord block = reference.Block()) return block.Name();
    return reference.BlockName();
}

std::vector<cad::Entity> SelectTextsAndReferences(cad::Database& db, std::string_view answer) {
    const std::vector<std::string> words = Words(answer);
    if (words.empty()) return {};
    bool filter = false;
    for (const std::string& word : words) filter = filter || IsFilterWord(word);
    if (!filter) return ByHandles(db, words);
    std::optional<std::vector<cad::Entity>> picked = ByFilter(db, words);
    if (!picked) return {};
    if (picked->empty()) host::Printf("\nNo text or block reference matches '%s'.", base::Trim(answer));
    return *picked;
}

}  // namespace attbat
