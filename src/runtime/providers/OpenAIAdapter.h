#pragma once

#include "runtime/providers/ServiceAdapter.h"

namespace tallowfern {

/// The Responses interface.
class OpenAIAdapter final : public ServiceAdapter {
public:
    QString label(const AnswerRequest& request) const override;
    ServiceCall call(const AnswerRequest& request, Fallback fallback) const override;
    Piece read(const QJsonObject& event, const AnswerRequest& request) const override;
    QByteArray effortField(const AnswerRequest&) const override { return "reasoning"; }
};

} // namespace tallowfern
