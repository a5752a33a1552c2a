#include "cli/XlsxTool.h"

#include <cstdio>

#include <fmt/format.h>

#include "xl/Workbook.h"

namespace cli {

namespace {

int Usage() {
    std::fprintf(stderr,
                 "usage: velmar xlsx info FILE\n"
                 "       velmar xlsx resave FILE OUT\n");
    return 2;
}

const char* StateName(xl::SheetState state) {
    switch (state) {
        case xl::SheetState::Visible: return "visible";
        case xl::SheetState::Hidden: return "hidden";
        case xl::SheetState::VeryHidden: return "very hidden";
    }
    return "";
}

const char* KindName(xl::SheetKind kind) {
    switch (kind) {
        case xl::SheetKind::Worksheet: return "worksheet";
        case xl::SheetKind::Chartsheet: return "chart sheet";
        case xl::SheetKind::Dialogsheet: return "dialog sheet";
        case xl::SheetKind::Macrosheet: return "macro sheet";
    }
    return "";
}

int Info(const std::string& path) {
    auto opened = xl::Workbook::Open(path);
    if (!opened) {
        fmt::print(stderr, "{}\n", opened.GetStatus().Message());  // it names the file
        return 1;
    }
    xl::Workbook& book = **opened;
    xl::Package& pkg = book.GetPackage();
    fmt::print("File: {}\n", path);
    std::string app = book.DocumentProperty("Application Name");
    std::string version = book.DocumentProperty("Application Version");
    fmt::print("Application: {}{}\n", app.empty() ? "(not recorded)" : app,
               version.empty() ? "" : " " + version);
    fmt::print("Last saved: {}\n", book.DocumentProperty("Last Save Time"));
    fmt::print("Date system: {}\n", book.Date1904() ? "1904" : "1900");
    std::vector<std::string> parts = pkg.PartNames();
    fmt::print("Parts: {}\n", parts.size());
    for (const std::string& p : parts)
        fmt::print("  {} ({} bytes) {}\n", p, pkg.PartSize(p), pkg.ContentType(p));
    fmt::print("Sheets: {} (active: {})\n", book.SheetCount(),
               book.Sheet(book.ActiveSheetIndex()) ? book.Sheet(book.ActiveSheetIndex())->Name() : "");
    int failures = 0;
    for (int i = 0; i < book.SheetCount(); ++i) {
        xl::Worksheet& s = *book.Sheet(i);
        fmt::print("  {}. \"{}\" {}, {}", i + 1, s.Name(), KindName(s.Kind()), StateName(s.State()));
        if (s.Kind() != xl::SheetKind::Worksheet) {
            fmt::print("\n");
            continue;
        }
        if (base::Status st = s.Load(); !st) {
            fmt::print(": unreadable\n");
            std::fflush(stdout);
            fmt::print(stderr, "Sheet \"{}\" cannot be read: {}\n", s.Name(), st.Message());
            ++failures;
            continue;
        }
        fmt::print(", used range {}, {} notes, {} merges, {} hyperlinks\n",
                   xl::RangeName(s.UsedRange()), s.Notes().size(), s.Merges().size(),
                   s.Hyperlinks().size());
    }
    return failures ? 1 : 0;
}

int Resave(const std::string& path, const std::string& out) {
    auto opened = xl::Workbook::Open(path);
    if (!opened) {
        fmt::print(stderr, "{}\n", opened.GetStatus().Message());  // it names the file
        return 1;
    }
    if (base::Status st = (*opened)->Save(out); !st) {
        fmt::print(stderr, "Failed to write {}: {}\n", out, st.Message());
        return 1;
    }
    fmt::print("Wrote {}\n", out);
    return 0;
}

}  // namespace

int RunXlsxTool(const std::vector<std::string>& args) {
    if (args.size() == 2 && args[0] == "info") return Info(args[1]);
    if (args.size() == 3 && args[0] == "resave") return Resave(args[1], args[2]);
    return Usage();
}

}  // namespace cli
