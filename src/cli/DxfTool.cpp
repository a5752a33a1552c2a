#include "cli/DxfTool.h"

#include <cstdio>
#include <numbers>

#include <fmt/format.h>

#include "attbat/frame/CommandContext.h"
#include "cad/BlockRecord.h"
#include "cad/BlockReference.h"
#include "cad/BlockNesting.h"
#include "cad/Database.h"
#include "cad/DynamicBlockReference.h"

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
                 "       velmar dxf resave FILE OUT\n"
                 "       velmar dxf dynamic FILE [HANDLE] [--json]\n");
    return 2;
}

int Info(const std::string& path) {
    // Its one pass over the references goes in file order: the drawing is held in its index.
    // Nothing else runs meanwhile, so the scan takes both processors.
    auto opened = cad::Database::OpenMapped(path, {.twoThreads = true});
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

const char* ValueKindName(cad::DynamicValueKind kind) {
    switch (kind) {
        case cad::DynamicValueKind::String:
            return "string";
        case cad::DynamicValueKind::Real:
            return "real";
        case cad::DynamicValueKind::Int16:
            return "int16";
        case cad::DynamicValueKind::Int32:
            return "int32";
        case cad::DynamicValueKind::Point:
            return "point";
    }
    return "";
}

const char* UnitsName(cad::DynamicUnitsKind units) {
    switch (units) {
        case cad::DynamicUnitsKind::None:
            return "none";
        case cad::DynamicUnitsKind::Distance:
            return "distance";
        case cad::DynamicUnitsKind::Angle:
            return "angle";
        case cad::DynamicUnitsKind::Area:
            return "area";
    }
    return "";
}

// The value as JSON: a string, a number or [x, y, z].
std::string JsonValue(const cad::DynamicBlockProperty& p) {
    switch (p.valueKind) {
        case cad::DynamicValueKind::String:
            return attbat::JsonQuote(p.text);
        case cad::DynamicValueKind::Real:
            return cad::RealText(p.real);
        case cad::DynamicValueKind::Int16:
        case cad::DynamicValueKind::Int32:
            return std::to_string(p.integer);
        case cad::DynamicValueKind::Point:
            return "[" + cad::RealText(p.point.x) + ", " + cad::RealText(p.point.y) + ", " +
                   cad::RealText(p.point.z) + "]";
    }
    return "null";
}

// The value as the text listing shows it; angles in radians with their degrees beside them.
std::string TextValue(const cad::DynamicBlockProperty& p) {
    switch (p.valueKind) {
        case cad::DynamicValueKind::String:
            return "\"" + p.text + "\"";
        case cad::DynamicValueKind::Real:
            if (p.units == cad::DynamicUnitsKind::Angle)
                return fmt::format("{} ({:.10g} degrees)", cad::RealText(p.real),
                                   p.real * 180 / std::numbers::pi);
            return cad::RealText(p.real);
        case cad::DynamicValueKind::Int16:
        case cad::DynamicValueKind::Int32: {
            std::string text = std::to_string(p.integer);
            if (p.integer >= 0 && static_cast<std::size_t>(p.integer) < p.allowedValues.size())
                text += " (\"" + p.allowedValues[static_cast<std::size_t>(p.integer)] + "\")";
            return text;
        }
        case cad::DynamicValueKind::Point:
            return cad::RealText(p.point.x) + "," + cad::RealText(p.point.y) + "," +
                   cad::RealText(p.point.z);
    }
    return "";
}

void PrintDynamicText(const cad::DynamicBlockReference& dyn) {
    const cad::BlockReference& ref = dyn.Reference();
    cad::BlockRecord block = dyn.DynamicBlock();
    if (!block) {
        fmt::print("{} {} of {}: not a dynamic block reference\n", ref.Type(), ref.HandleString(),
                   ref.BlockName());
        return;
    }
    std::vector<cad::DynamicBlockProperty> properties = dyn.Properties();
    fmt::print("{} {} of {}: dynamic block {} [{}], {} {}\n", ref.Type(), ref.HandleString(),
               ref.BlockName(), block.Name(), block.HandleString(), properties.size(),
               properties.size() == 1 ? "property" : "properties");
    for (const cad::DynamicBlockProperty& p : properties) {
        fmt::print("  {} = {}\n", p.name, TextValue(p));
        std::string about = fmt::format("{}, {}", ValueKindName(p.valueKind), UnitsName(p.units));
        about += p.fromReference ? ", the reference's own" : ", the definition's default";
        if (p.readOnly)
            about += ", read-only";
        fmt::print("    {} [{}] ({})\n", p.parameterType, cad::HandleText(p.parameter), about);
        if (!p.allowedValues.empty()) {
            std::string list;
            for (const std::string& v : p.allowedValues)
                list += (list.empty() ? "\"" : ", \"") + v + "\"";
            fmt::print("    allowed: {}\n", list);
        }
    }
}

std::string DynamicJson(const cad::DynamicBlockReference& dyn) {
    const cad::BlockReference& ref = dyn.Reference();
    cad::BlockRecord block = dyn.DynamicBlock();
    std::string json = "{\"handle\": " + attbat::JsonQuote(ref.HandleString()) +
                       ", \"block\": " + attbat::JsonQuote(ref.BlockName()) +
                       ", \"dynamic\": " + (block ? "true" : "false");
    if (block) {
        json += ", \"dynamicBlock\": " + attbat::JsonQuote(block.Name()) +
                ", \"dynamicBlockHandle\": " + attbat::JsonQuote(block.HandleString()) +
                ", \"properties\": [";
        bool firstProperty = true;
        for (const cad::DynamicBlockProperty& p : dyn.Properties()) {
            json += firstProperty ? "" : ", ";
            firstProperty = false;
            json += "{\"name\": " + attbat::JsonQuote(p.name) + ", \"value\": " + JsonValue(p) +
                    ", \"type\": \"" + ValueKindName(p.valueKind) + "\", \"units\": \"" +
                    UnitsName(p.units) + "\", \"readOnly\": " + (p.readOnly ? "true" : "false") +
                    ", \"source\": \"" + (p.fromReference ? "reference" : "definition") +
                    "\", \"parameter\": " + attbat::JsonQuote(cad::HandleText(p.parameter)) +
                    ", \"parameterType\": " + attbat::JsonQuote(p.parameterType) +
                    ", \"allowedValues\": [";
            for (std::size_t i = 0; i < p.allowedValues.size(); ++i)
                json += (i ? ", " : "") + attbat::JsonQuote(p.allowedValues[i]);
            json += "]}";
        }
        json += "]";
    }
    return json + "}";
}

// The dynamic properties of the reference `handle`, or of every dynamic reference of the drawing
// (in file order, block definitions included) when it is empty.
int Dynamic(const std::string& path, const std::string& handle, bool json) {
    auto opened = cad::Database::Open(path);
    if (!opened) {
        fmt::print(stderr, "{}\n", opened.GetStatus().Message());  // it names the file
        return 1;
    }
    cad::Database& db = **opened;
    std::vector<cad::DynamicBlockReference> chosen;
    if (!handle.empty()) {
        cad::Object object = db.ObjectByHandle(cad::ParseHandle(handle));
        if (!object || (object.Type() != "INSERT" && object.Type() != "MINSERT")) {
            fmt::print(
                stderr,
                "{} has no block reference with handle {}; 'velmar dxf dynamic {}' lists those of "
                "dynamic blocks.\n",
                path, handle, path);
            return 1;
        }
        chosen.emplace_back(cad::BlockReference(object.GetDatabase(), object.Index()));
    } else {
        for (const cad::Object& object : db.Objects()) {
            if (object.Type() != "INSERT" && object.Type() != "MINSERT")
                continue;
            cad::DynamicBlockReference dyn(
                cad::BlockReference(object.GetDatabase(), object.Index()));
            if (dyn.IsDynamic())
                chosen.push_back(dyn);
        }
    }
    if (json) {
        std::string out = "{\"file\": " + attbat::JsonQuote(path) + ", \"references\": [";
        for (std::size_t i = 0; i < chosen.size(); ++i)
            out += (i ? ", " : "") + DynamicJson(chosen[i]);
        out += "]}\n";
        std::fwrite(out.data(), 1, out.size(), stdout);
        return 0;
    }
    if (chosen.empty())
        fmt::print("{} has no references of dynamic blocks.\n", path);
    for (const cad::DynamicBlockReference& dyn : chosen)
        PrintDynamicText(dyn);
    return 0;
}

}  // namespace

int RunDxfTool(const std::vector<std::string>& args) {
    if (args.empty()) return Usage();
    if (args[0] == "info" && args.size() == 2) return Info(args[1]);
    if (args[0] == "resave" && args.size() == 3) return Resave(args[1], args[2]);
    if (args[0] == "dynamic") {
        std::vector<std::string> words;
        bool json = false;
        for (std::size_t i = 1; i < args.size(); ++i) {
            if (args[i] == "--json")
                json = true;
            else
                words.push_back(args[i]);
        }
        if (words.size() == 1 || words.size() == 2)
            return Dynamic(words[0], words.size() == 2 ? words[1] : std::string(), json);
    }
    return Usage();
}

}  // namespace cli
