#pragma once
// The values that cross the object model: empty, number, text, Boolean, date, error, a
// two-dimensional array of values, or an object.

#include <memory>
#include <string>
#include <vector>

namespace arxutils::excel {

class Dispatch;
struct VariantArray;

enum class VarType { Empty, Number, String, Boolean, Date, Error, Array, Object };

struct Variant {
    VarType type = VarType::Empty;
    double number = 0;                    // Number, Date (days since 1899-12-30), Boolean 0/1
    std::string text;                     // String; the error text for Error ("#N/A")
    std::shared_ptr<VariantArray> array;  // Array only
    std::shared_ptr<Dispatch> object;     // Object only; null is "Nothing"

    static Variant Number(double value) { return {VarType::Number, value, {}, {}, {}}; }
    static Variant String(std::string value) { return {VarType::String, 0, std::move(value), {}, {}}; }
    static Variant Boolean(bool value) { return {VarType::Boolean, value ? 1.0 : 0.0, {}, {}, {}}; }
    static Variant Date(double value) { return {VarType::Date, value, {}, {}, {}}; }
    static Variant Error(std::string text) { return {VarType::Error, 0, std::move(text), {}, {}}; }
    static Variant Object(std::shared_ptr<Dispatch> object) { return {VarType::Object, 0, {}, {}, std::move(object)}; }
    // Shares the array; a null array is an empty value.
    static Variant Array(std::shared_ptr<VariantArray> array);
    bool IsEmpty() const { return type == VarType::Empty; }
};

// Rows by columns of values, row-major, indexed from 0 (the range read through it starts at
// its own top-left cell).
struct VariantArray {
    int rows = 0, columns = 0;
    std::vector<Variant> items;

    VariantArray() = default;
    // A rows x columns array of empty values; a count below 1 makes an empty array.
    VariantArray(int rowCount, int columnCount);
    Variant& At(int row, int column) { return items[static_cast<std::size_t>(row) * columns + column]; }
    const Variant& At(int row, int column) const { return items[static_cast<std::size_t>(row) * columns + column]; }
    bool Contains(int row, int column) const { return row >= 0 && column >= 0 && row < rows && column < columns; }
};

inline Variant Variant::Array(std::shared_ptr<VariantArray> value) {
    Variant v;
    if (value) {
        v.type = VarType::Array;
        v.array = std::move(value);
    }
    return v;
}

inline VariantArray::VariantArray(int rowCount, int columnCount) {
    if (rowCount < 1 || columnCount < 1) return;
    rows = rowCount;
    columns = columnCount;
    items.resize(static_cast<std::size_t>(rows) * columns);
}

}  // namespace arxutils::excel
