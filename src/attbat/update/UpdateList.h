#pragma once
// The maker's list of newest versions, one "PRODUCT*MAJOR*PROGRAM: VERSION" record a line, and
// how a version found there is weighed against ours.

#include <string>
#include <string_view>

namespace attbat {

// The version of this program, compiled in.
inline constexpr std::string_view localVersion = "9.72";
// Where the list lies on the update server.
inline constexpr std::string_view updateListPath = "updatelist/checkforupdate.txt";

// The record's key for this program on a host: "%s*%d*%s:" of the host's product name in the
// list ("ACADLT" for AutoCAD LT, "ACAD" for every other host), its major version and "Velmar".
std::string UpdateKey(std::string_view hostProduct, int hostMajorVersion);
// The version the list names under `key`, looked for without regard to case anywhere in a
// line (the list is read in pieces of up to 259 characters, each a line). The value is the
// line's last (length - key length) characters, trimmed: right when the key starts the line.
// `localVersion` when no line holds the key or its value is empty.
std::string FindListedVersion(std::string_view list, std::string_view key);
// Whether `other` is newer than `local`: their "."-separated parts are compared as integers up
// to the shorter list, and the first that differs decides (9.8 is older than 9.72; 9.72.1 is the
// same as 9.72).
bool IsNewerVersion(std::string_view local, std::string_view other);

}  // namespace attbat
