#include "xl/SharedStrings.h"

#include <algorithm>
#include <functional>

#include "xl/Xml.h"
#include "xl/XmlScanner.h"
#include "xl/Zip.h"

namespace xl {

namespace {

// Whether character data reads as it stands: no reference, line end, CDATA or "_xHHHH_" escape.
bool ReadsAsItStands(std::string_view raw) {
    return raw.find_first_of("&\r<") == std::string_view::npos &&
           raw.find("_x") == std::string_view::npos;
}

}  // namespace

base::Status SharedStrings::Load(std::string original, std::string_view label) {
    // Scanned rather than parsed into a tree: a table of a string for every cell would take
    // several times its text as nodes. An item's text is that of its <t>, or of the <t> of each
    // run (phonetic runs left out).
    original_ = std::move(original);
    XmlScanner::MakeUtf8(original_);
    XmlScanner x(original_);
    std::string text;
    std::string_view raw;  // the item's run of text as it stands in the part, while it has one
    int runs = 0;
    bool inItem = false, inRun = false, plain = true;
    std::size_t captureDepth = 0;  // depth of the <t> whose text is taken; 0 for none
    for (XmlScanner::Token t = x.Next(); t != XmlScanner::Token::End; t = x.Next()) {
        if (t == XmlScanner::Token::Error) {
            original_.clear();
            texts_.clear();
            plain_.clear();
            owned_.clear();
            return base::Status::Error(std::string(label) + ": " + x.Error());
        }
        const std::size_t depth = x.Depth();
        if (t == XmlScanner::Token::Text) {
            if (captureDepth && depth == captureDepth + 1) {
                x.AppendText(text);
                raw = x.Span(x.TokenBegin(), x.TokenEnd());
                ++runs;
            }
            continue;
        }
        const std::string_view name = x.LocalName();
        if (t == XmlScanner::Token::StartElement) {
            if (depth == 1) {
                inItem = name == "si";
                text.clear();
                runs = 0;
                plain = true;
            } else if (inItem && depth == 2 && name == "r") {
                inRun = true;
                plain = false;
            } else if (inItem && name == "t" && (depth == 2 || (depth == 3 && inRun))) {
                captureDepth = depth;
            }
            continue;
        }
        if (depth == captureDepth) {
            captureDepth = 0;
        } else if (depth == 2) {
            inRun = false;
        } else if (depth == 1 && inItem) {
            const bool asItStands = runs == 1 && ReadsAsItStands(raw);
            texts_.push_back(asItStands ? raw : owned_.Keep(UnescapeOoxml(text)));
            plain_.push_back(plain);
            inItem = false;
        }
    }
    return base::Status::Ok();
}

std::uint32_t SharedStrings::Hash(std::string_view text) {
    const std::size_t h = std::hash<std::string_view>()(text);
    return static_cast<std::uint32_t>(h ^ (h >> 32));
}

SharedStrings::Slot& SharedStrings::SlotOf(std::string_view text, std::uint32_t hash) {
    const std::size_t mask = slots_.size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask) {
        Slot& slot = slots_[i];
        if (slot.item == kNone || (slot.hash == hash && texts_[slot.item] == text)) return slot;
    }
}

void SharedStrings::Index(std::uint32_t hash, std::uint32_t item) {
    if (2 * (indexed_ + 1) > slots_.size()) {
        std::vector<Slot> old(std::max<std::size_t>(64, 2 * slots_.size()));
        old.swap(slots_);
        const std::size_t mask = slots_.size() - 1;
        for (const Slot& slot : old) {
            if (slot.item == kNone) continue;
            std::size_t i = slot.hash & mask;
            while (slots_[i].item != kNone) i = (i + 1) & mask;
            slots_[i] = slot;
        }
    }
    Slot& slot = SlotOf(texts_[item], hash);
    slot = {hash, item};
    ++indexed_;
}

// The items read, the first of equal texts standing for them all.
void SharedStrings::BuildIndex() {
    slots_.assign(64, Slot());
    for (std::size_t i = 0; i < texts_.size(); ++i) {
        if (!plain_[i]) continue;
        const std::uint32_t hash = Hash(texts_[i]);
        if (SlotOf(texts_[i], hash).item == kNone) Index(hash, static_cast<std::uint32_t>(i));
    }
}

std::uint32_t SharedStrings::Add(std::string_view text) {
    if (slots_.empty()) BuildIndex();
    ++addedRefs_;
    const std::uint32_t hash = Hash(text);
    if (const Slot& slot = SlotOf(text, hash); slot.item != kNone) return slot.item;
    const std::uint32_t id = static_cast<std::uint32_t>(texts_.size());
    texts_.push_back(owned_.Keep(text));
    plain_.push_back(true);
    Index(hash, id);
    ++added_;
    return id;
}

namespace {

// The items added since loading, each a plain <si>.
void AppendItems(std::string& items, const std::vector<std::string_view>& texts, std::size_t from,
                 DeflateStream* stream) {
    for (std::size_t i = from; i < texts.size(); ++i) {
        if (stream) stream->MaybeFlush();
        const std::string_view t = texts[i];
        bool keepSpace = !t.empty() && (t.front() == ' ' || t.back() == ' ' || t.front() == '\n' ||
                                        t.back() == '\n' || t.front() == '\t' || t.back() == '\t');
        items += keepSpace ? std::string_view("<si><t xml:space=\"preserve\">") : std::string_view("<si><t>");
        AppendEscaped(items, t);
        items += std::string_view("</t></si>");
    }
}

}  // namespace

std::string SharedStrings::NewTableHead() const {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
           "<sst xmlns=\"http://schemas.openxmlformats.org/spreadsheetml/2006/main\" count=\"" +
           std::to_string(addedRefs_) + "\" uniqueCount=\"" + std::to_string(texts_.size()) + "\">";
}

DeflatedData SharedStrings::SaveDeflated() const {
    DeflateStream stream;
    if (!original_.empty()) {
        stream.Buffer() = Save();
        return stream.Finish();
    }
    // A table of our own is streamed, so a big one never exists uncompressed in full.
    stream.Buffer() = NewTableHead();
    AppendItems(stream.Buffer(), texts_, texts_.size() - added_, &stream);
    stream.Buffer() += "</sst>";
    return stream.Finish();
}

std::string SharedStrings::Save() const {
    std::string items;
    AppendItems(items, texts_, texts_.size() - added_, nullptr);
    if (original_.empty()) return NewTableHead() + items + "</sst>";
    // Splice the new items before the closing tag and correct the counts in the opening tag;
    // the prefix of the root element is reused so that `x:sst` files stay consistent.
    std::string out = original_;
    std::size_t rootStart = out.find("sst");
    while (rootStart != std::string::npos && rootStart > 0 && out[rootStart - 1] != '<' &&
           out[rootStart - 1] != ':')
        rootStart = out.find("sst", rootStart + 3);
    std::size_t open = rootStart == std::string::npos ? std::string::npos : out.rfind('<', rootStart);
    std::size_t openEnd = open == std::string::npos ? std::string::npos : out.find('>', open);
    // The root may close itself (`<x:sst .../>`, a .NET generator's table of inline-string
    // workbooks): then there is no closing tag to splice before.
    std::size_t close = out.rfind("</");
    if (open == std::string::npos || openEnd == std::string::npos ||
        (close == std::string::npos && out[openEnd - 1] != '/'))
        return out;  // Load read a root element, so this can't be
    std::string prefix = out.substr(open + 1, rootStart - open - 1);
    if (!prefix.empty()) {
        // Prefixed files ("x:sst") need the same prefix on the new items.
        std::string prefixed;
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (items[i] == '<') {
                prefixed += '<';
                if (i + 1 < items.size() && items[i + 1] == '/') {
                    prefixed += '/';
                    ++i;
                }
                prefixed += prefix;
            } else {
                prefixed += items[i];
            }
        }
        items = std::move(prefixed);
    }
    bool selfClosing = out[openEnd - 1] == '/';
    if (selfClosing) {
        out.replace(openEnd - 1, 2, ">" + items + "</" + prefix + "sst>");
    } else {
        out.insert(close, items);
    }
    std::string tag = out.substr(open, openEnd - open);
    auto setAttr = [&](const std::string& name, std::uint64_t value) {
        std::size_t at = tag.find(" " + name + "=\"");
        if (at == std::string::npos) return;
        std::size_t vStart = at + name.size() + 3;
        std::size_t vEnd = tag.find('"', vStart);
        std::uint64_t old = std::strtoull(tag.substr(vStart, vEnd - vStart).c_str(), nullptr, 10);
        tag.replace(vStart, vEnd - vStart, std::to_string(name == "count" ? old + value : value));
    };
    setAttr("count", addedRefs_);
    setAttr("uniqueCount", texts_.size());
    out.replace(open, openEnd - open, tag);
    return out;
}

}  // namespace xl
