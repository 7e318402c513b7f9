#include "bridge/SystemModelAnswer.h"

#include "foundation/Words.h"

#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QList<AgentModelDescriptor> textModelsSmallestFirst(const QList<AgentModelDescriptor>& catalog)
{
    QList<AgentModelDescriptor> models;
    for (const AgentModelDescriptor& model : catalog) {
        if (model.provider == AgentModelProvider::LlamaCPP && model.capabilities.text && model.modelArtifact())
            models.append(model);
    }
    std::sort(models.begin(), models.end(), [](const AgentModelDescriptor& one, const AgentModelDescriptor& other) {
        return one.modelArtifact()->byteSize < other.modelArtifact()->byteSize;
    });
    return models;
}

} // namespace

QByteArray systemModelAnswer(const QList<AgentModelDescriptor>& catalog, const QString& modelsFolder)
{
    const QList<AgentModelDescriptor> models = textModelsSmallestFirst(catalog);
    QJsonObject answer;
    for (const AgentModelDescriptor& model : models) {
        // A file is moved to its place whole, so one that is there is complete.
        const QString path = modelsFolder + u'/' + model.id + u'/' + model.modelArtifact()->fileName;
        if (!QFileInfo(path).isFile())
            continue;
        answer.insert(u"modelPath"_s, path);
        answer.insert(u"name"_s, model.name);
        break;
    }
    if (answer.isEmpty()) {
        const AgentModelDescriptor smallest = models.value(0);
        answer.insert(u"error"_s,
            words("Download %1 (%2) under Models to use the model on this computer.")
                .arg(smallest.name, smallest.sizeLabel));
    }
    return QJsonDocument(answer).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace tallowfern
