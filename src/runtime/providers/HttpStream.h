#pragma once

#include "foundation/Clock.h"
#include "runtime/providers/AnswerFailure.h"
#include "runtime/providers/ServiceAdapter.h"
#include "runtime/providers/ServiceErrors.h"

#include <QCoroTask>

#include <functional>
#include <memory>

class QNetworkAccessManager;
class QNetworkReply;

namespace tallowfern {

/// Posts to a service and hands over its answer as it comes. Follows no redirection, trusts the system's certificates
/// and those that TALLOWFERN_CA_FILE adds, and goes through the system's proxy, but never for this computer. Nothing of
/// the network is set up before the first post. Main thread.
class HttpStream {
public:
    struct Listener {
        std::function<void()> onSent; ///< the last byte of the request is on its way
        /// A piece of a good answer, in order. True: that is all that was needed.
        std::function<bool(const QByteArray&)> onBytes;
    };
    struct Ending {
        ServiceReply reply; ///< with the body of an answer that is not good
        std::optional<AnswerFailure::Cause> broken; ///< what befell the connection, if anything did
    };

    HttpStream();
    ~HttpStream();

    /// `label` names the service where a setting is wrong. Ends at once when `stop` is requested, as cancelled.
    QCoro::Task<Ending> post(ServiceCall call, Listener listener, std::stop_token stop);

private:
    QNetworkAccessManager& network();

    std::unique_ptr<QNetworkAccessManager> m_network;
};

} // namespace tallowfern
