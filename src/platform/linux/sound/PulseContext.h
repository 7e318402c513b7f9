#pragma once

#include <QObject>
#include <QTimer>

#include <pulse/context.h>
#include <pulse/thread-mainloop.h>

namespace tallowfern {

/// The connection to the sound server, on a thread of its own that sleeps while nothing happens. When the server goes,
/// the connection is sought again until it is back. Main thread; outlives everything that was made with it.
class PulseContext final : public QObject {
    Q_OBJECT
public:
    PulseContext();
    ~PulseContext() override;

    /// While this is held, no callback of the server runs, and its functions may be called. Callbacks run under it
    /// too. Never waits for more than one callback.
    class Lock {
    public:
        explicit Lock(const PulseContext& context)
            : m_loop(context.m_loop)
        {
            pa_threaded_mainloop_lock(m_loop);
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock() { pa_threaded_mainloop_unlock(m_loop); }

    private:
        pa_threaded_mainloop* m_loop;
    };

    bool isConnected() const { return m_isConnected; }
    /// To be used under the lock, while connected; its calls fail when the server has just gone.
    pa_context* handle() const { return m_context; }

Q_SIGNALS:
    void connected();
    void disconnected();

private:
    static void onState(pa_context* context, void* self);

    void connectToServer();
    void release();
    void lose();

    pa_threaded_mainloop* m_loop;
    pa_context* m_context = nullptr;
    bool m_isConnected = false;
    QTimer m_retry;
    int m_retryDelay;
};

} // namespace tallowfern
