#include "attbat/frame/CommandContext.h"

#include "base/Format.h"

namespace attbat {

void CommandContext::Summary(std::string_view key, std::string_view text) {
    summary_.emplace_back(std::string(key), JsonQuote(text));
}

void CommandContext::Summary(std::string_view key, long long number) {
    summary_.emplace_back(std::string(key), std::to_string(number));
}

void CommandContext::SummaryBool(std::string_view key, bool value) {
    summary_.emplace_back(std::string(key), value ? "true" : "false");
}

void CommandContext::SummaryJson(std::string_view key, std::string json) {
    summary_.emplace_back(std::string(key), std::move(json));
}

std::string JsonQuote(std::string_view text) {
    std::string out = "\"";
    for (char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                out += base::Sprintf("\\u%04x", static_cast<int>(c));
            } else {
                out.push_back(c);
            }
        }
    }
    out.push_back('"');
    return out;
}

}  // namespace attbat
