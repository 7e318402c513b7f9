#pragma once

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <optional>

namespace tallowfern {

/// The text, or nothing when a byte of it is no UTF-8.
std::optional<QString> strictUtf8(const QByteArray& bytes);

/// Finds the newest progress line in what an engine writes to its standard error, however the pieces fall: a line with
/// "progress", an equals sign, a number and a percent sign. The work is proportional to what comes, the memory fixed.
class ProgressScanner {
public:
    void append(const QByteArray& bytes);
    /// As written by the engine, in percent, of the newest line that has one. Nothing once a byte was no UTF-8.
    std::optional<double> percent() const;

private:
    void shortenLine();

    QStringDecoder m_decoder{QStringDecoder::Utf8};
    QString m_line; ///< the unfinished line, or its end
    bool m_lineSaysProgress = false; ///< the part of the unfinished line that was dropped did
    std::optional<double> m_finished; ///< of the newest finished line that has one
};

/// The end of what an engine wrote to its standard error: at least the last 64 KiB, never much more.
class ErrorTail {
public:
    void append(const QByteArray& bytes);
    /// The last two lines that are not empty, joined by a blank; empty when they cannot be read.
    QString message() const;

private:
    QByteArray m_bytes;
};

} // namespace tallowfern
