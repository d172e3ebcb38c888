#pragma once
// The "last error" of an operation: platform calls return their value with one of these,
// so callers test the error exactly where they care and carry on elsewhere.
#include <QString>
#include <utility>

struct OpError {
    int number = 0;
    QString description;

    explicit operator bool() const { return number != 0; }
    static OpError none() { return {}; }
    static OpError make(int n, QString text) { return {n, std::move(text)}; }
};

template <class T> struct Result {
    T value{};
    OpError error;

    bool ok() const { return !error; }
};

// Error numbers for failures that have no errno of their own.
namespace ErrNo {
constexpr int Failed = 5;    // generic "invalid procedure call"
constexpr int NotFound = 53; // file or object not found
constexpr int NoPermission = 70;
constexpr int IoError = 57;
constexpr int Overflow = 6;
} // namespace ErrNo
