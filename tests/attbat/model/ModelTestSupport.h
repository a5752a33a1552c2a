#pragma once
// In-memory stand-ins for the working drawing and the settings store, and small builders for
// blocks and rows, shared by the model's tests.
#include <map>
#include <string>
#include <utility>

#include "attbat/model/AcadBlock.h"
#include "attbat/model/DrawingContext.h"
#include "attbat/model/SettingsStore.h"
#include "base/Format.h"

namespace attbat::testing {

// Number texts that show every argument, so a test sees which units and precision were asked.
class FakeDrawing : public DrawingContext {
public:
    ObjectId CurrentSpaceId() const override { return currentSpace; }
    int LinearUnits() const override { return lunits; }
    std::string DistanceText(double value, int units, int precision) const override {
        return base::Sprintf("D[%d,%d]%g", units, precision, value);
    }
    std::string AngleText(double value, int units, int precision) const override {
        return base::Sprintf("A[%d,%d]%g", units, precision, value);
    }

    ObjectId currentSpace = 0x1F;  // model space
    int lunits = 2;
};

// Settings kept in a map of "section/name" to text; records how many writes were made.
class MapSettings : public SettingsStore {
public:
    int GetInt(std::string_view section, std::string_view name, int defaultValue) override {
        const auto it = values.find(Key(section, name));
        return it == values.end() ? defaultValue : std::stoi(it->second);
    }
    std::string GetString(std::string_view section, std::string_view name,
                          std::string_view defaultValue) override {
        const auto it = values.find(Key(section, name));
        return it == values.end() ? std::string(defaultValue) : it->second;
    }
    bool SetInt(std::string_view section, std::string_view name, int value) override {
        values[Key(section, name)] = std::to_string(value);
        return true;
    }
    bool SetString(std::string_view section, std::string_view name,
                   std::string_view text) override {
        values[Key(section, name)] = std::string(text);
        return true;
    }
    bool Has(std::string_view name) const { return values.count(Key("Velmar", name)) != 0; }
    std::string Get(std::string_view name) const { return values.at(Key("Velmar", name)); }

    std::map<std::string, std::string> values;

private:
    static std::string Key(std::string_view section, std::string_view name) {
        return std::string(section) + "/" + std::string(name);
    }
};

// An attribute as the reader makes it, with its own handle.
inline AcadAttribute Att(std::string tag, std::string value, int dupIndex = 0,
                         std::string handle = {}) {
    AcadAttribute attribute(std::move(tag), value, 0);
    attribute.dupIndex = dupIndex;
    attribute.handle = handle.empty() ? 0 : cad::ParseHandle(handle);
    return attribute;
}

// Definitions of the given tags with their prompts, in that order; a repeated tag is numbered.
inline AcadAttributeDefArray Defs(
    std::initializer_list<std::pair<const char*, const char*>> tagsAndPrompts) {
    AcadAttributeDefArray defs;
    for (const auto& [tag, prompt] : tagsAndPrompts)
        defs.AddAppend(AcadAttributeDef(tag, prompt, Point3d{}, 0, 0, 0, 0, 0));
    return defs;
}

// A top-level row in model space of drawing C:\a.dwg.
inline AcadBlockRef Row(std::string handle, double y = 0.0, std::string file = "C:\\a.dwg") {
    return AcadBlockRef(std::move(file), Point3d{1.0, y, 0.0}, Scale3d{}, AcadLayer("0", 0, 0, 0),
                        0.0, std::move(handle), 1, 0x1F, -1, -1, -1.0, "Model");
}

// A normal block with an attribute definition per tag, left to right.
inline AcadBlock Block(std::string name, std::initializer_list<const char*> tags,
                       std::string file = "C:\\a.dwg") {
    AcadBlock block(std::move(file), std::move(name), 1, 0, 0, 0, 0, 0);
    double x = 1.0;
    for (const char* tag : tags) {
        block.defs.AddSorted(AcadAttributeDef(tag, std::string("Prompt ") + tag,
                                              Point3d{x, 0.0, 0.0}, 0, 0, 0, 0, 0));
        x += 1.0;
    }
    return block;
}

}  // namespace attbat::testing
