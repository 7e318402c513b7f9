#include "system/HubAddress.h"

#include "foundation/LocalizedError.h"
#include "foundation/Words.h"

namespace tallowfern {

QUrl addressOnHub(const QString& hub, const QString& path)
{
    if (hub.isEmpty()) {
        throw SystemError(
            words("No model hub is configured. Set \"hubBaseURL\" in the preferences or TALLOWFERN_HUB in "
                  "the environment to its address."));
    }
    const QString base = hub.endsWith(u'/') ? hub.chopped(1) : hub;
    return QUrl(path.startsWith(u'/') ? base + path : base + u'/' + path);
}

} // namespace tallowfern
