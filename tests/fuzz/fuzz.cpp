// Damages what is well formed at random places and gives it to each reader in turn. A reader may refuse; it may not
// crash, hang, or read what is not there, which the sanitizers tell.

#include "engines/EngineFailure.h"
#include "engines/PauseShortener.h"
#include "engines/Prompt.h"
#include "engines/Repetition.h"
#include "engines/SilenceCutter.h"
#include "engines/WavFile.h"
#include "foundation/Json.h"
#include "foundation/LocalizedError.h"
#include "history/HistoryItem.h"
#include "platform/linux/preferences/PreferenceJson.h"
#include "speech/EngineOutput.h"
#include "speech/Vocabulary.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <array>
#include <cstdio>
#include <random>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

using Random = std::mt19937;

std::size_t below(Random& random, qsizetype count)
{
    return std::uniform_int_distribution<std::size_t>(0, static_cast<std::size_t>(std::max<qsizetype>(count, 1)) - 1)(
        random);
}

QByteArray damaged(QByteArray bytes, Random& random)
{
    for (std::size_t times = below(random, 8) + 1; times > 0; --times) {
        const auto at = static_cast<qsizetype>(below(random, bytes.size()));
        const auto length = static_cast<qsizetype>(below(random, 64));
        switch (below(random, 5)) {
        case 0:
            bytes.remove(at, length);
            break;
        case 1:
            bytes.insert(at, bytes.mid(static_cast<qsizetype>(below(random, bytes.size())), length));
            break;
        case 2:
            bytes.truncate(at);
            break;
        case 3:
            bytes.insert(at, QByteArray(length, static_cast<char>(below(random, 256))));
            break;
        default:
            if (at < bytes.size())
                bytes[at] = static_cast<char>(below(random, 256));
        }
    }
    return bytes;
}

QByteArray recording()
{
    // RIFF, 16 kHz mono in 16 bits, a tenth of a second.
    QByteArray bytes
        = QByteArray::fromHex("52494646a40c000057415645666d74201000000001000100803e0000007d0000020010006461746180"
                              "0c0000");
    for (int i = 0; i < 1600; ++i)
        bytes.append(static_cast<char>(i * 7)).append(static_cast<char>(i % 3));
    return bytes;
}

void hear(const QByteArray& bytes, const QTemporaryDir& folder)
{
    const QString path = folder.filePath(u"take.wav"_s);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return;
    file.write(bytes);
    file.close();
    try {
        const auto samples = withShortPauses(readWavFile(path.toStdString()));
        for (const auto& window : cutAtSilences(samples, 1)) {
            if (window.end > samples.size() || window.begin > window.end)
                std::abort();
        }
    } catch (const EngineFailure&) {
        return; // refused with a sentence
    }
}

void readPreferences(const QByteArray& bytes)
{
    try {
        const QJsonObject values = preferencesFromJson(bytes);
        for (auto it = values.begin(); it != values.end(); ++it)
            preferenceFromJson(*it);
    } catch (const json::DecodingError&) {
        return;
    }
}

void readHistory(const QByteArray& bytes)
{
    try {
        json::decode<QList<HistoryItem>>(bytes);
    } catch (const json::DecodingError&) {
        return;
    }
}

void readEngine(const QByteArray& bytes)
{
    ProgressScanner scanner;
    ErrorTail tail;
    for (qsizetype at = 0; at < bytes.size(); at += 7) {
        scanner.append(bytes.mid(at, 7));
        tail.append(bytes.mid(at, 7));
    }
    scanner.percent();
    tail.message();
    const auto text = strictUtf8(bytes);
    if (text)
        normalizeVocabulary(*text, {*text, u"a.b"_s, u"X++"_s});
    const std::string raw = bytes.toStdString();
    boundedPrompt(raw);
    repeatsItself(raw);
}

} // namespace

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? QByteArray(argv[1]).toInt() : 10;
    const unsigned seed = argc > 2 ? QByteArray(argv[2]).toUInt() : std::random_device()();
    std::printf("%d s of damaged input, seed %u\n", seconds, seed);
    std::fflush(stdout);
    Random random(seed);
    const QTemporaryDir folder;
    const QByteArray preferences
        = R"({"vocabulary": ["a", "b"], "clipboardRestoreDelay": 5, "agentSettings": {"data": "e30="},
        "overlayRelativeX": 0.5, "automaticPaste": true, "selectedModelID": "pocket"})";
    const QByteArray history = R"([{"id": "6F9619FF-8B86-D011-B42D-00CF4FC964FF", "text": "wörds", "duration": 4.2,
        "createdAt": "2026-01-01T08:00:00Z", "modelID": "pocket"}])";
    const QByteArray output
        = "whisper_print_progress_callback: progress =  42%\nerror: no such thing\n w\xc3\xb6rds here\n";
    const QByteArray sound = recording();
    QElapsedTimer timer;
    timer.start();
    long rounds = 0;
    for (; timer.elapsed() < seconds * 1000; ++rounds) {
        hear(damaged(sound, random), folder);
        readPreferences(damaged(preferences, random));
        readHistory(damaged(history, random));
        readEngine(damaged(output, random));
    }
    std::printf("%ld rounds\n", rounds);
    return 0;
}
