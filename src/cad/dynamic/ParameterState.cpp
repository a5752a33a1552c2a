#include "cad/dynamic/ParameterState.h"

#include "cad/Database.h"

namespace cad::dynamic {

namespace {

Dictionary AsDictionary(const Object& object) {
    if (!object || object.Type() != "DICTIONARY")
        return {};
    return Dictionary(object.GetDatabase(), object.Index());
}

void AppendPoint(TagList& tags, Point3 p) {
    tags.push_back(RealTag(10, p.x));
    tags.push_back(RealTag(20, p.y));
    tags.push_back(RealTag(30, p.z));
}

}  // namespace

ParameterState ReadParameterState(const Object& object) {
    ParameterState state;
    if (!object || object.Type() != "XRECORD")
        return state;
    state.data = Xrecord(object.GetDatabase(), object.Index()).Data();
    state.present = true;
    std::size_t i = 0;
    while (i < state.data.size() && state.data[i].code == 1071)
        ++i;
    while (i < state.data.size() && state.data[i].code == 70)
        ++i;
    for (; i < state.data.size(); ++i) {
        const Tag& tag = state.data[i];
        if (tag.code == 10)
            state.points.push_back(Point3{tag.Real(), 0, 0});
        else if (tag.code == 20 && !state.points.empty())
            state.points.back().y = tag.Real();
        else if (tag.code == 30 && !state.points.empty())
            state.points.back().z = tag.Real();
        else if (tag.code == 1)
            state.strings.push_back(tag.value);
    }
    return state;
}

TagList StateData(const ParameterState& state) {
    TagList out;
    std::size_t point = 0, text = 0;
    if (state.data.empty()) {
        out = {IntTag(70, 25), IntTag(70, 104)};
    } else {
        for (const Tag& tag : state.data) {
            Tag t = tag;
            if (tag.code == 10 && point < state.points.size()) {
                t = RealTag(10, state.points[point].x);
            } else if (tag.code == 20 && point < state.points.size()) {
                t = RealTag(20, state.points[point].y);
            } else if (tag.code == 30 && point < state.points.size()) {
                t = RealTag(30, state.points[point].z);
                ++point;
            } else if (tag.code == 1 && text < state.strings.size()) {
                t.value = state.strings[text++];
            }
            // A value that didn't change keeps its text as AutoCAD wrote it.
            if (tag.code != 1 && t.code == tag.code && std::abs(t.Real() - tag.Real()) == 0)
                t = tag;
            out.push_back(t);
        }
    }
    for (; point < state.points.size(); ++point)
        AppendPoint(out, state.points[point]);
    for (; text < state.strings.size(); ++text)
        out.push_back(Tag{1, state.strings[text]});
    return out;
}

Dictionary RepresentationOf(const BlockReference& reference) {
    if (!reference)
        return {};
    Dictionary xdict = reference.ExtensionDictionary();
    if (!xdict)
        return {};
    return AsDictionary(xdict.Get("AcDbBlockRepresentation"));
}

Dictionary StatesOf(const BlockReference& reference) {
    if (Dictionary rep = RepresentationOf(reference))
        if (Dictionary cache = AsDictionary(rep.Get("AppDataCache")))
            return AsDictionary(cache.Get("ACAD_ENHANCEDBLOCKDATA"));
    return {};
}

base::Status WriteStates(BlockReference& reference, const BlockRecord& dynamicBlock,
                         const StateMap& states) {
    auto xdict = reference.GetOrCreateExtensionDictionary();
    if (!xdict)
        return xdict.GetStatus();
    auto rep = xdict->GetOrAddDictionary("AcDbBlockRepresentation");
    if (!rep)
        return rep.GetStatus();
    Object data = rep->Get("AcDbRepData");
    if (!data || data.Type() != "ACDB_BLOCKREPRESENTATION_DATA") {
        auto made = rep->SetObject("AcDbRepData", "ACDB_BLOCKREPRESENTATION_DATA",
                                   {{100, "AcDbBlockRepresentationData"},
                                    IntTag(70, 1),
                                    {340, HandleText(dynamicBlock.GetHandle())}});
        if (!made)
            return made.GetStatus();
    }
    auto cache = rep->GetOrAddDictionary("AppDataCache");
    if (!cache)
        return cache.GetStatus();
    auto records = cache->GetOrAddDictionary("ACAD_ENHANCEDBLOCKDATA");
    if (!records)
        return records.GetStatus();
    for (const auto& [id, state] : states) {
        const std::string name = std::to_string(id);
        TagList tags = StateData(state);
        Object old = records->Get(name);
        if (old && old.Type() == "XRECORD") {
            Xrecord record(old.GetDatabase(), old.Index());
            if (record.Data() != tags)
                record.SetData(tags);
            continue;
        }
        auto made = records->SetXrecord(name, tags);
        if (!made)
            return made.GetStatus();
    }
    return base::Status::Ok();
}

}  // namespace cad::dynamic
