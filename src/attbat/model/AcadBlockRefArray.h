#pragma once
// The rows of one block, normally from the top of the drawing down.
#include <string>
#include <string_view>

#include "attbat/model/AcadBlockRef.h"
#include "tables/Array.h"

namespace attbat {

class AcadBlockRefArray : public tables::Array<AcadBlockRef> {
public:
    // Inserts before the first row lying lower (smaller y), else appends: rows run top down and
    // equal y keeps the order of arrival. Returns the index. Each call is linear; for many rows
    // use Append and SortTopDown, which give the same order.
    int AddSorted(AcadBlockRef row);
    // Makes room for `count` rows in all, so a block read row by row grows once; a count at or
    // below the present size changes nothing.
    void Reserve(int count) {
        if (count > 0) Items().reserve(static_cast<std::size_t>(count));
    }
    // Puts the rows in the order that repeated AddSorted calls would have given (a stable sort
    // by y, descending), in n log n.
    void SortTopDown();
    // The row with that handle and drawing (both without regard to case), searching from both
    // ends towards the middle; null when none.
    AcadBlockRef* FindByHandleAndFile(std::string_view file, std::string_view handle);
    // Appends AcadAttribute(tag, value, kind) to the row of that handle and drawing, appending a
    // default row with the two first when there is none; kind is the property bit of `tag` when
    // `isProperty` is set, else 0. An empty tag adds nothing.
    void AddValue(std::string_view file, std::string_view handle, std::string_view tag,
                  std::string_view value, bool isProperty);
    // Appends AcadAttribute(tag, value, kind) to `row`, kind as AddValue gives it.
    static void AppendValue(AcadBlockRef& row, std::string_view tag, std::string_view value,
                            bool isProperty);

private:
    // Appends a default row with that drawing and handle; returns its index.
    int AppendRow(std::string_view file, std::string_view handle);
};

}  // namespace attbat
