#include "agent/models/AgentModelCatalog.h"
#include "bridge/SystemModelAnswer.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

class SystemModelAnswer : public testing::Test {
protected:
    void put(const QString& relativePath)
    {
        QDir(folder.path()).mkpath(QFileInfo(relativePath).path());
        QFile file(folder.filePath(relativePath));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    }
    QJsonObject answer() const
    {
        const QByteArray line = systemModelAnswer(agentModelCatalog(), folder.path());
        EXPECT_EQ(line.indexOf('\n'), line.size() - 1);
        return QJsonDocument::fromJson(line).object();
    }

    QTemporaryDir folder;
};

TEST_F(SystemModelAnswer, IsTheSmallestThatIsThereAndElseWhatToDownload)
{
    const QString toDownload = u"Download DeepSeek Compact (1.1 GB) under Models to use the model on this computer."_s;
    EXPECT_EQ(answer(), (QJsonObject{{u"error"_s, toDownload}}));
    put(u"qwen3-4b-q4/.Qwen3-4B-Q4_K_M.gguf.part"_s); // still on its way
    put(u"gemma4-e2b-q4/mmproj-gemma-4-E2B-it-Q8_0.gguf"_s); // not enough alone
    put(u"mine/mine.gguf"_s);
    EXPECT_EQ(answer(), (QJsonObject{{u"error"_s, toDownload}}));

    put(u"gemma4-e4b-q4/gemma-4-E4B-it-Q4_0.gguf"_s);
    EXPECT_EQ(answer().value(u"name"_s), u"Gemma 4 E4B"_s);
    put(u"qwen25-vl-3b-q4/Qwen2.5-VL-3B-Instruct-Q4_K_M.gguf"_s);
    put(u"qwen3-4b-q4/Qwen3-4B-Q4_K_M.gguf"_s);
    EXPECT_EQ(answer().value(u"name"_s), u"Qwen Vision"_s); // read as text it is the smaller one
    put(u"deepseek-r1-15b-q4/deepseek-r1-distill-qwen-1.5b-q4_0.gguf"_s);
    EXPECT_EQ(answer(),
        (QJsonObject{{u"name"_s, u"DeepSeek Compact"_s},
            {u"modelPath"_s, folder.filePath(u"deepseek-r1-15b-q4/deepseek-r1-distill-qwen-1.5b-q4_0.gguf"_s)}}));
}

TEST_F(SystemModelAnswer, IsPrintedByTheProgram)
{
    QProcess bridge;
    bridge.start(QStringLiteral(BRIDGE), {u"--models"_s, folder.path()});
    ASSERT_TRUE(bridge.waitForFinished());
    EXPECT_EQ(bridge.readAllStandardOutput(), systemModelAnswer(agentModelCatalog(), folder.path()));
    bridge.start(QStringLiteral(BRIDGE), {u"models"_s});
    ASSERT_TRUE(bridge.waitForFinished());
    EXPECT_EQ(bridge.exitCode(), 2);
}

} // namespace

} // namespace tallowfern
