#include "host/Answers.h"

#include "base/File.h"
#include "base/Text.h"

namespace host {

Answers Answers::Parse(std::string_view text) {
    Answers answers;
    std::size_t pos = 0;
    while (pos <= text.size()) {
        std::size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        std::string line = base::TrimRight(text.substr(pos, end - pos));
        pos = end + 1;
        std::string trimmed = base::TrimLeft(line);
        if (trimmed.empty() || trimmed.front() == '#') continue;
        Line entry;
        if (trimmed.front() == '=') {
            entry.answer = base::TrimLeft(std::string_view(trimmed).substr(1));
        } else {
            // The key ends at the first " =" followed by a blank or the line's end.
            std::size_t sep = std::string::npos;
            for (std::size_t i = trimmed.find(" ="); i != std::string::npos;
                 i = trimmed.find(" =", i + 1)) {
                if (i + 2 == trimmed.size() || trimmed[i + 2] == ' ' || trimmed[i + 2] == '\t') {
                    sep = i;
                    break;
                }
            }
            if (sep == std::string::npos) {
                entry.answer = trimmed;
            } else {
                entry.key = base::Trim(std::string_view(trimmed).substr(0, sep));
                entry.answer = base::TrimLeft(std::string_view(trimmed).substr(sep + 2));
            }
        }
        answers.lines_.push_back(std::move(entry));
    }
    return answers;
}

base::Result<Answers> Answers::Load(const std::string& path) {
    auto bytes = base::ReadFile(path);
    if (!bytes) return base::Status::Error("Cannot read the answers file: " + bytes.GetStatus().Message());
    return Parse(*bytes);
}

std::optional<std::string> Answers::Take(std::string_view prompt) {
    std::string asked = base::Trim(prompt);
    for (Line& line : lines_) {
        if (line.used || line.key.empty()) continue;
        if (base::EqualNoCase(base::Left(asked, static_cast<long>(base::Length(line.key))),
                              line.key)) {
            line.used = true;
            return line.answer;
        }
    }
    for (Line& line : lines_) {
        if (line.used || !line.key.empty()) continue;
        line.used = true;
        return line.answer;
    }
    return std::nullopt;
}

bool Answers::Exhausted() const {
    for (const Line& line : lines_) {
        if (!line.used) return false;
    }
    return true;
}

}  // namespace host
