#pragma once
// Small drawings for the tests: inline R12 text built tag by tag, and corpus files by name.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/Database.h"
#include "cad/Dictionary.h"
#include "cad/GroupCode.h"
#include "cad/SymbolRecord.h"

namespace cadtest {

// Builds ASCII DXF text from (code, value) pairs with the given line end.
inline std::string Dxf(const std::vector<std::pair<int, std::string>>& tags, const char* eol = "\n") {
    std::string out;
    for (const auto& [code, value] : tags) out += std::to_string(code) + eol + value + eol;
    return out;
}

// A minimal R12 drawing without handles: a layer table, one block with an attribute
// definition, and in model space a line and a reference with one attribute.
inline std::string R12Drawing(const char* eol = "\n") {
    return Dxf({{0, "SECTION"}, {2, "HEADER"}, {9, "$ACADVER"}, {1, "AC1009"}, {9, "$DWGCODEPAGE"},
                {3, "ANSI_1252"}, {9, "$HANDLING"}, {70, "0"}, {9, "$LUNITS"}, {70, "4"}, {0, "ENDSEC"},
                {0, "SECTION"}, {2, "TABLES"},
                {0, "TABLE"}, {2, "LAYER"}, {70, "2"},
                {0, "LAYER"}, {2, "0"}, {70, "0"}, {62, "7"}, {6, "CONTINUOUS"},
                {0, "LAYER"}, {2, "Walls"}, {70, "5"}, {62, "-3"}, {6, "CONTINUOUS"},
                {0, "ENDTAB"},
                {0, "TABLE"}, {2, "APPID"}, {70, "1"}, {0, "APPID"}, {2, "ACAD"}, {70, "0"}, {0, "ENDTAB"},
                {0, "ENDSEC"},
                {0, "SECTION"}, {2, "BLOCKS"},
                {0, "BLOCK"}, {8, "0"}, {2, "Door"}, {70, "2"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"}, {3, "Door"},
                {0, "LINE"}, {8, "0"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"}, {11, "1.0"}, {21, "0.0"}, {31, "0.0"},
                {0, "ATTDEF"}, {8, "0"}, {10, "0.5"}, {20, "0.5"}, {30, "0.0"}, {40, "0.2"}, {1, "D1"},
                {3, "Door number"}, {2, "NUMBER"}, {70, "0"},
                {0, "ENDBLK"}, {8, "0"},
                {0, "ENDSEC"},
                {0, "SECTION"}, {2, "ENTITIES"},
                {0, "LINE"}, {8, "Walls"}, {10, "0.0"}, {20, "0.0"}, {30, "0.0"}, {11, "5.0"}, {21, "5.0"}, {31, "0.0"},
                {0, "INSERT"}, {8, "0"}, {66, "1"}, {2, "Door"}, {10, "10.0"}, {20, "20.0"}, {30, "0.0"},
                {41, "2.0"}, {42, "2.0"}, {43, "2.0"}, {50, "90.0"},
                {0, "ATTRIB"}, {8, "0"}, {10, "11.0"}, {20, "21.0"}, {30, "0.0"}, {40, "0.4"}, {1, "D-101"},
                {2, "NUMBER"}, {70, "0"},
                {0, "SEQEND"}, {8, "0"},
                {0, "ENDSEC"}, {0, "EOF"}},
               eol);
}

// An R12 drawing of nested blocks B0 ... B(levels-1): B(i) inserts B(i+1) `copies` times, the
// k-th copy at (k, 1); the last block holds a line from (0,0) to (1,1), and model space inserts
// B0 once at the origin. Measured from model space the drawing spans x 0 to
// 1 + (copies-1)*(levels-1) and y levels-1 to levels. With `cycle` the last block also inserts
// B0, which closes a cycle through every block.
inline std::string NestedBlocks(int levels, int copies, bool cycle = false, const char* eol = "\n") {
    std::string out;
    auto tag = [&](int code, const std::string& value) {
        out += std::to_string(code);
        out += eol;
        out += value;
        out += eol;
    };
    auto insert = [&](int block, int x, int y) {
        tag(0, "INSERT");
        tag(8, "0");
        tag(2, "B" + std::to_string(block));
        tag(10, std::to_string(x));
        tag(20, std::to_string(y));
        tag(30, "0");
    };
    for (auto [code, value] : std::vector<std::pair<int, std::string>>{
             {0, "SECTION"}, {2, "HEADER"}, {9, "$ACADVER"}, {1, "AC1009"}, {0, "ENDSEC"},
             {0, "SECTION"}, {2, "TABLES"}, {0, "TABLE"}, {2, "LAYER"}, {70, "1"},
             {0, "LAYER"}, {2, "0"}, {70, "0"}, {62, "7"}, {6, "CONTINUOUS"}, {0, "ENDTAB"}, {0, "ENDSEC"},
             {0, "SECTION"}, {2, "BLOCKS"}})
        tag(code, value);
    for (int i = 0; i < levels; ++i) {
        tag(0, "BLOCK");
        tag(8, "0");
        tag(2, "B" + std::to_string(i));
        tag(70, "0");
        tag(10, "0");
        tag(20, "0");
        tag(30, "0");
        if (i + 1 < levels) {
            for (int k = 0; k < copies; ++k) insert(i + 1, k, 1);
        } else {
            for (auto [code, value] : std::vector<std::pair<int, std::string>>{
                     {0, "LINE"}, {8, "0"}, {10, "0"}, {20, "0"}, {30, "0"}, {11, "1"}, {21, "1"}, {31, "0"}})
                tag(code, value);
            if (cycle) insert(0, 0, 0);
        }
        tag(0, "ENDBLK");
        tag(8, "0");
    }
    tag(0, "ENDSEC");
    tag(0, "SECTION");
    tag(2, "ENTITIES");
    insert(0, 0, 0);
    tag(0, "ENDSEC");
    tag(0, "EOF");
    return out;
}

// Reads a drawing from text; fails the test when it does not load.
inline std::unique_ptr<cad::Database> Load(const std::string& bytes, const std::string& name = "test.dxf") {
    auto db = cad::Database::FromBytes(bytes, name);
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

// Reads a corpus drawing by file name.
inline std::unique_ptr<cad::Database> Corpus(const std::string& name) {
    auto db = cad::Database::Open(std::string(VELMAR_CORPUS) + "/dxf/" + name);
    EXPECT_TRUE(db) << db.GetStatus().Message();
    return db ? std::move(*db) : nullptr;
}

// Saves and reads back, as another program would see the result.
inline std::unique_ptr<cad::Database> Reload(const cad::Database& db) {
    return Load(db.Write(), db.FileName() + " (saved)");
}

}  // namespace cadtest
