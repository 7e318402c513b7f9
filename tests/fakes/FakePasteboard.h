#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/Pasteboard.h"

#include <QSet>

#include <utility>

namespace tallowfern {

/// A clipboard that others use as well. Their copies are counted a round trip later, as a desktop's events arrive; an
/// owner can be slow, or hang over some of its types, or over all.
class FakePasteboard final : public Pasteboard {
public:
    static constexpr double kReadingDeadline = 1; // seconds

    explicit FakePasteboard(Clock& clock)
        : m_clock(clock)
    {
    }

    double readSeconds = 0.005; ///< of an owner that answers
    double roundTripSeconds = 0; ///< of a busy desktop
    int readings = 0; ///< begun so far
    int ownWrites = 0;

    void userCopies(const QString& text) { userCopies({textItem(text)}); }
    /// The owner never gives the `hanging` types.
    void userCopies(const QList<PasteboardItem>& items, const QSet<QString>& hanging = {})
    {
        m_items = items;
        m_hanging = hanging;
        m_ours = false;
        m_ownerProcess = 0;
        countLater();
    }
    void applicationCopies(const RunningApplication& application, const QString& text)
    {
        userCopies(text);
        m_ownerProcess = application.processIdentifier;
    }
    QMap<qint64, QString> selected; ///< by process, where selecting is copying
    static PasteboardItem textItem(const QString& text) { return {{QStringLiteral("text/plain"), text.toUtf8()}}; }

    const QList<PasteboardItem>& items() const { return m_items; }
    /// As a pasting application gets it.
    QString text() const
    {
        return m_items.isEmpty() ? QString() : QString::fromUtf8(m_items.first().value(QStringLiteral("text/plain")));
    }
    bool isOurs() const { return m_ours; }

    qint64 changeCount() const override { return m_count; }
    QCoro::Task<qint64> settledChangeCount() override
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(roundTripSeconds);
        co_return ended.stop_requested() ? 0 : m_count;
    }
    QCoro::Task<PasteboardReading> readAll() override
    {
        ++readings;
        PasteboardReading reading;
        qsizetype typesRead = 0;
        for (const PasteboardItem& item : std::as_const(m_items)) {
            PasteboardItem read;
            for (auto entry = item.begin(); entry != item.end(); ++entry) {
                if (m_hanging.contains(entry.key()))
                    reading.missing.append(entry.key());
                else
                    read.insert(entry.key(), entry.value());
            }
            typesRead += read.size();
            reading.items.append(read);
        }
        if (!reading.missing.isEmpty())
            reading.extent = typesRead ? PasteboardReading::Extent::Partial : PasteboardReading::Extent::Unread;
        const double seconds = reading.missing.isEmpty() ? readSeconds : kReadingDeadline;
        co_await m_clock.sleep(seconds);
        co_return reading;
    }
    QCoro::Task<std::optional<QString>> readText(RunningApplication owner) override
    {
        const bool isTheirs = m_ownerProcess == owner.processIdentifier;
        const QString found = text();
        co_await m_clock.sleep(readSeconds);
        co_return isTheirs ? std::optional(found) : std::nullopt;
    }
    QCoro::Task<std::optional<QString>> readSelectedText(RunningApplication application) override
    {
        const auto found = selected.constFind(application.processIdentifier);
        co_return found == selected.cend() ? std::nullopt : std::optional(*found);
    }
    void replaceItems(const QList<PasteboardItem>& items) override
    {
        m_items = items;
        m_hanging.clear();
        m_ours = true;
        m_ownerProcess = 0;
        ++ownWrites;
        ++m_count;
        Q_EMIT changed();
    }
    void replaceText(const QString& text) override { replaceItems({textItem(text)}); }

private:
    QCoro::Task<> countLater()
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(roundTripSeconds);
        if (ended.stop_requested())
            co_return;
        ++m_count;
        Q_EMIT changed();
    }

    Clock& m_clock;
    QList<PasteboardItem> m_items;
    QSet<QString> m_hanging;
    qint64 m_count = 7;
    bool m_ours = false;
    qint64 m_ownerProcess = 0; ///< 0: not told
    Lifetime m_lifetime;
};

} // namespace tallowfern
