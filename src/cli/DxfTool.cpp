#include "cli/DxfTool.h"

#include <cstdio>

#include <fmt/format.h>

#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/BlockNesting.h"
#include "cad/Database.h"

namespace cli {

namespace {

const char* FormName(cad::DxfForm form) {
    switch (form) {
        case cad::DxfForm::Ascii: return "ASCII";
        case cad::DxfForm::BinaryR12: return "binary (R12)";
        case cad::DxfForm::Binary: return "binary";
    }
    return "";
}

int Usage() {
    std::fprintf(stderr,
                 "usage: velmar dxf info FILE\n"
                 "       velmar dxf resave FILE OUT\n");
    return 2;
}

int Info(const std::string& path) {
    auto opened = cad::Database::Open(path);
    if (!opened) {
        fmt::print(stderr, "{}\n", opened.GetStatus().Message());  // it names the file
        return 1;
    }
    cad::Database& db = **opened;
    fmt::print("File: {}\n", path);
    fmt::print("Version: {} ({})\n", db.Version(), FormName(db.Form()));
    fmt::print("Encoding: {}", db.Codec().Name());
    std::string codePage = db.HeaderText("$DWGCODEPAGE");
    if (!codePage.empty()) fmt::print(" ($DWGCODEPAGE {})", codePage);
    fmt::print("\nHandle seed: {}\n", cad::HandleText(db.HandleSeed()));
    fmt::print("Objects by type:\n");
    for (const auto& [type, count] : db.CountsByType()) fmt::print("  {:<28} {}\n", type, count);
    fmt::print("Layouts:\n");
    for (const cad::BlockRecord& block : db.Blocks())
        if (block.IsLayout())
            fmt::print("  {} ({}, {} entities)\n", block.LayoutName(), block.Name(), block.Entities().size());
    fmt::print("Blocks:\n");
    // One pass over the drawing counts every block's references: asking each block for its own
    // would read the whole drawing once per block.
    cad::BlockNesting nesting(db);
    for (const cad::BlockRecord& block : db.Blocks()) {
        if (block.IsLayout()) continue;
        std::string flags;
        if (block.IsAnonymous()) flags += " anonymous";
        if (block.IsExternalReference()) flags += " xref";
        if (block.IsOverlay()) flags += " overlay";
        if (block.IsFromExternalReference() && !block.IsExternalReference()) flags += " xref-dependent";
        fmt::print("  {} [{}]{}: {} references\n", block.Name(), block.HandleString(), flags, nesting.Of(block).references);
        if (!block.PathName().empty()) fmt::print("    path: {}\n", block.PathName());
        for (const cad::AttributeDefinition& def : block.AttributeDefinitions()) {
            std::string defFlags;
            if (def.IsConstant()) defFlags += " constant";
            if (def.IsInvisible()) defFlags += " invisible";
            if (def.IsVerifiable()) defFlags += " verifiable";
            if (def.IsPreset()) defFlags += " preset";
            if (def.IsMTextAttribute()) defFlags += " multi-line";
            fmt::print("    attdef {}{}: prompt \"{}\", default \"{}\"\n", def.Tag(), defFlags, def.Prompt(),
                       def.PlainText());
        }
    }
    if (!nesting.Cycles().empty()) {
        fmt::print("Blocks that insert each other (not followed):\n");
        for (const std::string& cycle : nesting.Cycles()) fmt::print("  {}\n", cycle);
    }
    if (!db.Warnings().empty()) {
        fmt::print("Repaired while reading:\n");
        for (const std::string& w : db.Warnings()) fmt::print("  {}\n", w);
    }
    return 0;
}

int Resave(const std::string& path, const std::string& out) {
    auto opened = cad::Database::Open(path);
    if (!opened) {
        fmt::print(stderr, "{}\n", opened.GetStatus().Message());  // it names the file
        return 1;
    }
    base::Status status = (*opened)->Save(out);
    if (!status) {
        fmt::print(stderr, "Failed to save {}: {}.\n", out, status.Message());
        return 1;
    }
    fmt::print("Saved {} as {} ({} objects, {}).\n", path, out, (*opened)->Objects().size(),
               (*opened)->IsModified() ? "changed" : "unchanged objects byte-identical");
    return 0;
}

}  // namespace

int RunDxfTool(const std::vector<std::string>& args) {
    if (args.empty()) return Usage();
    if (args[0] == "info" && args.size() == 2) return Info(args[1]);
    if (args[0] == "resave" && args.size() == 3) return Resave(args[1], args[2]);
    return Usage();
}

}  // namespace cli
