#include "arxutils/ArxUtils.h"

#include <cctype>

#include "base/Format.h"
#include "base/Text.h"
#include "cad/Tag.h"
#include "cad/units/AngleText.h"
#include "cad/units/DistanceText.h"
#include "cad/units/NearlyEqual.h"
#include "cad/units/UnitSettings.h"
#include "host/Printer.h"

namespace arxutils {
namespace {

cad::UnitSettings UnitsOf(const cad::Database* db) {
    return db ? db->Units() : cad::UnitSettings{};
}

// RTERROR, the answer the host's converters give for a text they can't read.
constexpr int kRtError = -5001;

}  // namespace

std::string DistanceText(const cad::Database* db, double value, int units, int precision) {
    auto text = cad::DistanceText(value, units, precision, UnitsOf(db));
    return text ? text.Value() : std::string();
}

std::string AngleText(const cad::Database* db, double value, int units, int precision) {
    auto text = cad::AngleText(value, units, precision, UnitsOf(db));
    return text ? text.Value() : std::string();
}

bool TryTextToDistance(const cad::Database* db, std::string_view text, int units, double& value) {
    auto number = cad::TextToDistance(text, units, UnitsOf(db));
    if (!number) return false;
    value = number.Value();
    return true;
}

bool TryTextToAngle(const cad::Database* db, std::string_view text, int units, double& value) {
    auto number = cad::TextToAngle(text, units, UnitsOf(db));
    if (!number) return false;
    value = number.Value();
    return true;
}

double TextToDistance(const cad::Database* db, std::string_view text, int units) {
    double value = 0;
    if (!TryTextToDistance(db, text, units, value)) {
        host::Printf("Failed to convert the distance: %d", kRtError);
        return 0;
    }
    return value;
}

bool NearlyEqual(double a, double b) { return cad::NearlyEqual(a, b); }

cad::Object HandleToId(cad::Database& db, std::string_view handleText) {
    cad::Handle handle = cad::ParseHandle(base::Trim(handleText));
    if (handle == 0) return {};
    return db.ObjectByHandle(handle);
}

std::string OwnerNameOf(cad::Database& db, cad::Handle owner) {
    if (owner == 0) return {};
    cad::Object record = db.ObjectByHandle(owner);
    if (!record) return {};
    for (const cad::BlockRecord& block : db.Blocks())
        if (block.GetHandle() == owner || block.BlockBegin().GetHandle() == owner) return block.Name();
    return record.GetText(2);
}

std::string LayerNameOf(const cad::Entity& entity) { return entity.LayerName(); }

bool ReadLayerState(std::string_view name, LayerState& state, cad::Database& db) {
    cad::Layer layer = db.FindLayer(name);
    if (!layer) return false;
    state.frozen = layer.IsFrozen();
    state.off = layer.IsOff();
    state.locked = layer.IsLocked();
    return true;
}

std::vector<cad::AttributeDefinition> AttDefIdsOf(const cad::BlockRecord& block) {
    if (!block) return {};
    return block.AttributeDefinitions();
}

cad::SymbolRecord NamedObjectId(std::string_view table, std::string_view name, cad::Database& db) {
    return db.FindRecord(table, name);
}

bool SetXdata(cad::Object entity, std::string_view appName, std::string_view text, bool append) {
    if (!entity || appName.empty()) return false;
    if (entity.IsErased()) {
        host::Printf("acdbOpenEntity failed in setXdata function");
        return false;
    }
    cad::TagList data;
    cad::TagList old = entity.Xdata(appName);
    if (append && !old.empty()) {
        for (std::size_t i = 1; i < old.size(); ++i) {
            if (old[i].code == 1000 && base::EqualNoCase(old[i].value, text)) return true;
            data.push_back(old[i]);
        }
    }
    data.push_back(cad::Tag{1000, std::string(text)});
    return entity.SetXdata(appName, data).IsOk();
}

std::vector<std::string> GetXdata(const cad::Object& entity, std::string_view appName) {
    std::vector<std::string> out;
    if (!entity || appName.empty()) return out;
    for (const cad::Tag& tag : entity.Xdata(appName))
        if (tag.code == 1000) out.push_back(tag.value);
    return out;
}

bool DeleteXdata(cad::Object entity, std::string_view appName) {
    if (!entity || appName.empty()) return false;
    if (entity.IsErased()) {
        host::Printf("acdbOpenEntity failed in deleteXdata function");
        return false;
    }
    entity.DeleteXdata(appName);
    return true;
}

cad::BlockRecord CurrentSpace(cad::Database& db) {
    if (db.HeaderInt("$TILEMODE", 1) == 0) {
        cad::BlockRecord paper = db.PaperSpace();
        if (paper) return paper;
    }
    return db.ModelSpace();
}

cad::Entity AddToSpace(cad::Database& db, std::string_view type, std::string_view layer,
                       const cad::TagList& data) {
    auto entity = CurrentSpace(db).AppendEntity(type, layer, data);
    if (!entity) {
        host::Printf("\nERROR: could not add entity to current space");
        return {};
    }
    return entity.Value();
}

std::string FieldLinkOf(const cad::Object& object) {
    cad::Handle handle = object ? object.GetHandle() : 0;
    if (handle == 0) {
        host::Printf("\nERROR: Could not translate handle");
        return {};
    }
    // The host's object id is a number of the session; the handle's value is the lasting one.
    return "%<\\_ObjId " + std::to_string(handle) + ">%";
}

std::string DecodeUnicodeEscapes(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '\\' && i + 2 < text.size() && (text[i + 1] == 'U' || text[i + 1] == 'u') &&
            text[i + 2] == '+') {
            std::size_t j = i + 3;
            char32_t code = 0;
            while (j < text.size() && j < i + 7 && std::isxdigit(static_cast<unsigned char>(text[j]))) {
                char c = text[j];
                code = code * 16 + (c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
                ++j;
            }
            if (j > i + 3) {
                base::AppendUtf8(out, code);
                i = j;
                continue;
            }
        }
        out += text[i++];
    }
    return out;
}

std::string EncodeUnicodeEscapes(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        std::size_t start = i;
        char32_t c = base::DecodeUtf8(text, i);
        if (c < 0x80) out.append(text.substr(start, i - start));
        else out += base::Sprintf("\\U+%x", static_cast<int>(c));
    }
    return out;
}

}  // namespace arxutils
