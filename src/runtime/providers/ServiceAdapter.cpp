#include "runtime/providers/ServiceAdapter.h"

#include "foundation/Words.h"
#include "runtime/providers/ChatAdapter.h"
#include "runtime/providers/GeminiAdapter.h"
#include "runtime/providers/OpenAIAdapter.h"

namespace tallowfern {

using namespace Qt::StringLiterals;

std::unique_ptr<ServiceAdapter> adapterFor(AgentModelProvider provider)
{
    switch (provider) {
    case AgentModelProvider::OpenAI:
        return std::make_unique<OpenAIAdapter>();
    case AgentModelProvider::Gemini:
        return std::make_unique<GeminiAdapter>();
    case AgentModelProvider::Mistral:
        return std::make_unique<ChatAdapter>(ChatAdapter::Service::Mistral);
    case AgentModelProvider::AppleSystem:
    case AgentModelProvider::LlamaCPP:
        break;
    }
    return std::make_unique<ChatAdapter>(ChatAdapter::Service::LocalServer);
}

QUrl serviceAddress(const char* variable, const QString& standard, const QString& path, const QString& label)
{
    QString base = qEnvironmentVariable(variable);
    if (base.isEmpty())
        base = standard;
    while (base.endsWith(u'/'))
        base.chop(1);
    const QUrl url(base + path, QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != u"https"_s || url.host().isEmpty())
        throw AnswerFailure(AnswerFailure::Cause::Unreachable,
            words("The address of %1 has to begin with https://. Correct %2.")
                .arg(label, QString::fromLatin1(variable)));
    return url;
}

} // namespace tallowfern
