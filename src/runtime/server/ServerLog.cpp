#include "runtime/server/ServerLog.h"

#include "foundation/Words.h"

#include <QRegularExpression>

#include <algorithm>
#include <csignal>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestLine = 1024; // bytes; of a longer one the beginning counts
constexpr qsizetype kLinesKept = 64;

struct Row {
    const char* text; ///< in one of the last lines
    ServerEnd cause;
};
/// The first row that fits counts: one failure's own line has lines of others before it.
constexpr Row kRows[] = {
    {"error while loading shared libraries", ServerEnd::ServerIncomplete},
    {"error: invalid argument", ServerEnd::ServerTooOld},
    {"unknown model architecture", ServerEnd::ServerTooOld},
    {"failed to allocate", ServerEnd::Memory},
    {"unable to allocate", ServerEnd::Memory},
    {"bad_alloc", ServerEnd::Memory},
    {"failed to load multimodal model", ServerEnd::ProjectorBad},
    {"CLIP cannot be used as main model", ServerEnd::ModelOfAnotherKind},
    {"(No such file or directory)", ServerEnd::ModelMissing},
    {"failed to open GGUF file", ServerEnd::ModelUnreadable},
    {"not within the file bounds", ServerEnd::ModelDamaged},
    {"failed to read key-value pairs", ServerEnd::ModelDamaged},
    {"failed to read magic", ServerEnd::ModelDamaged},
    {"invalid magic characters", ServerEnd::ModelDamaged},
    {"failed to read", ServerEnd::ModelDamaged},
};

QString causeWords(ServerEnd cause)
{
    switch (cause) {
    case ServerEnd::Memory:
        return words("there was not enough free memory. Close some applications or choose a smaller model.");
    case ServerEnd::ModelMissing:
        return words("its file is missing. Download it again under Models.");
    case ServerEnd::ModelUnreadable:
        return words("its file cannot be read.");
    case ServerEnd::ModelDamaged:
        return words("its file is damaged. Delete it under Models and download it again.");
    case ServerEnd::ModelOfAnotherKind:
        return words("its file is not a writing model.");
    case ServerEnd::ProjectorBad:
        return words("its file for images is missing or damaged. Delete it under Models and download it again.");
    case ServerEnd::ServerTooOld:
        return words("the installed llama-server is too old. Install a newer one.");
    case ServerEnd::ServerIncomplete:
        return words("the installed llama-server lacks a library. Install it again.");
    case ServerEnd::Killed:
        return words("the system ended it, most likely for lack of memory.");
    case ServerEnd::ProcessorTooOld:
        return words("the installed llama-server needs a newer processor.");
    case ServerEnd::Unknown:
        break;
    }
    return words("its server ended unexpectedly.");
}

} // namespace

QString stoppedSentence(const QString& modelName, ServerEnd cause)
{
    return words("%1 stopped: %2").arg(modelName, causeWords(cause));
}

void ServerLog::append(const QByteArray& bytes)
{
    for (qsizetype begin = 0; begin < bytes.size();) {
        const qsizetype end = bytes.indexOf('\n', begin);
        const qsizetype count = (end < 0 ? bytes.size() : end) - begin;
        m_rest += bytes.mid(begin, std::min(count, kLongestLine - m_rest.size()));
        if (end < 0)
            return;
        take(std::exchange(m_rest, {}));
        begin = end + 1;
    }
}

void ServerLog::take(const QByteArray& line)
{
    m_lines.append(line);
    if (m_lines.size() > kLinesKept)
        m_lines.removeFirst();
    if (m_address)
        return;
    static const QRegularExpression listening(u"listening on (http://127\\.0\\.0\\.1:[0-9]{1,5})(?![0-9])"_s);
    const auto match = listening.match(QString::fromUtf8(line));
    if (match.hasMatch())
        m_address = QUrl(match.captured(1));
}

ServerEnd ServerLog::cause(ProcessExit exit) const
{
    for (const Row& row : kRows) {
        const auto holds = [&](const QByteArray& line) { return line.contains(row.text); };
        if (holds(m_rest) || std::any_of(m_lines.begin(), m_lines.end(), holds))
            return row.cause;
    }
    if (exit.crashed && exit.status == SIGKILL)
        return ServerEnd::Killed;
    if (exit.crashed && exit.status == SIGILL)
        return ServerEnd::ProcessorTooOld;
    return ServerEnd::Unknown;
}

} // namespace tallowfern
