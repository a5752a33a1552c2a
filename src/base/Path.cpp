#include "base/Path.h"

#include <sys/stat.h>

#include <filesystem>

namespace base {

namespace {

std::size_t LastSeparator(std::string_view path) { return path.find_last_of("/\\"); }

// Offset of the extension's dot within the file name part, or npos.
std::size_t ExtensionDot(std::string_view path) {
    const std::size_t sep = LastSeparator(path);
    const std::size_t nameStart = sep == std::string_view::npos ? 0 : sep + 1;
    const std::size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot <= nameStart) return std::string_view::npos;
    return dot;
}

}  // namespace

bool IsPathSeparator(char c) { return c == '/' || c == '\\'; }

std::string FileName(std::string_view path) {
    const std::size_t sep = LastSeparator(path);
    return std::string(sep == std::string_view::npos ? path : path.substr(sep + 1));
}

std::string Extension(std::string_view path) {
    const std::size_t dot = ExtensionDot(path);
    return dot == std::string_view::npos ? std::string() : std::string(path.substr(dot));
}

std::string FileTitle(std::string_view path) {
    const std::string name = FileName(path);
    const std::size_t dot = ExtensionDot(name);
    return dot == std::string_view::npos ? name : name.substr(0, dot);
}

std::string Folder(std::string_view path) {
    const std::size_t sep = LastSeparator(path);
    if (sep == std::string_view::npos) return {};
    if (sep == 0) return std::string(path.substr(0, 1));
    return std::string(path.substr(0, sep));
}

std::string ReplaceExtension(std::string_view path, std::string_view extension) {
    const std::size_t dot = ExtensionDot(path);
    std::string out(dot == std::string_view::npos ? path : path.substr(0, dot));
    out += extension;
    return out;
}

std::string JoinPath(std::string_view folder, std::string_view name) {
    if (folder.empty()) return std::string(name);
    std::string out(folder);
    if (!IsPathSeparator(out.back())) {
        const bool windows = folder.find('\\') != std::string_view::npos &&
                             folder.find('/') == std::string_view::npos;
        out += windows ? '\\' : '/';
    }
    out += name;
    return out;
}

std::string ToNativeSeparators(std::string_view path) {
    std::string out(path);
    for (char& c : out) {
        if (c == '\\') c = '/';
    }
    return out;
}

bool FileExists(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool IsDirectory(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

std::string FullPath(std::string_view path) {
    std::error_code error;
    auto full = std::filesystem::absolute(std::filesystem::path(path), error);
    return error ? std::string(path) : full.lexically_normal().string();
}

}  // namespace base
