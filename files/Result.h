#pragma once

#include <QString>
#include <utility>
#include <variant>

/// Why an operation of the platform layer failed, in words that a person can read.
struct Error {
    QString description;
};

/// A value, or the error that stands in its place.
template <typename T> class [[nodiscard]] Result {
public:
    Result(T value)
        : m_content(std::move(value))
    {
    }
    Result(Error error)
        : m_content(std::move(error))
    {
    }

    [[nodiscard]] bool isError() const { return std::holds_alternative<Error>(m_content); }

    /// The value; a precondition is that this is not an error.
    [[nodiscard]] T &value() { return std::get<T>(m_content); }
    [[nodiscard]] const T &value() const { return std::get<T>(m_content); }

    /// Takes the value out; a precondition is that this is not an error.
    [[nodiscard]] T take() { return std::move(std::get<T>(m_content)); }

    /// The error; a precondition is that this is one.
    [[nodiscard]] const Error &error() const { return std::get<Error>(m_content); }

private:
    std::variant<T, Error> m_content;
};
