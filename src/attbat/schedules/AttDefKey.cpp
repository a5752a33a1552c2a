#include "attbat/schedules/AttDefKey.h"

#include "base/Format.h"
#include "base/Text.h"

namespace attbat {

std::string_view AttDefColumnTitle(AttDefField field) {
    switch (field) {
        case AttDefField::Tag: return "Tag";
        case AttDefField::Prompt: return "Prompt";
        case AttDefField::DefaultValue: return "Default Value";
    }
    return {};
}

std::string AttDefComment(std::string_view drawing, std::string_view handle, AttDefField field) {
    switch (field) {
        case AttDefField::Tag: return base::Sprintf("%s<%s.Tag>", drawing, handle);
        case AttDefField::Prompt: return base::Sprintf("%s<%s.Prompt>", drawing, handle);
        case AttDefField::DefaultValue: return base::Sprintf("%s<%s.DefaultValue>", drawing, handle);
    }
    return {};
}

bool ParseAttDefKey(std::string_view line, AttDefKey& out) {
    out = {};
    if (line.empty()) return false;
    std::string trimmed;
    std::string_view rest = line;
    const std::size_t open = line.find('<');
    if (open != std::string_view::npos && open > 0 && line.back() == '>') {
        out.drawing = std::string(line.substr(0, open));
        rest = line.substr(open + 1, line.size() - open - 2);
    } else if (open == 0) {
        trimmed = base::Trim(line, "<>");
        rest = trimmed;
    }
    const std::size_t dot = rest.find('.');
    if (dot == std::string_view::npos || dot == 0 || dot + 1 == rest.size()) return false;
    out.handle = std::string(rest.substr(0, dot));
    out.field = std::string(rest.substr(dot + 1));
    return true;
}

}  // namespace attbat
