#include "attbat/update/UpdateList.h"

#include <vector>

#include "base/Format.h"
#include "base/Text.h"

namespace attbat {

namespace {

// One line as the list is read: up to 259 characters, the rest of a longer line being the next.
constexpr std::size_t lineCharacters = 259;

std::vector<std::string> ListLines(std::string_view list) {
    std::vector<std::string> lines;
    std::size_t pos = 0;
    while (pos < list.size()) {
        std::size_t end = list.find('\n', pos);
        std::string_view line = list.substr(pos, end == std::string_view::npos ? std::string_view::npos : end - pos);
        pos = end == std::string_view::npos ? list.size() : end + 1;
        do {
            std::string piece = base::Left(line, static_cast<long>(lineCharacters));
            line.remove_prefix(piece.size());
            lines.push_back(std::move(piece));
        } while (!line.empty());
    }
    return lines;
}

// A part of a version as the C library's atoi takes it: leading blanks, a sign, digits; 0 for
// none.
long long PartValue(std::string_view part) {
    std::size_t i = 0;
    while (i < part.size() && (part[i] == ' ' || part[i] == '\t')) ++i;
    bool negative = i < part.size() && part[i] == '-';
    if (i < part.size() && (part[i] == '-' || part[i] == '+')) ++i;
    long long value = 0;
    for (; i < part.size() && part[i] >= '0' && part[i] <= '9' && value < 1000000000000LL; ++i)
        value = value * 10 + (part[i] - '0');
    return negative ? -value : value;
}

std::vector<std::string_view> VersionParts(std::string_view version) {
    std::vector<std::string_view> parts;
    std::size_t pos = 0;
    for (;;) {
        std::size_t dot = version.find('.', pos);
        parts.push_back(version.substr(pos, dot == std::string_view::npos ? std::string_view::npos : dot - pos));
        if (dot == std::string_view::npos) return parts;
        pos = dot + 1;
    }
}

}  // namespace

std::string UpdateKey(std::string_view hostProduct, int hostMajorVersion) {
    std::string_view product = base::EqualNoCase(hostProduct, "AutoCAD LT") ? "ACADLT" : "ACAD";
    return base::Sprintf("%s*%d*%s:", product, hostMajorVersion, "Velmar");
}

std::string FindListedVersion(std::string_view list, std::string_view key) {
    std::string lowerKey = base::ToLower(key);
    std::size_t keyLength = base::Length(lowerKey);
    for (const std::string& raw : ListLines(list)) {
        std::string line = base::ToLower(raw);
        if (line.find(lowerKey) == std::string::npos) continue;
        std::string value = base::Trim(base::Right(line, static_cast<long>(base::Length(line) - keyLength)));
        return value.empty() ? std::string(localVersion) : value;
    }
    return std::string(localVersion);
}

bool IsNewerVersion(std::string_view local, std::string_view other) {
    std::vector<std::string_view> ours = VersionParts(local), theirs = VersionParts(other);
    for (std::size_t i = 0; i < ours.size() && i < theirs.size(); ++i) {
        long long a = PartValue(ours[i]), b = PartValue(theirs[i]);
        if (a != b) return b > a;
    }
    return false;
}

}  // namespace attbat
