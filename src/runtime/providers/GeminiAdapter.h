#pragma once

#include "runtime/providers/ServiceAdapter.h"

namespace tallowfern {

/// The service's own interface, streamGenerateContent.
class GeminiAdapter final : public ServiceAdapter {
public:
    QString label(const AnswerRequest& request) const override;
    ServiceCall call(const AnswerRequest& request, Fallback fallback) const override;
    Piece read(const QJsonObject& event, const AnswerRequest& request) const override;
    QByteArray effortField(const AnswerRequest& request) const override;
};

} // namespace tallowfern
