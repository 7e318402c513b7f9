#include "agent/protocol/AgentLines.h"

#include <gmock/gmock.h>

#include <QJsonDocument>

namespace tallowfern {

using namespace Qt::StringLiterals;

TEST(AgentLines, CarryARequestWithoutAbsentKeysOnOneLine)
{
    AgentRuntimeRequest request;
    request.requestID = QUuid(u"11111111-2222-3333-4444-55555555aaaa"_s);
    request.command = AgentProtocolCommand::Continue;
    request.instruction = u"one\ntwo – “three”"_s;
    request.cloudAPIKey = Secret("sk-test");
    request.reasoningEffort = AgentReasoningEffort::XHigh;
    AgentContextAttachment attachment;
    attachment.id = QUuid::createUuid();
    attachment.text = u"selected"_s;
    attachment.createdAt = QDateTime(QDate(2026, 3, 4), QTime(5, 6, 7), Qt::UTC);
    request.attachments = {attachment};
    const QByteArray line = encodedLine(request);
    EXPECT_EQ(line.count('\n'), 1);
    EXPECT_TRUE(line.endsWith('\n'));
    EXPECT_EQ(decodedRequest(line.chopped(1)), request);
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    EXPECT_EQ(
        object.keys().join(u' '), u"attachments cloudAPIKey command instruction reasoningEffort requestID version"_s);
    EXPECT_EQ(object[u"reasoningEffort"_s].toString(), u"xhigh"_s);
    EXPECT_EQ(object[u"attachments"_s][0][u"createdAt"_s].toString(), u"2026-03-04T05:06:07Z"_s);
    EXPECT_EQ(QUuid(object[u"requestID"_s].toString()), request.requestID);
}

TEST(AgentLines, RefuseWhatIsNoMessage)
{
    const QByteArray id = R"("requestID":"11111111-2222-3333-4444-555555555555")";
    const QByteArray bad[] = {"", "{}", "[]", "null", "{\"version\":1}", R"({"kind":"phase"})",
        R"({"version":1,"kind":"shrug"})", R"({"version":1,"kind":"phase","phase":"dreaming"})",
        R"({"version":1,"kind":"delta","requestID":"not an id"})", R"({"version":1,"kind":"delta","text":5})",
        R"({"version":"1","kind":"delta"})", "{\"version\":1,\"kind\":\"delta\"", "\xff\xfe"};
    for (const QByteArray& line : bad)
        EXPECT_THROW(decodedEvent(line), json::DecodingError) << line.constData();
    EXPECT_EQ(decodedEvent("{\"version\":2,\"kind\":\"delta\",\"novel\":{}," + id + "}\r").version, 2);
    EXPECT_THROW(decodedRequest("{\"version\":1,\"command\":\"run\"," + id + "}"), json::DecodingError);
    EXPECT_THROW(
        decodedRequest("{\"version\":1,\"command\":\"fly\",\"attachments\":[]," + id + "}"), json::DecodingError);
}

TEST(AgentLines, AreCutFromAnyPieces)
{
    LineBuffer buffer;
    QByteArrayList lines;
    const QByteArray stream = "one\n\ntwo\nthree";
    for (const char byte : stream) {
        buffer.append(QByteArray(1, byte));
        while (const auto line = buffer.takeLine())
            lines.append(*line);
    }
    EXPECT_EQ(lines, QByteArrayList({"one", "", "two"}));
    EXPECT_EQ(buffer.size(), 5);
    buffer.clear();
    buffer.append("x\n");
    EXPECT_EQ(buffer.takeLine(), QByteArray("x"));
}

} // namespace tallowfern
