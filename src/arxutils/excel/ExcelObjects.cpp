#include "arxutils/excel/ExcelObjects.h"

#include "arxutils/excel/AutomationError.h"

namespace arxutils::excel {

std::int32_t Dispatch::GetIDOfName(std::string_view, long& id) {
    id = -1;
    return kErrUnknownName;
}

std::int32_t Dispatch::Invoke(long, int, std::vector<Variant>&, Variant*) { return kErrUnknownName; }

void Range::SetComments(std::span<const std::string_view> texts, int columns) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (texts[i].empty()) continue;
        auto cell = Item(static_cast<int>(i / columns) + 1, static_cast<int>(i % columns) + 1);
        cell->ClearComments();
        cell->AddComment(texts[i]);
    }
}

std::vector<std::vector<std::string>> Range::Texts() {
    // Cell by cell, for a backend that has no faster way.
    const long rows = Rows()->Count(), columns = Columns()->Count();
    std::vector<std::vector<std::string>> texts(static_cast<std::size_t>(rows),
                                                std::vector<std::string>(static_cast<std::size_t>(columns)));
    for (long r = 1; r <= rows; ++r) {
        for (long c = 1; c <= columns; ++c) {
            Variant text = Item(static_cast<int>(r), static_cast<int>(c))->Text();
            if (text.type == VarType::String) texts[r - 1][c - 1] = std::move(text.text);
        }
    }
    return texts;
}

}  // namespace arxutils::excel
