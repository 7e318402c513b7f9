#pragma once

#include "runtime/providers/ServiceAdapter.h"

namespace tallowfern {

/// Chat completions, as Mistral and llama-server speak them.
class ChatAdapter final : public ServiceAdapter {
public:
    enum class Service { Mistral, LocalServer };

    explicit ChatAdapter(Service service)
        : m_service(service)
    {
    }

    QString label(const AnswerRequest& request) const override;
    ServiceCall call(const AnswerRequest& request, Fallback fallback) const override;
    Piece read(const QJsonObject& event, const AnswerRequest& request) const override;
    QByteArray effortField(const AnswerRequest& request) const override;

private:
    QJsonObject message(const PromptMessage& message) const;
    bool isLocal() const { return m_service == Service::LocalServer; }

    Service m_service;
};

} // namespace tallowfern
