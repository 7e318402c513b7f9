#pragma once

#include "agent/protocol/AgentTypes.h"
#include "foundation/Json.h"

#include <QList>
#include <QString>

#include <optional>

namespace tallowfern {

/// What runs a writing model.
enum class AgentModelProvider { AppleSystem, LlamaCPP, OpenAI, Gemini, Mistral };
inline constexpr auto enumStrings(AgentModelProvider)
{
    using E = AgentModelProvider;
    return std::array{EnumString{E::AppleSystem, "appleSystem"}, EnumString{E::LlamaCPP, "llamaCPP"},
        EnumString{E::OpenAI, "openAI"}, EnumString{E::Gemini, "gemini"}, EnumString{E::Mistral, "mistral"}};
}

AgentWritingProvider writingProvider(AgentModelProvider provider);
/// A service on the network, to be reached with the user's key.
bool isCloud(AgentModelProvider provider);

struct AgentModelCapabilities {
    bool text = true;
    bool images = false;

    bool operator==(const AgentModelCapabilities&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentModelCapabilities;
        return std::tuple{json::required("text", &S::text), json::required("images", &S::images)};
    }
};

/// A file of a model.
struct AgentModelArtifact {
    enum class Role { Model, VisionProjector };

    QString fileName; ///< inside the model's folder
    QString url; ///< where to fetch it; beginning with "/", below the address of the model hub
    qint64 byteSize = 0;
    QString sha256; ///< of the whole file, 64 lower-case hexadecimal digits
    Role role = Role::Model;

    bool operator==(const AgentModelArtifact&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentModelArtifact;
        return std::tuple{json::required("fileName", &S::fileName), json::required("url", &S::url),
            json::required("byteSize", &S::byteSize), json::required("sha256", &S::sha256),
            json::required("role", &S::role)};
    }
};
inline constexpr auto enumStrings(AgentModelArtifact::Role)
{
    using E = AgentModelArtifact::Role;
    return std::array{EnumString{E::Model, "model"}, EnumString{E::VisionProjector, "visionProjector"}};
}

/// A writing model: what to show, what to fetch, what runs it.
struct AgentModelDescriptor {
    QString id; ///< stable; the settings hold it
    QString name;
    QString officialName; ///< for a cloud model the identifier that the service knows
    QString organization;
    QString detail;
    QString sizeLabel;
    QString license;
    QString sourceRevision;
    AgentModelProvider provider = AgentModelProvider::LlamaCPP;
    AgentModelCapabilities capabilities;
    QList<AgentModelArtifact> artifacts; ///< in the order of download, the model's own file first
    bool isCustom = false;
    bool recommendedFor16GB = false;
    std::optional<qint64> minimumMemoryGB;
    std::optional<qint64> recommendedMemoryGB;

    bool operator==(const AgentModelDescriptor&) const = default;
    static constexpr auto jsonFields()
    {
        using S = AgentModelDescriptor;
        return std::tuple{json::required("id", &S::id), json::required("name", &S::name),
            json::required("officialName", &S::officialName), json::required("organization", &S::organization),
            json::required("detail", &S::detail), json::required("sizeLabel", &S::sizeLabel),
            json::required("license", &S::license), json::required("sourceRevision", &S::sourceRevision),
            json::required("provider", &S::provider), json::required("capabilities", &S::capabilities),
            json::required("artifacts", &S::artifacts), json::required("isCustom", &S::isCustom),
            json::required("recommendedFor16GB", &S::recommendedFor16GB),
            json::tolerated("minimumMemoryGB", &S::minimumMemoryGB),
            json::tolerated("recommendedMemoryGB", &S::recommendedMemoryGB)};
    }

    std::optional<AgentModelArtifact> modelArtifact() const;
    std::optional<AgentModelArtifact> projectorArtifact() const;
};

} // namespace tallowfern
