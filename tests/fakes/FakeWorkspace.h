#pragma once

#include "foundation/Clock.h"
#include "foundation/Lifetime.h"
#include "platform/Workspace.h"

#include <QCoroTask>
#include <QHashFunctions>
#include <QMap>

namespace tallowfern {

/// Windows with a text each. They can be slow to come to front, or never come, and close at any moment.
class FakeWorkspace final : public Workspace {
public:
    explicit FakeWorkspace(Clock& clock)
        : m_clock(clock)
    {
    }

    double activationSeconds = 0.02; ///< until the window manager has brought a window to front
    bool refusesActivation = false; ///< as focus stealing prevention does
    int activations = 0; ///< asked for so far

    /// A new window, in front. Windows opened by the same name belong to one process.
    RunningApplication open(const QString& name)
    {
        const quint64 identity = 0x1000 + static_cast<quint64>(m_opened++);
        const RunningApplication window{identity, static_cast<qint64>(qHash(name) % 30000 + 2), name, name.toLower()};
        m_texts.insert(identity, {});
        comesToFront(window);
        return window;
    }
    void close(const RunningApplication& window)
    {
        m_texts.remove(window.identity);
        if (m_front == window)
            desktopTakesFocus();
    }
    /// By the user's hand, or because it pushes itself there.
    void comesToFront(const RunningApplication& window) { setFront(window); }
    void desktopTakesFocus() { setFront(std::nullopt); }

    QString textIn(const RunningApplication& window) const { return m_texts.value(window.identity); }
    void insert(const RunningApplication& window, const QString& text)
    {
        if (!isTerminated(window))
            m_texts[window.identity] += text;
    }

    std::optional<RunningApplication> frontmostApplication() const override { return m_front; }
    bool isTerminated(const RunningApplication& application) const override
    {
        return !m_texts.contains(application.identity);
    }
    void activate(const RunningApplication& application) override
    {
        ++activations;
        if (!refusesActivation)
            bringLater(application);
    }

private:
    QCoro::Task<> bringLater(RunningApplication window)
    {
        const std::stop_token ended = m_lifetime.token();
        co_await m_clock.sleep(activationSeconds);
        if (!ended.stop_requested() && !isTerminated(window))
            setFront(window);
    }
    void setFront(const std::optional<RunningApplication>& window)
    {
        m_front = window;
        Q_EMIT frontmostChanged();
    }

    Clock& m_clock;
    QMap<quint64, QString> m_texts;
    std::optional<RunningApplication> m_front;
    int m_opened = 0;
    Lifetime m_lifetime;
};

} // namespace tallowfern
