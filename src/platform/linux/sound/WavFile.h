#pragma once

#include "platform/AudioCapture.h"

#include <QByteArrayView>

#include <optional>

namespace tallowfern {

/// A WAV file that grows. Its header is true after every piece, so that whatever ends us leaves a file that plays.
class WavFile {
public:
    /// Makes the file, private to the user; there must be none. Throws SystemError.
    WavFile(const QString& path, const AudioSettings& settings);
    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;
    ~WavFile();

    /// Whole samples. The system's sentence when not all of them could be written; those that could are in the file.
    std::optional<QString> append(QByteArrayView samples);
    void close();

private:
    void writeSizes() const;

    int m_descriptor;
    quint32 m_blockBytes;
    quint32 m_dataBytes = 0;
};

} // namespace tallowfern
