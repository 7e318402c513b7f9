#pragma once

#include "runtime/providers/AnswerFailure.h"
#include "runtime/providers/AnswerRequest.h"

#include <QJsonObject>

namespace tallowfern {

/// An answer of a service that is no answer.
struct ServiceReply {
    int status = 0; ///< of HTTP; 0 within a stream
    QByteArray retryAfter; ///< the header's value
    QByteArray body;
};

/// The failure with the sentence that helps; `service` is named in it.
AnswerFailure failure(AnswerFailure::Cause cause, const QString& service);
/// What the service says, in the user's words: its own text is shown only where nothing better is known, and never a
/// key in it.
AnswerFailure failureFor(const ServiceReply& reply, const AnswerRequest& request, const QString& service);
/// The same for the error that arrives within a stream.
AnswerFailure failureInStream(const QJsonObject& error, const AnswerRequest& request, const QString& service);

/// The picture as an address of its own.
QString dataUrl(const PromptImage& image);

} // namespace tallowfern
