#include "platform/linux/sound/PulseSources.h"

#include <pulse/operation.h>

#include <algorithm>

namespace tallowfern {

PulseSources::PulseSources(PulseContext& context)
    : m_context(context)
{
    connect(&context, &PulseContext::connected, this, &PulseSources::begin);
    connect(&context, &PulseContext::disconnected, this, &PulseSources::end);
    if (context.isConnected())
        begin();
}

PulseSources::~PulseSources()
{
    stopListening();
}

std::optional<QByteArray> PulseSources::microphone() const
{
    if (!isMonitor(m_known.defaultName))
        return QByteArray();
    for (const Source& source : m_known.sources) {
        if (!source.isMonitor)
            return source.name;
    }
    return std::nullopt;
}

bool PulseSources::isMonitor(const QByteArray& name) const
{
    const auto found = std::find_if(
        m_known.sources.begin(), m_known.sources.end(), [&name](const Source& source) { return source.name == name; });
    return found == m_known.sources.end() || found->isMonitor;
}

void PulseSources::begin()
{
    const PulseContext::Lock lock(m_context);
    pa_context_set_subscribe_callback(m_context.handle(), &PulseSources::onEvent, this);
    const auto mask = pa_subscription_mask_t(PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SERVER);
    if (pa_operation* operation = pa_context_subscribe(m_context.handle(), mask, nullptr, nullptr))
        pa_operation_unref(operation);
    ask(m_context.handle());
}

void PulseSources::end()
{
    stopListening();
    learn({});
}

void PulseSources::stopListening()
{
    const PulseContext::Lock lock(m_context);
    if (m_context.handle())
        pa_context_set_subscribe_callback(m_context.handle(), nullptr, nullptr);
    keep(nullptr);
    m_asking = m_askAgain = false;
}

void PulseSources::learn(Known known)
{
    if (known == m_known)
        return;
    m_known = std::move(known);
    Q_EMIT changed();
}

void PulseSources::onEvent(pa_context* context, pa_subscription_event_type_t type, uint32_t, void* userData)
{
    auto* self = static_cast<PulseSources*>(userData);
    const bool isSource = (type & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) == PA_SUBSCRIPTION_EVENT_SOURCE;
    if (isSource && (type & PA_SUBSCRIPTION_EVENT_TYPE_MASK) == PA_SUBSCRIPTION_EVENT_CHANGE)
        return; // its volume, or whether it is asleep
    if (self->m_asking)
        self->m_askAgain = true;
    else
        self->ask(context);
}

void PulseSources::ask(pa_context* context)
{
    m_asking = true;
    m_askAgain = false;
    m_incoming = {};
    keep(pa_context_get_server_info(context, &PulseSources::onServer, this));
}

void PulseSources::onServer(pa_context* context, const pa_server_info* info, void* userData)
{
    auto* self = static_cast<PulseSources*>(userData);
    if (info)
        self->m_incoming.defaultName = QByteArray(info->default_source_name);
    self->keep(pa_context_get_source_info_list(context, &PulseSources::onSource, self));
}

void PulseSources::onSource(pa_context* context, const pa_source_info* info, int end, void* userData)
{
    auto* self = static_cast<PulseSources*>(userData);
    if (end == 0) {
        self->m_incoming.sources.append({QByteArray(info->name), info->monitor_of_sink != PA_INVALID_INDEX});
        return;
    }
    self->m_asking = false;
    if (end > 0) {
        QMetaObject::invokeMethod(
            self, [self, known = self->m_incoming] { self->learn(known); }, Qt::QueuedConnection);
    }
    if (self->m_askAgain)
        self->ask(context);
}

void PulseSources::keep(pa_operation* operation)
{
    if (m_operation) {
        pa_operation_cancel(m_operation);
        pa_operation_unref(m_operation);
    }
    m_operation = operation;
}

} // namespace tallowfern
