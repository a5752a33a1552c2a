#include "host/DwgConverter.h"

#include <stdlib.h>

#include <filesystem>

#include "base/File.h"
#include "base/Path.h"
#include "base/Text.h"
#include "host/Program.h"

namespace host {

namespace {

DwgConverters& Converters() {
    static DwgConverters converters;
    return converters;
}

// A folder of its own under the temporary folder, removed with its files when done.
class ScratchFolder {
public:
    ScratchFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "velmar-dwg-XXXXXX").string();
        if (mkdtemp(pattern.data())) path_ = pattern;
    }
    ~ScratchFolder() {
        std::error_code ignored;
        if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// `text` as one word of the shell, in single quotes.
std::string ShellQuoted(std::string_view text) {
    return "'" + base::Replace(text, "'", "'\\''") + "'";
}

// The command with {in} and {out} replaced by the quoted paths.
std::string CommandLine(std::string_view command, const std::string& in, const std::string& out) {
    return base::Replace(base::Replace(command, "{in}", ShellQuoted(in)), "{out}", ShellQuoted(out));
}

// Runs `command` through /bin/sh; what it prints goes to standard error, so that a report on
// standard output stays whole. Ok when it exited 0 and made `out`.
base::Status Convert(std::string_view which, std::string_view command, const std::string& in,
                     const std::string& out, const std::string& drawing) {
    std::string line = CommandLine(command, in, out);
    ProgramEnd end = RunProgram("/bin/sh", {"-c", line}, true);
    if (!end.started)
        return base::Status::Error(drawing + ": the " + std::string(which) + " could not be started: " + line);
    if (!end.Succeeded()) {
        std::string how = end.exited ? "exit status " + std::to_string(end.status) : "killed";
        return base::Status::Error(drawing + ": the " + std::string(which) + " failed (" + how + "): " + line);
    }
    if (!base::FileExists(out))
        return base::Status::Error(drawing + ": the " + std::string(which) + " made no file: " + line);
    return base::Status::Ok();
}

std::string Stem(const std::string& path) {
    std::string name = base::FileName(path);
    return name.substr(0, name.size() - base::Extension(name).size());
}

}  // namespace

void SetDwgConverters(DwgConverters converters) { Converters() = std::move(converters); }

const DwgConverters& CurrentDwgConverters() { return Converters(); }

bool IsDwgPath(std::string_view path) { return base::EqualNoCase(base::Extension(path), ".dwg"); }

bool IsReadableDrawingName(std::string_view path) {
    return base::EqualNoCase(base::Extension(path), ".dxf") || (IsDwgPath(path) && !Converters().toDxf.empty());
}

base::Status RefuseUnconvertibleDwg(const std::string& path) {
    if (!IsDwgPath(path) || !Converters().toDxf.empty()) return base::Status::Ok();
    return base::Status::Error(path + ": DWG files can't be read here; convert the drawing to "
                                      "DXF (SAVEAS, or a DWG to DXF converter) and give that file, "
                                      "or name your converter with --dwg-converter 'COMMAND {in} {out}'.");
}

base::Result<std::unique_ptr<cad::Database>> ReadDwgDrawing(const std::string& path) {
    if (base::Status refused = RefuseUnconvertibleDwg(path); !refused) return refused;
    if (!base::FileExists(path)) return base::Status::Error(path + ": no such drawing.");
    ScratchFolder scratch;
    if (scratch.Path().empty()) return base::Status::Error(path + ": no temporary folder for the converted drawing.");
    std::string dxf = base::JoinPath(scratch.Path(), Stem(path) + ".dxf");
    if (base::Status converted = Convert("DWG converter", Converters().toDxf, path, dxf, path); !converted)
        return converted;
    auto bytes = base::ReadFile(dxf);
    if (!bytes) return base::Status::Error(path + ": " + bytes.GetStatus().Message());
    auto db = cad::Database::FromBytes(std::move(bytes.Value()), path);
    if (!db) return base::Status::Error(path + " (converted to DXF): " + db.GetStatus().Message());
    return db;
}

base::Status SaveDwgDrawing(const cad::Database& db, const std::string& target, const std::string& backup) {
    if (Converters().toDwg.empty()) {
        return base::Status::Error(target + ": the changes can't be written back to the DWG drawing, as "
                                            "no DXF to DWG converter is set (--dxf-to-dwg-converter "
                                            "'COMMAND {in} {out}'); the drawing is unchanged.");
    }
    ScratchFolder scratch;
    if (scratch.Path().empty()) return base::Status::Error(target + ": no temporary folder for the conversion.");
    std::string dxf = base::JoinPath(scratch.Path(), Stem(target) + ".dxf");
    std::string dwg = base::JoinPath(scratch.Path(), Stem(target) + ".dwg");
    if (base::Status saved = db.Save(dxf); !saved) return saved;
    if (base::Status converted = Convert("DXF to DWG converter", Converters().toDwg, dxf, dwg, target); !converted)
        return converted;
    auto bytes = base::ReadFile(dwg);
    if (!bytes) return base::Status::Error(target + ": " + bytes.GetStatus().Message());
    base::AtomicWriteOptions options;
    options.backupPath = backup;
    return base::WriteFileAtomic(target, bytes.Value(), options);
}

}  // namespace host
