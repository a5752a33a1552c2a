#include "cli/shell/ShellWords.h"

namespace cli {

std::vector<std::string> SplitShellWords(std::string_view line) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;
    char quote = 0;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (quote) {
            if (c == quote) quote = 0;
            else if (c == '\\' && quote == '"' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\')) word += line[++i];
            else word += c;
            continue;
        }
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
            if (inWord) words.push_back(std::move(word));
            word.clear();
            inWord = false;
            continue;
        }
        inWord = true;
        if (c == '"' || c == '\'') quote = c;
        else if (c == '\\' && i + 1 < line.size()) word += line[++i];
        else word += c;
    }
    if (inWord) words.push_back(std::move(word));
    return words;
}

std::string QuoteShellWord(std::string_view word) {
    if (!word.empty() && word.find_first_of(" \t\"'\\") == std::string_view::npos) return std::string(word);
    std::string quoted = "'";
    for (char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

}  // namespace cli
