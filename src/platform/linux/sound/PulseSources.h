#pragma once

#include "platform/linux/sound/PulseContext.h"

#include <QByteArray>
#include <QList>

#include <pulse/introspect.h>
#include <pulse/subscribe.h>

#include <optional>

namespace tallowfern {

/// The sound sources of this computer, kept from events. Main thread.
class PulseSources final : public QObject {
    Q_OBJECT
public:
    explicit PulseSources(PulseContext& context);
    ~PulseSources() override;

    /// The source to record from, absent when there is no microphone. Empty is the system's default, which the server
    /// follows when it changes; without a microphone of its choice the default is the monitor of an output.
    std::optional<QByteArray> microphone() const;
    /// Whether the source gives what an output plays, or is unknown.
    bool isMonitor(const QByteArray& name) const;

Q_SIGNALS:
    void changed();

private:
    struct Source {
        QByteArray name;
        bool isMonitor = false;

        bool operator==(const Source&) const = default;
    };
    struct Known {
        QByteArray defaultName;
        QList<Source> sources;

        bool operator==(const Known&) const = default;
    };

    // On the sound thread.
    static void onEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t index, void* self);
    static void onServer(pa_context* context, const pa_server_info* info, void* self);
    static void onSource(pa_context* context, const pa_source_info* info, int end, void* self);
    void ask(pa_context* context);
    void keep(pa_operation* operation);

    void begin();
    void end();
    void stopListening();
    void learn(Known known);

    PulseContext& m_context;
    Known m_known;
    // Under the lock.
    Known m_incoming;
    pa_operation* m_operation = nullptr;
    bool m_asking = false;
    bool m_askAgain = false;
};

} // namespace tallowfern
