#pragma once

#include <QByteArray>

#include <utility>

namespace tallowfern {

/// A key of the user's. It turns into no other type by itself, so that it cannot slip into a log or a message.
class Secret {
public:
    Secret() = default;
    explicit Secret(QByteArray utf8)
        : m_utf8(std::move(utf8))
    {
    }

    bool isEmpty() const { return m_utf8.isEmpty(); }
    /// To be handed on at once to where the key is needed, and kept nowhere.
    const QByteArray& reveal() const { return m_utf8; }

    bool operator==(const Secret&) const = default;

private:
    QByteArray m_utf8;
};

} // namespace tallowfern
