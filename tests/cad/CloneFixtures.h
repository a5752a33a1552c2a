#pragma once
// Two small R13-and-later drawings for the clone tests, written tag by tag in the version asked
// for (AC1015 and older in ANSI_1252, AC1021 and later in UTF-8).
//
// The source holds block "Door": a LINE on layer "Walls" with line type "DASHED" (a complex line
// type naming a shape-file style) and material "Wood"; a TEXT in style "Fancy" reading "Tür Ж";
// a reference to "Knob" with an attribute; a reference to the anonymous "*U1"; a CIRCLE with an
// extension dictionary (an xrecord pointing at layer "Walls" and, softly, at Knob's circle),
// extended data of "VELMAR_TEST" naming the LINE, and a reactor naming a group. Door's draw
// order puts the CIRCLE first and the LINE last. Model space holds a reference to Door and a
// LINE drawn before it; $INSBASE is (5, 6, 0). Its classes define SORTENTSTABLE, MATERIAL and
// ACDBPLACEHOLDER.
//
// The target has layer "WALLS", block "KNOB" (another one than the source's) and an anonymous
// "*U1", no "DASHED", no "Fancy", no materials, no classes, and handles that overlap the
// source's.

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Fixtures.h"

namespace clonetest {

using Tags = std::vector<std::pair<int, std::string>>;

inline void Add(Tags& out, const Tags& more) {
    out.insert(out.end(), more.begin(), more.end());
}

inline Tags Table(const std::string& name, const std::string& handle, int count) {
    return {{0, "TABLE"},
            {2, name},
            {5, handle},
            {330, "0"},
            {100, "AcDbSymbolTable"},
            {70, std::to_string(count)}};
}

inline Tags Record(const std::string& type, const std::string& handle, const std::string& table,
                   const std::string& subclass, const std::string& name, const Tags& data = {}) {
    Tags t = {{0, type},       {type == "DIMSTYLE" ? 105 : 5, handle},
              {330, table},    {100, "AcDbSymbolTableRecord"},
              {100, subclass}, {2, name}};
    if (type != "BLOCK_RECORD")
        t.push_back({70, "0"});
    Add(t, data);
    return t;
}

inline Tags BlockRecordWithDictionary(const std::string& handle, const std::string& name,
                                      const std::string& dict) {
    return {{0, "BLOCK_RECORD"},
            {5, handle},
            {102, "{ACAD_XDICTIONARY"},
            {360, dict},
            {102, "}"},
            {330, "1"},
            {100, "AcDbSymbolTableRecord"},
            {100, "AcDbBlockTableRecord"},
            {2, name},
            {340, "0"}};
}

inline Tags Begin(const std::string& handle, const std::string& record, const std::string& name,
                  double x = 0, double y = 0) {
    return {{0, "BLOCK"},
            {5, handle},
            {330, record},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbBlockBegin"},
            {2, name},
            {70, name[0] == '*' ? "1" : "0"},
            {10, cad::RealText(x)},
            {20, cad::RealText(y)},
            {30, "0.0"},
            {3, name},
            {1, ""}};
}

inline Tags End(const std::string& handle, const std::string& record) {
    return {{0, "ENDBLK"},       {5, handle}, {330, record},
            {100, "AcDbEntity"}, {8, "0"},    {100, "AcDbBlockEnd"}};
}

inline Tags Line(const std::string& handle, const std::string& owner, const std::string& layer,
                 double x0, double y0, double x1, double y1, const Tags& entityData = {}) {
    Tags t = {{0, "LINE"}, {5, handle}, {330, owner}, {100, "AcDbEntity"}, {8, layer}};
    Add(t, entityData);
    Add(t, {{100, "AcDbLine"},
            {10, cad::RealText(x0)},
            {20, cad::RealText(y0)},
            {30, "0.0"},
            {11, cad::RealText(x1)},
            {21, cad::RealText(y1)},
            {31, "0.0"}});
    return t;
}

// The line types every drawing has, in an LTYPE table of handle 5.
inline Tags StandardLineTypes() {
    Tags t;
    for (auto [handle, name, text] :
         {std::tuple{"14", "ByBlock", ""}, std::tuple{"15", "ByLayer", ""},
          std::tuple{"16", "Continuous", "Solid line"}})
        Add(t, Record("LTYPE", handle, "5", "AcDbLinetypeTableRecord", name,
                      {{3, text}, {72, "65"}, {73, "0"}, {40, "0.0"}}));
    return t;
}

inline Tags Layer(const std::string& handle, const std::string& name, int color) {
    return Record("LAYER", handle, "2", "AcDbLayerTableRecord", name,
                  {{62, std::to_string(color)}, {6, "Continuous"}});
}

inline Tags Style(const std::string& handle, const std::string& name, const std::string& font) {
    return Record(
        "STYLE", handle, "3", "AcDbTextStyleTableRecord", name,
        {{40, "0.0"}, {41, "1.0"}, {50, "0.0"}, {71, "0"}, {42, "2.5"}, {3, font}, {4, ""}});
}

// BLOCK and ENDBLK of model and paper space, whose records are 1F and 1E.
inline Tags SpaceBlocks() {
    Tags t = Begin("20", "1F", "*Model_Space");
    Add(t, End("21", "1F"));
    Add(t, Begin("22", "1E", "*Paper_Space"));
    Add(t, End("23", "1E"));
    return t;
}

// The root dictionary C with ACAD_GROUP (D) and `entries`, and D with `groups`.
inline Tags RootDictionaries(const Tags& entries, const Tags& groups) {
    Tags t = {{0, "DICTIONARY"}, {5, "C"},          {330, "0"}, {100, "AcDbDictionary"},
              {281, "1"},        {3, "ACAD_GROUP"}, {350, "D"}};
    Add(t, entries);
    Add(t, {{0, "DICTIONARY"},
            {5, "D"},
            {102, "{ACAD_REACTORS"},
            {330, "C"},
            {102, "}"},
            {330, "C"},
            {100, "AcDbDictionary"},
            {281, "1"}});
    Add(t, groups);
    return t;
}

inline Tags Header(const std::string& version, const std::string& seed, bool insbase = false) {
    Tags t = {{0, "SECTION"},      {2, "HEADER"},    {9, "$ACADVER"},  {1, version},
              {9, "$DWGCODEPAGE"}, {3, "ANSI_1252"}, {9, "$HANDSEED"}, {5, seed}};
    if (insbase)
        Add(t, {{9, "$INSBASE"}, {10, "5.0"}, {20, "6.0"}, {30, "0.0"}});
    Add(t, {{0, "ENDSEC"}});
    return t;
}

inline Tags Class(const std::string& name, const std::string& cppName) {
    return {{0, "CLASS"}, {1, name},  {2, cppName}, {3, "ObjectDBX Classes"},
            {90, "1153"}, {280, "0"}, {281, "0"}};
}

// The source drawing in `version`.
inline std::string Source(const std::string& version) {
    Tags t = Header(version, "A0", true);
    Add(t, {{0, "SECTION"}, {2, "CLASSES"}});
    Add(t, Class("SORTENTSTABLE", "AcDbSortentsTable"));
    Add(t, Class("MATERIAL", "AcDbMaterial"));
    Add(t, Class("ACDBPLACEHOLDER", "AcDbPlaceHolder"));
    Add(t, {{0, "ENDSEC"}});
    Add(t, {{0, "SECTION"}, {2, "TABLES"}});
    Add(t, Table("LTYPE", "5", 4));
    Add(t, StandardLineTypes());
    Add(t, Record("LTYPE", "17", "5", "AcDbLinetypeTableRecord", "DASHED",
                  {{3, "__ __"},
                   {72, "65"},
                   {73, "2"},
                   {40, "0.75"},
                   {49, "0.5"},
                   {74, "4"},
                   {75, "0"},
                   {340, "1A"},
                   {46, "1.0"},
                   {50, "0.0"},
                   {44, "0.0"},
                   {45, "0.0"},
                   {49, "-0.25"},
                   {74, "0"}}));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("LAYER", "2", 3));
    Add(t, Layer("10", "0", 7));
    Add(t, Layer("11", "Walls", 3));
    Add(t, Layer("12", "Unused", 4));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("STYLE", "3", 3));
    Add(t, Style("18", "Standard", "txt"));
    Add(t, Style("19", "Fancy", "romans.shx"));
    Tags shapes = Style("1A", "", "ltypeshp.shx");
    shapes[6].second = "1";  // a shape file
    Add(t, shapes);
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("APPID", "9", 2));
    Add(t, Record("APPID", "1B", "9", "AcDbRegAppTableRecord", "ACAD"));
    Add(t, Record("APPID", "1C", "9", "AcDbRegAppTableRecord", "VELMAR_TEST"));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("DIMSTYLE", "A", 1));
    Add(t, Record("DIMSTYLE", "1D", "A", "AcDbDimStyleTableRecord", "Standard"));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("BLOCK_RECORD", "1", 5));
    Add(t, BlockRecordWithDictionary("1F", "*Model_Space", "64"));
    Add(t, Record("BLOCK_RECORD", "1E", "1", "AcDbBlockTableRecord", "*Paper_Space", {{340, "0"}}));
    Add(t, BlockRecordWithDictionary("30", "Door", "61"));
    Add(t, Record("BLOCK_RECORD", "40", "1", "AcDbBlockTableRecord", "Knob", {{340, "0"}}));
    Add(t, Record("BLOCK_RECORD", "50", "1", "AcDbBlockTableRecord", "*U1", {{340, "0"}}));
    Add(t, {{0, "ENDTAB"}, {0, "ENDSEC"}});

    Add(t, {{0, "SECTION"}, {2, "BLOCKS"}});
    Add(t, SpaceBlocks());
    Add(t, Begin("31", "30", "Door", 1, 2));
    Add(t, Line("32", "30", "Walls", 1, 2, 3, 2, {{6, "DASHED"}, {347, "90"}}));
    Add(t, {{0, "TEXT"},
            {5, "33"},
            {330, "30"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbText"},
            {10, "1.0"},
            {20, "3.0"},
            {30, "0.0"},
            {40, "0.25"},
            {1, version >= "AC1021" ? "T\xC3\xBCr \xD0\x96" : "T\xFCr \\U+0416"},
            {7, "Fancy"},
            {100, "AcDbText"}});
    Add(t, {{0, "INSERT"},
            {5, "34"},
            {330, "30"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbBlockReference"},
            {66, "1"},
            {2, "Knob"},
            {10, "2.0"},
            {20, "2.5"},
            {30, "0.0"}});
    Add(t, {{0, "ATTRIB"},
            {5, "35"},
            {330, "34"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbText"},
            {10, "2.0"},
            {20, "2.5"},
            {30, "0.0"},
            {40, "0.1"},
            {1, "brass"},
            {100, "AcDbAttribute"},
            {2, "FINISH"},
            {70, "0"}});
    Add(t, {{0, "SEQEND"}, {5, "36"}, {330, "34"}, {100, "AcDbEntity"}, {8, "0"}});
    Add(t, {{0, "INSERT"},
            {5, "37"},
            {330, "30"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbBlockReference"},
            {2, "*U1"},
            {10, "0.0"},
            {20, "0.0"},
            {30, "0.0"}});
    Add(t, {{0, "CIRCLE"},
            {5, "38"},
            {102, "{ACAD_REACTORS"},
            {330, "70"},
            {102, "}"},
            {102, "{ACAD_XDICTIONARY"},
            {360, "60"},
            {102, "}"},
            {330, "30"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbCircle"},
            {10, "2.0"},
            {20, "2.0"},
            {30, "0.0"},
            {40, "0.5"},
            {1001, "VELMAR_TEST"},
            {1000, "door leaf"},
            {1005, "32"}});
    Add(t, End("3A", "30"));
    Add(t, Begin("41", "40", "Knob"));
    Add(t, {{0, "CIRCLE"},
            {5, "42"},
            {330, "40"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbCircle"},
            {10, "0.0"},
            {20, "0.0"},
            {30, "0.0"},
            {40, "0.1"}});
    Add(t, {{0, "ATTDEF"},
            {5, "43"},
            {330, "40"},
            {100, "AcDbEntity"},
            {8, "0"},
            {100, "AcDbText"},
            {10, "0.0"},
            {20, "0.0"},
            {30, "0.0"},
            {40, "0.1"},
            {1, "steel"},
            {100, "AcDbAttributeDefinition"},
            {3, "Finish"},
            {2, "FINISH"},
            {70, "0"}});
    Add(t, End("44", "40"));
    Add(t, Begin("51", "50", "*U1"));
    Add(t, Line("52", "50", "0", 0, 0, 0, 1));
    Add(t, End("53", "50"));
    Add(t, {{0, "ENDSEC"}});

    Add(t, {{0, "SECTION"}, {2, "ENTITIES"}});
    Add(t, {{0, "INSERT"},
            {5, "80"},
            {330, "1F"},
            {100, "AcDbEntity"},
            {8, "Walls"},
            {100, "AcDbBlockReference"},
            {2, "Door"},
            {10, "10.0"},
            {20, "0.0"},
            {30, "0.0"}});
    Add(t, Line("81", "1F", "0", 0, 0, 20, 0));
    Add(t, {{0, "ENDSEC"}});

    Add(t, {{0, "SECTION"}, {2, "OBJECTS"}});
    Add(t, RootDictionaries({{3, "ACAD_MATERIAL"}, {350, "8F"}}, {{3, "*A1"}, {350, "70"}}));
    Add(t, {{0, "GROUP"},
            {5, "70"},
            {102, "{ACAD_REACTORS"},
            {330, "D"},
            {102, "}"},
            {330, "D"},
            {100, "AcDbGroup"},
            {300, ""},
            {70, "1"},
            {71, "1"},
            {340, "38"}});
    Add(t, {{0, "DICTIONARY"},
            {5, "8F"},
            {102, "{ACAD_REACTORS"},
            {330, "C"},
            {102, "}"},
            {330, "C"},
            {100, "AcDbDictionary"},
            {281, "1"},
            {3, "Wood"},
            {350, "90"}});
    Add(t, {{0, "MATERIAL"},
            {5, "90"},
            {102, "{ACAD_REACTORS"},
            {330, "8F"},
            {102, "}"},
            {330, "8F"},
            {100, "AcDbMaterial"},
            {1, "Wood"},
            {2, "oak"}});
    Add(t, {{0, "DICTIONARY"},
            {5, "60"},
            {330, "38"},
            {100, "AcDbDictionary"},
            {280, "1"},
            {281, "1"},
            {3, "DATA"},
            {360, "63"}});
    Add(t, {{0, "XRECORD"},
            {5, "63"},
            {102, "{ACAD_REACTORS"},
            {330, "60"},
            {102, "}"},
            {330, "60"},
            {100, "AcDbXrecord"},
            {280, "1"},
            {1, "hello"},
            {340, "11"},
            {330, "42"},
            {320, "99"}});
    Add(t, {{0, "DICTIONARY"},
            {5, "61"},
            {330, "30"},
            {100, "AcDbDictionary"},
            {280, "1"},
            {281, "1"},
            {3, "ACAD_SORTENTS"},
            {360, "62"}});
    Add(t, {{0, "SORTENTSTABLE"},
            {5, "62"},
            {102, "{ACAD_REACTORS"},
            {330, "61"},
            {102, "}"},
            {330, "61"},
            {100, "AcDbSortentsTable"},
            {330, "30"},
            {331, "32"},
            {5, "38"},
            {331, "38"},
            {5, "32"}});
    Add(t, {{0, "DICTIONARY"},
            {5, "64"},
            {330, "1F"},
            {100, "AcDbDictionary"},
            {280, "1"},
            {281, "1"},
            {3, "ACAD_SORTENTS"},
            {360, "65"}});
    Add(t, {{0, "SORTENTSTABLE"},
            {5, "65"},
            {102, "{ACAD_REACTORS"},
            {330, "64"},
            {102, "}"},
            {330, "64"},
            {100, "AcDbSortentsTable"},
            {330, "1F"},
            {331, "80"},
            {5, "81"},
            {331, "81"},
            {5, "80"}});
    Add(t, {{0, "ENDSEC"}, {0, "EOF"}});
    return cadtest::Dxf(t);
}

// The target drawing in `version`.
inline std::string Target(const std::string& version) {
    Tags t = Header(version, "60");
    Add(t, {{0, "SECTION"}, {2, "TABLES"}});
    Add(t, Table("LTYPE", "5", 3));
    Add(t, StandardLineTypes());
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("LAYER", "2", 2));
    Add(t, Layer("10", "0", 7));
    Add(t, Layer("11", "WALLS", 1));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("STYLE", "3", 1));
    Add(t, Style("18", "Standard", "txt"));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("APPID", "9", 1));
    Add(t, Record("APPID", "1B", "9", "AcDbRegAppTableRecord", "ACAD"));
    Add(t, {{0, "ENDTAB"}});
    Add(t, Table("BLOCK_RECORD", "1", 4));
    Add(t, Record("BLOCK_RECORD", "1F", "1", "AcDbBlockTableRecord", "*Model_Space", {{340, "0"}}));
    Add(t, Record("BLOCK_RECORD", "1E", "1", "AcDbBlockTableRecord", "*Paper_Space", {{340, "0"}}));
    Add(t, Record("BLOCK_RECORD", "30", "1", "AcDbBlockTableRecord", "KNOB", {{340, "0"}}));
    Add(t, Record("BLOCK_RECORD", "40", "1", "AcDbBlockTableRecord", "*U1", {{340, "0"}}));
    Add(t, {{0, "ENDTAB"}, {0, "ENDSEC"}});
    Add(t, {{0, "SECTION"}, {2, "BLOCKS"}});
    Add(t, SpaceBlocks());
    Add(t, Begin("31", "30", "KNOB"));
    Add(t, Line("32", "30", "0", 0, 0, 1, 1));
    Add(t, End("33", "30"));
    Add(t, Begin("41", "40", "*U1"));
    Add(t, Line("42", "40", "0", 5, 5, 6, 6));
    Add(t, End("43", "40"));
    Add(t, {{0, "ENDSEC"}});
    Add(t, {{0, "SECTION"}, {2, "ENTITIES"}});
    Add(t, Line("50", "1F", "WALLS", 0, 0, 9, 9));
    Add(t, {{0, "ENDSEC"}});
    Add(t, {{0, "SECTION"}, {2, "OBJECTS"}});
    Add(t, RootDictionaries({}, {}));
    Add(t, {{0, "ENDSEC"}, {0, "EOF"}});
    return cadtest::Dxf(t);
}

inline std::vector<std::string> Types(const std::vector<cad::Entity>& entities) {
    std::vector<std::string> out;
    for (const cad::Entity& e : entities)
        out.push_back(e.Type());
    return out;
}

// The records of an ASCII drawing that have a handle, by handle, each as the bytes the file
// gives it (its code and value lines, line ends included).
inline std::map<std::string, std::string> RecordsByHandle(const std::string& dxf) {
    std::map<std::string, std::string> out;
    std::string record, handle;
    bool section = false;  // the header's variables are no handles of it
    auto flush = [&] {
        if (!handle.empty())
            out[handle] = record;
        record.clear();
        handle.clear();
    };
    std::size_t at = 0;
    while (at < dxf.size()) {
        std::size_t codeEnd = dxf.find('\n', at);
        if (codeEnd == std::string::npos)
            break;
        std::size_t valueEnd = dxf.find('\n', codeEnd + 1);
        if (valueEnd == std::string::npos)
            valueEnd = dxf.size() - 1;
        const int code = std::stoi(dxf.substr(at, codeEnd - at));
        std::string value = dxf.substr(codeEnd + 1, valueEnd - codeEnd - 1);
        if (!value.empty() && value.back() == '\r')
            value.pop_back();
        if (code == 0) {
            flush();
            section = value == "SECTION";
        }
        if ((code == 5 || code == 105) && handle.empty() && !section)
            handle = value;
        record.append(dxf, at, valueEnd + 1 - at);
        at = valueEnd + 1;
    }
    flush();
    return out;
}

}  // namespace clonetest
