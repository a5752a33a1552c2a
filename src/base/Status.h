#pragma once
// Status values and results: how the platform libraries report failures without throwing.

#include <optional>
#include <string>
#include <utility>

namespace base {

// Success, or a failure with a message that says what went wrong and where.
class Status {
public:
    Status() = default;
    static Status Ok() { return Status(); }
    static Status Error(std::string message) { return Status(std::move(message), true); }

    bool IsOk() const { return !failed_; }
    explicit operator bool() const { return !failed_; }
    // The reason of a failure; "" on success.
    const std::string& Message() const { return message_; }

private:
    Status(std::string message, bool failed) : message_(std::move(message)), failed_(failed) {}
    std::string message_;
    bool failed_ = false;
};

// A value, or the status that says why there is none.
template <class T>
class Result {
public:
    Result(T value) : value_(std::move(value)) {}
    Result(Status status) : status_(std::move(status)) {}

    bool IsOk() const { return value_.has_value(); }
    explicit operator bool() const { return value_.has_value(); }
    const Status& GetStatus() const { return status_; }
    // The value; only valid when IsOk().
    T& Value() { return *value_; }
    const T& Value() const { return *value_; }
    T& operator*() { return *value_; }
    const T& operator*() const { return *value_; }
    T* operator->() { return &*value_; }
    const T* operator->() const { return &*value_; }

private:
    std::optional<T> value_;
    Status status_;
};

}  // namespace base
