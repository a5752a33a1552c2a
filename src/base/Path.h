#pragma once
// Paths that accept both '/' and '\': workbooks and lists written on Windows carry "C:\..." paths.

#include <string>
#include <string_view>

namespace base {

// True for '/' and '\'.
bool IsPathSeparator(char c);
// The part after the last separator ("" for a path that ends in one).
std::string FileName(std::string_view path);
// The extension with its dot (".dxf"), or "" when the file name has none; a leading dot alone
// (".profile") is not an extension.
std::string Extension(std::string_view path);
// The file name without its extension.
std::string FileTitle(std::string_view path);
// Everything before the last separator, without it ("" when there is none; "/" for "/x").
std::string Folder(std::string_view path);
// The path with its extension replaced (`extension` with its dot, or "" to remove it).
std::string ReplaceExtension(std::string_view path, std::string_view extension);
// Joins with the separator the folder already uses ('/' when it has none).
std::string JoinPath(std::string_view folder, std::string_view name);
// Turns '\' into '/', so that a Windows path can be looked up here.
std::string ToNativeSeparators(std::string_view path);

// The absolute, normalised path a file box would give for `path`, relative to the working
// folder; `path` as it stands when the working folder can't be had.
std::string FullPath(std::string_view path);

bool FileExists(const std::string& path);
bool IsDirectory(const std::string& path);

}  // namespace base
