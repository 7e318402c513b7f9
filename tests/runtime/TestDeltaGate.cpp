#include "fakes/VirtualClock.h"
#include "runtime/DeltaGate.h"

#include <gmock/gmock.h>

#include <QStringList>

namespace tallowfern {

using namespace Qt::StringLiterals;

TEST(DeltaGate, CoalescesWithoutDelayingWhatComesAfterAPause)
{
    VirtualClock clock;
    QStringList sent;
    DeltaGate gate(clock, [&](const QString& piece) { sent.append(piece); });
    for (const QString& blank : {u"\n"_s, u" \n"_s})
        gate.push(blank);
    EXPECT_EQ(sent, QStringList());
    gate.push(u"  a "_s);
    EXPECT_EQ(sent, QStringList({u"a "_s}));
    gate.push(u"b"_s);
    gate.push(u"c"_s);
    clock.advance(0.033);
    EXPECT_EQ(sent.size(), 1);
    clock.advance(0.001);
    EXPECT_EQ(sent, QStringList({u"a "_s, u"bc"_s}));
    clock.advance(1);
    gate.push(u" d"_s); // at once
    gate.push(u"e\n"_s);
    EXPECT_EQ(sent.last(), u" d"_s);
    gate.flush();
    clock.advance(1);
    EXPECT_EQ(sent, QStringList({u"a "_s, u"bc"_s, u" d"_s, u"e\n"_s}));
}

TEST(DeltaGate, LetsThirtyASecondThrough)
{
    VirtualClock clock;
    int sent = 0;
    qsizetype characters = 0;
    {
        DeltaGate gate(clock, [&](const QString& piece) {
            ++sent;
            characters += piece.size();
        });
        for (int i = 0; i < 1000; ++i) {
            gate.push(u"x"_s);
            clock.advance(0.001);
        }
        gate.flush();
    }
    clock.advance(1);
    EXPECT_LE(sent, 32);
    EXPECT_GE(sent, 28);
    EXPECT_EQ(characters, 1000);
}

} // namespace tallowfern
