#include "runtime/RequestReader.h"

#include <gmock/gmock.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

/// "request", or "rejected" with the identifier if there is one.
QStringList items(RequestReader& reader)
{
    QStringList found;
    while (const auto item = reader.take()) {
        const auto* rejected = std::get_if<RequestReader::Rejected>(&*item);
        if (!rejected)
            found.append(u"request"_s);
        else
            found.append(u"rejected "_s + (rejected->requestID ? rejected->requestID->toString().mid(1, 4) : u"-"_s));
    }
    return found;
}

} // namespace

TEST(RequestReader, AnswersEveryLineThatSaysWhoseItIs)
{
    AgentRuntimeRequest good;
    good.requestID = QUuid::createUuid();
    const QByteArray id = R"("requestID":"1234abcd-0000-0000-0000-000000000000")";
    const QByteArray stream = "\n" + encodedLine(good) + "{" + id + "}\n{\"version\":1," + id
        + ",\"command\":\"fly\",\"attachments\":[]}\n{\"requestID\":5}\ngarbage \xff\n[]\n" + encodedLine(good);
    for (const qsizetype size : {qsizetype(1), qsizetype(17), stream.size()}) {
        RequestReader reader;
        QStringList found;
        for (qsizetype at = 0; at < stream.size(); at += size) {
            reader.append(stream.mid(at, size));
            found += items(reader);
        }
        EXPECT_EQ(found.join(u'|'), u"request|rejected 1234|rejected 1234|rejected -|rejected -|rejected -|request"_s);
    }
}

TEST(RequestReader, SkipsALineWithoutEndInFlatMemory)
{
    RequestReader reader;
    const QByteArray chunk(1 << 20, 'x');
    QStringList found;
    for (int i = 0; i < 200; ++i) {
        reader.append(chunk);
        found += items(reader);
    }
    AgentRuntimeRequest good;
    good.requestID = QUuid::createUuid();
    reader.append("\n" + encodedLine(good));
    found += items(reader);
    EXPECT_EQ(found.join(u'|'), u"rejected -|request"_s);
}

} // namespace tallowfern
