#pragma once

#include "runtime/providers/AnswerFailure.h"
#include "runtime/providers/AnswerRequest.h"

#include <QJsonObject>
#include <QList>

#include <memory>
#include <utility>

namespace tallowfern {

/// What is posted to a service.
struct ServiceCall {
    QUrl url;
    QList<std::pair<QByteArray, QByteArray>> headers; ///< beside those that every call has
    QByteArray body;
};

/// What one event of an answer says; any of the three, or nothing.
struct Piece {
    QString text;
    bool isEnd = false; ///< the model came to a natural end
    std::optional<AnswerFailure> failure;
};

/// What is left out when a service has refused it.
struct Fallback {
    bool withoutEffort = false;
    bool systemInFirstMessage = false; ///< some templates know no system message
};

/// How one service is spoken to. Pure: no network, no clock, no state.
class ServiceAdapter {
public:
    virtual ~ServiceAdapter() = default;

    /// As sentences name the service.
    virtual QString label(const AnswerRequest& request) const = 0;
    /// Throws AnswerFailure when the service's address is not a safe one.
    virtual ServiceCall call(const AnswerRequest& request, Fallback fallback) const = 0;
    virtual Piece read(const QJsonObject& event, const AnswerRequest& request) const = 0;
    /// The field in which the effort goes, as the service's complaints name it; empty where none goes.
    virtual QByteArray effortField(const AnswerRequest& request) const = 0;
};

std::unique_ptr<ServiceAdapter> adapterFor(AgentModelProvider provider);

/// The service's address: the one that `variable` in the environment names, or the service's own.
/// Throws AnswerFailure for one that is not https.
QUrl serviceAddress(const char* variable, const QString& standard, const QString& path, const QString& label);

} // namespace tallowfern
