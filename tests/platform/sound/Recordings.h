#pragma once

#include <algorithm>
#include <cmath>

#include <QFile>
#include <QList>
#include <QString>
#include <QtEndian>

namespace tallowfern {

/// The samples of a 16 kHz mono recording, as far as its header tells of them.
inline QList<qint16> samplesOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    const auto size = qFromLittleEndian<quint32>(bytes.constData() + 40);
    if (bytes.size() < 44 + qint64(size) || qFromLittleEndian<quint32>(bytes.constData() + 4) != size + 36)
        return {};
    QList<qint16> samples(size / 2);
    qFromLittleEndian<qint16>(bytes.constData() + 44, samples.size(), samples.data());
    return samples;
}

/// Seconds between the first and the last sample that can be heard.
inline double audibleSeconds(const QList<qint16>& samples)
{
    qsizetype first = -1;
    qsizetype last = -1;
    for (qsizetype place = 0; place < samples.size(); ++place) {
        if (qAbs(samples[place]) < 300)
            continue;
        first = first < 0 ? place : first;
        last = place;
    }
    return double(last - first) / 16000;
}

inline double loudestOf(const QList<qint16>& samples)
{
    double loudest = 0;
    for (const qint16 sample : samples)
        loudest = std::max(loudest, std::abs(double(sample)));
    return loudest;
}

inline double energyOf(const QList<qint16>& samples)
{
    double energy = 0;
    for (const qint16 sample : samples)
        energy += double(sample) * sample;
    return energy;
}

} // namespace tallowfern
