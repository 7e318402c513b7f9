#include "runtime/server/ServerLog.h"

#include <gtest/gtest.h>

#include <csignal>

namespace tallowfern {

using namespace Qt::StringLiterals;

TEST(ServerLog, FindsTheAddressInAnyPieces)
{
    const QByteArray line = "0.00.134.066 I srv  llama_server: listening on http://127.0.0.1:43877\n";
    for (qsizetype cut = 0; cut <= line.size(); ++cut) {
        ServerLog log;
        log.append("0.00.1 I srv  llama_server: model loaded\n" + line.first(cut));
        EXPECT_EQ(log.address().has_value(), cut == line.size()) << cut;
        log.append(line.sliced(cut));
        EXPECT_EQ(log.address(), QUrl(u"http://127.0.0.1:43877"_s)) << cut;
    }
}

TEST(ServerLog, TakesNoOtherHostAndNoEndlessLineForAnAddress)
{
    ServerLog log;
    log.append("listening on http://192.168.0.1:80\nlistening on unix:///x.sock\n");
    log.append(QByteArray(5'000'000, 'x'));
    log.append("listening on http://127.0.0.1:80\n");
    EXPECT_EQ(log.address(), std::nullopt);
    log.append("listening on http://127.0.0.1:81\n");
    EXPECT_EQ(log.address(), QUrl(u"http://127.0.0.1:81"_s));
}

TEST(ServerLog, TellsTheCauseOfEachEnd)
{
    struct Case {
        QByteArray lines;
        ProcessExit exit;
        ServerEnd cause;
    };
    const ProcessExit failed{false, 1};
    const Case cases[] = {
        {"failed to open GGUF file '/m' (No such file or directory)", failed, ServerEnd::ModelMissing},
        {"failed to open GGUF file '/m' (Permission denied)", failed, ServerEnd::ModelUnreadable},
        {"tensor 'output.weight' data is not within the file bounds, model is corrupted or incomplete", failed,
            ServerEnd::ModelDamaged},
        {"failed to read key-value pairs", failed, ServerEnd::ModelDamaged},
        {"invalid magic characters: 'lmgg', expected 'GGUF'", failed, ServerEnd::ModelDamaged},
        {"CLIP cannot be used as main model, use it with --mmproj instead", failed, ServerEnd::ModelOfAnotherKind},
        {"failed to open GGUF file '/p' (No such file or directory)\nfailed to load multimodal model, '/p'", failed,
            ServerEnd::ProjectorBad},
        {"failed to allocate buffer for kv cache\nfailed to create_context with model", failed, ServerEnd::Memory},
        {"error: invalid argument: --reasoning", failed, ServerEnd::ServerTooOld},
        {"unknown model architecture: 'new'", failed, ServerEnd::ServerTooOld},
        {"libgomp.so.1: error while loading shared libraries: No such file or directory", {false, 127},
            ServerEnd::ServerIncomplete},
        {"all is well", {true, SIGKILL}, ServerEnd::Killed}, {"", {true, SIGILL}, ServerEnd::ProcessorTooOld},
        {"", {true, SIGSEGV}, ServerEnd::Unknown},
        {"failed to allocate" + QByteArray("\nx").repeated(100), failed, ServerEnd::Unknown}, // long ago
    };
    for (const Case& each : cases) {
        ServerLog log;
        log.append(each.lines + "\nexiting due to model loading error");
        EXPECT_EQ(log.cause(each.exit), each.cause) << each.lines.toStdString();
    }
}

} // namespace tallowfern
