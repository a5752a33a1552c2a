#pragma once
// A growable by-value array with signed, zero-based indices, the common base of the string array
// and the tables of rows. Every access outside the array raises `InvalidArgument`, never
// undefined behaviour: worksheet data decides the indices, so a bad one must be catchable.
#include <string>
#include <utility>
#include <vector>

#include "tables/InvalidArgument.h"

namespace tables {

template <class T>
class Array {
public:
    using value_type = T;
    using iterator = typename std::vector<T>::iterator;
    using const_iterator = typename std::vector<T>::const_iterator;

    // An empty array.
    Array() = default;

    // Number of elements; 0 for an empty array.
    int GetSize() const { return static_cast<int>(items_.size()); }
    // Same as GetSize.
    int GetCount() const { return GetSize(); }
    // Index of the last element; -1 for an empty array.
    int GetUpperBound() const { return GetSize() - 1; }
    // True when there is no element.
    bool IsEmpty() const { return items_.empty(); }

    // The element at `index`; outside 0..size-1 (-1 included) raises InvalidArgument.
    const T& GetAt(int index) const { return items_[Checked(index, "GetAt")]; }
    // The element at `index` to change; outside 0..size-1 raises InvalidArgument.
    T& GetAt(int index) { return items_[Checked(index, "GetAt")]; }
    // Same as GetAt, checks included.
    T& ElementAt(int index) { return items_[Checked(index, "ElementAt")]; }
    // Same as GetAt, checks included: an index never reads past the array.
    const T& operator[](int index) const { return items_[Checked(index, "operator[]")]; }
    // Same as GetAt, checks included.
    T& operator[](int index) { return items_[Checked(index, "operator[]")]; }

    // Replaces an existing element; outside 0..size-1 raises InvalidArgument (it never grows).
    void SetAt(int index, const T& value) { items_[Checked(index, "SetAt")] = value; }
    // Replaces or appends, growing with default elements up to `index`; negative raises.
    void SetAtGrow(int index, const T& value) {
        if (index < 0) Throw("SetAtGrow", index);
        if (index >= GetSize()) items_.resize(static_cast<std::size_t>(index) + 1);
        items_[static_cast<std::size_t>(index)] = value;
    }
    // Appends and returns the new element's index.
    int Add(const T& value) {
        items_.push_back(value);
        return GetSize() - 1;
    }
    // Appends by moving `value` in; returns its index.
    int Add(T&& value) {
        items_.push_back(std::move(value));
        return GetSize() - 1;
    }
    // Appends all of `other` (itself included) and returns the index of the first appended one.
    int Append(const Array& other) {
        const int first = GetSize();
        if (&other == this) {
            const std::vector<T> copy = items_;  // a vector can't insert a range of itself
            items_.insert(items_.end(), copy.begin(), copy.end());
        } else {
            items_.insert(items_.end(), other.items_.begin(), other.items_.end());
        }
        return first;
    }
    // Inserts `count` copies before `index`; an index at or past the end grows the array up to
    // it first. A negative index or count raises InvalidArgument.
    void InsertAt(int index, const T& value, int count = 1) {
        if (index < 0) Throw("InsertAt", index);
        if (count < 0) Throw("InsertAt (count)", count);
        if (index > GetSize()) items_.resize(static_cast<std::size_t>(index));
        items_.insert(items_.begin() + index, static_cast<std::size_t>(count), value);
    }
    // Removes `count` elements from `index`; a range not wholly inside the array raises.
    void RemoveAt(int index, int count = 1) {
        if (index < 0 || count < 0 || count > GetSize() - index) Throw("RemoveAt", index);
        items_.erase(items_.begin() + index, items_.begin() + index + count);
    }
    // Empties the array.
    void RemoveAll() { items_.clear(); }
    // Gives back the room kept for growth beyond the present size.
    void FreeExtra() { items_.shrink_to_fit(); }
    // Truncates or grows with default elements; a negative size raises InvalidArgument.
    void SetSize(int size) {
        if (size < 0) Throw("SetSize", size);
        items_.resize(static_cast<std::size_t>(size));
    }
    // Makes this array an element-by-element copy of `other` (a copy of itself changes nothing).
    void Copy(const Array& other) {
        if (&other != this) items_ = other.items_;
    }

    // Iteration in index order; iterators are invalidated by any change of size.
    iterator begin() { return items_.begin(); }
    iterator end() { return items_.end(); }
    const_iterator begin() const { return items_.begin(); }
    const_iterator end() const { return items_.end(); }

    // Equal sizes and equal elements in order.
    friend bool operator==(const Array& a, const Array& b) { return a.items_ == b.items_; }

protected:
    // The elements themselves, for derived arrays that sort, search or erase in bulk.
    std::vector<T>& Items() { return items_; }
    const std::vector<T>& Items() const { return items_; }

private:
    std::size_t Checked(int index, const char* operation) const {
        if (index < 0 || index >= GetSize()) Throw(operation, index);
        return static_cast<std::size_t>(index);
    }
    [[noreturn]] void Throw(const char* operation, int index) const {
        throw InvalidArgument(std::string(operation) + ": index " + std::to_string(index) +
                              " is outside an array of " + std::to_string(GetSize()) +
                              " elements");
    }

    std::vector<T> items_;
};

}  // namespace tables
