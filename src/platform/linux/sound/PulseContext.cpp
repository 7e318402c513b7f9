#include "platform/linux/sound/PulseContext.h"

#include <pulse/proplist.h>

#include <algorithm>

namespace tallowfern {

namespace {

constexpr int kFirstRetryMilliseconds = 125;
constexpr int kLastRetryMilliseconds = 8000; // a computer without a sound server pays this wakeup and no more

} // namespace

PulseContext::PulseContext()
    : m_loop(pa_threaded_mainloop_new())
    , m_retryDelay(kFirstRetryMilliseconds)
{
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &PulseContext::connectToServer);
    pa_threaded_mainloop_start(m_loop);
    connectToServer();
}

PulseContext::~PulseContext()
{
    release();
    pa_threaded_mainloop_stop(m_loop);
    pa_threaded_mainloop_free(m_loop);
}

void PulseContext::connectToServer()
{
    bool refused = false;
    {
        const Lock lock(*this);
        pa_proplist* properties = pa_proplist_new();
        pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "com.tallowfern.Tallowfern");
        pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "com.tallowfern.Tallowfern");
        m_context = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_loop), "Tallowfern", properties);
        pa_proplist_free(properties);
        pa_context_set_state_callback(m_context, &PulseContext::onState, this);
        refused = pa_context_connect(m_context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0;
    }
    if (refused)
        lose();
}

/// On the sound thread. The queued call is for this very context: a late word about an earlier one says nothing.
void PulseContext::onState(pa_context* context, void* userData)
{
    auto* self = static_cast<PulseContext*>(userData);
    const pa_context_state_t state = pa_context_get_state(context);
    if (state == PA_CONTEXT_READY) {
        QMetaObject::invokeMethod(
            self,
            [self, context] {
                if (context != self->m_context)
                    return;
                self->m_retryDelay = kFirstRetryMilliseconds;
                self->m_isConnected = true;
                Q_EMIT self->connected();
            },
            Qt::QueuedConnection);
    } else if (state == PA_CONTEXT_FAILED || state == PA_CONTEXT_TERMINATED) {
        QMetaObject::invokeMethod(
            self,
            [self, context] {
                if (context == self->m_context)
                    self->lose();
            },
            Qt::QueuedConnection);
    }
}

void PulseContext::lose()
{
    if (std::exchange(m_isConnected, false))
        Q_EMIT disconnected();
    release();
    m_retry.start(m_retryDelay);
    m_retryDelay = std::min(m_retryDelay * 2, kLastRetryMilliseconds);
}

void PulseContext::release()
{
    if (!m_context)
        return;
    const Lock lock(*this);
    pa_context_set_state_callback(m_context, nullptr, nullptr);
    pa_context_disconnect(m_context);
    pa_context_unref(m_context);
    m_context = nullptr;
}

} // namespace tallowfern
