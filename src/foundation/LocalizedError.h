#pragma once

#include <QString>

#include <exception>

namespace tallowfern {

/// A failure that a person reads. Flows throw these; the last step of a flow turns any of them into published state.
class LocalizedError : public std::exception {
public:
    /// One sentence in the user's words.
    virtual QString description() const = 0;
    const char* what() const noexcept override { return "LocalizedError"; }
};

/// A failure whose sentence comes from the operating system.
class SystemError final : public LocalizedError {
public:
    explicit SystemError(QString sentence)
        : m_sentence(std::move(sentence))
    {
    }
    QString description() const override { return m_sentence; }

private:
    QString m_sentence;
};

} // namespace tallowfern
