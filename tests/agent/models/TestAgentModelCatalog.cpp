#include "agent/models/AgentModelCatalog.h"

#include <gmock/gmock.h>

#include <QRegularExpression>
#include <QUrl>

#include <numeric>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;
using Role = AgentModelArtifact::Role;

TEST(AgentModelCatalog, HasARowForEachModelInOrder)
{
    struct Row {
        QString id;
        AgentModelProvider provider;
        bool images;
        int speed;
        int quality;
        int files;
    };
    using P = AgentModelProvider;
    const Row rows[]
        = {{u"apple-system"_s, P::AppleSystem, false, 4, 3, 0}, {u"qwen3-4b-q4"_s, P::LlamaCPP, false, 3, 3, 1},
            {u"qwen25-vl-3b-q4"_s, P::LlamaCPP, true, 3, 3, 2}, {u"deepseek-r1-15b-q4"_s, P::LlamaCPP, false, 2, 4, 1},
            {u"gemma4-e2b-q4"_s, P::LlamaCPP, true, 4, 2, 2}, {u"gemma4-e4b-q4"_s, P::LlamaCPP, true, 3, 4, 2},
            {u"muse-glimmer-30b"_s, P::LlamaCPP, true, 1, 5, 2}, {u"openai-luna"_s, P::OpenAI, true, 4, 3, 0},
            {u"openai-terra"_s, P::OpenAI, true, 3, 4, 0}, {u"openai-sol"_s, P::OpenAI, true, 2, 5, 0},
            {u"gemini-flash"_s, P::Gemini, true, 4, 4, 0}, {u"gemini-flash-lite"_s, P::Gemini, true, 4, 3, 0},
            {u"mistral-small"_s, P::Mistral, true, 4, 3, 0}, {u"mistral-medium"_s, P::Mistral, true, 3, 4, 0}};
    const auto& catalog = agentModelCatalog();
    ASSERT_EQ(catalog.size(), 14);
    for (qsizetype i = 0; i < catalog.size(); ++i) {
        const AgentModelDescriptor& model = catalog[i];
        EXPECT_EQ(model.id, rows[i].id);
        EXPECT_EQ(model.provider, rows[i].provider) << qPrintable(model.id);
        EXPECT_EQ(model.capabilities, (AgentModelCapabilities{true, rows[i].images})) << qPrintable(model.id);
        EXPECT_EQ(speedRating(model), rows[i].speed) << qPrintable(model.id);
        EXPECT_EQ(qualityRating(model), rows[i].quality) << qPrintable(model.id);
        EXPECT_EQ(model.artifacts.size(), rows[i].files) << qPrintable(model.id);
        EXPECT_EQ(model.recommendedFor16GB, i < 6) << qPrintable(model.id);
        EXPECT_FALSE(model.isCustom);
        for (const QString& text : {model.name, model.officialName, model.organization, model.detail, model.sizeLabel,
                 model.license, model.sourceRevision})
            EXPECT_FALSE(text.isEmpty()) << qPrintable(model.id);
        EXPECT_EQ(json::decode<AgentModelDescriptor>(json::encodeForStorage(model)), model);
    }
    AgentModelDescriptor own = catalog[6];
    own.id = u"own"_s;
    EXPECT_EQ(speedRating(own), 3);
    EXPECT_EQ(qualityRating(own), 3);
}

TEST(AgentModelCatalog, PinsEveryFileToItsRevisionAndItsBytes)
{
    static const QRegularExpression digest(u"^[0-9a-f]{64}$"_s);
    static const QRegularExpression revision(u"^[0-9a-f]{40}$"_s);
    QSet<QString> digests;
    qint64 bytes = 0;
    for (const AgentModelDescriptor& model : agentModelCatalog()) {
        EXPECT_EQ(model.modelArtifact().has_value(), !model.artifacts.isEmpty());
        EXPECT_EQ(model.projectorArtifact().has_value(), model.artifacts.size() == 2);
        for (const AgentModelArtifact& file : model.artifacts) {
            const Role expected = &file == &model.artifacts.first() ? Role::Model : Role::VisionProjector;
            EXPECT_EQ(file.role, expected) << qPrintable(file.fileName);
            EXPECT_TRUE(revision.match(model.sourceRevision).hasMatch()) << qPrintable(model.id);
            EXPECT_TRUE(digest.match(file.sha256).hasMatch()) << qPrintable(file.fileName);
            EXPECT_TRUE(file.url.startsWith(u'/')) << qPrintable(file.url);
            EXPECT_TRUE(
                file.url.endsWith(u"/resolve/"_s + model.sourceRevision + u'/' + file.fileName + u"?download=true"_s));
            EXPECT_TRUE(QUrl(u"https://hub"_s + file.url, QUrl::StrictMode).isValid()) << qPrintable(file.url);
            digests.insert(file.sha256);
            bytes += file.byteSize;
        }
    }
    EXPECT_EQ(digests.size(), 10);
    EXPECT_EQ(bytes, 33044707872); // the sum of the published sizes
}

} // namespace
} // namespace tallowfern
