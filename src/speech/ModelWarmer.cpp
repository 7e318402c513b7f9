#include "speech/ModelWarmer.h"

#include <QFile>
#include <QFileInfo>

namespace tallowfern {

namespace {

void readThrough(const QString& path, const std::atomic<bool>& ending)
{
    constexpr qint64 kPiece = qint64{1024} * 1024;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return; // the engine will say what is wrong with it
    QByteArray piece(kPiece, Qt::Uninitialized);
    while (!ending && file.read(piece.data(), kPiece) > 0) { }
}

} // namespace

ModelWarmer::~ModelWarmer()
{
    m_ending = true;
}

void ModelWarmer::warm(const QString& path)
{
    const QFileInfo file(path);
    const Version version{file.size(), file.lastModified()};
    if (!file.exists() || m_warmed.value(path) == version)
        return;
    m_warmed.insert(path, version);
    m_queue.post([path, &ending = m_ending] { readThrough(path, ending); });
}

} // namespace tallowfern
