#include "speech/Vocabulary.h"

#include <gtest/gtest.h>

namespace tallowfern {

using namespace Qt::StringLiterals;

TEST(Vocabulary, RespellsWholeWordsAndNothingElse)
{
    struct Case {
        QStringList terms;
        QString text;
        QString expected;
    };
    const Case cases[] = {
        {{}, u"nothing"_s, u"nothing"_s},
        {{u"iOS"_s}, u"ios (ios) IOS, ios. biosphere ios2 2ios ios_x"_s,
            u"iOS (iOS) iOS, iOS. biosphere ios2 2ios iOS_x"_s},
        {{u"York"_s, u"New York"_s}, u"new york york"_s, u"New York York"_s},
        {{u"York"_s, u"new YORK"_s}, u"New York"_s, u"new York"_s}, // the shorter term acts inside the longer one
        {{u"X++"_s}, u"x++ code x++11 x+"_s, u"X++ code x++11 x+"_s},
        {{u"a.b"_s}, u"A.B axb"_s, u"a.b axb"_s},
        {{u"A\\1$0&"_s}, u"say a\\1$0&!"_s, u"say A\\1$0&!"_s},
        {{u"Ёлка"_s, u"Straße"_s}, u"ёлка ёлкам STRASSE straße éstraße"_s, u"Ёлка ёлкам STRASSE Straße éstraße"_s},
        {{u"日本"_s, u"🎉 Party"_s}, u"日本語 日本 🎉 party"_s, u"日本語 日本 🎉 Party"_s},
        {{u""_s, QString(QChar(0xD800)), u"Acme"_s}, u"acme"_s, u"Acme"_s}, // one that does not compile is passed over
        // Characters as people count them: the family is one, so "ab" is the longer and comes first.
        {{u"👨‍👩‍👧"_s, u"AB"_s, u"Ab 👨‍👩‍👧"_s}, u"ab 👨‍👩‍👧"_s,
            u"AB 👨‍👩‍👧"_s},
    };
    for (const Case& given : cases)
        EXPECT_EQ(normalizeVocabulary(given.text, given.terms), given.expected) << given.text.toStdString();
}

TEST(Vocabulary, AddsATermOnceAndInOrder)
{
    const QStringList list{u"Acme"_s};
    EXPECT_EQ(addingTerm({}, u" \t Acme\n"_s), list);
    EXPECT_EQ(addingTerm(list, u"ACME"_s), std::nullopt);
    EXPECT_EQ(addingTerm(list, u" \n"_s), std::nullopt);
    EXPECT_EQ(addingTerm({u"zeta"_s}, u"Alpha"_s), (QStringList{u"Alpha"_s, u"zeta"_s}));
    EXPECT_EQ(addingTerm({u"beta"_s, u"Gamma"_s}, u"alpha"_s), (QStringList{u"alpha"_s, u"beta"_s, u"Gamma"_s}));
    EXPECT_EQ(removingTerm({u"Acme"_s, u"acme"_s, u"Acme"_s}, u"Acme"_s), QStringList{u"acme"_s});
    EXPECT_EQ(removingTerm(list, u"acme"_s), list);
}

TEST(Vocabulary, PromptStaysWithinWhatACommandLineHolds)
{
    EXPECT_EQ(vocabularyPrompt({u"Zoë"_s, u"X++"_s}), u"Zoë, X++"_s);
    EXPECT_EQ(vocabularyPrompt({}), QString());
    QStringList many;
    for (int i = 0; i < 20000; ++i)
        many.append(u"Größe%1"_s.arg(i));
    const QString prompt = vocabularyPrompt(many);
    EXPECT_LE(prompt.toUtf8().size(), 100 * 1024);
    EXPECT_GT(prompt.toUtf8().size(), 100 * 1024 - 20);
    EXPECT_TRUE(prompt.startsWith(u"Größe"_s)); // whole terms only
    EXPECT_TRUE(prompt.endsWith(u", Größe19999"_s));
    EXPECT_EQ(vocabularyPrompt({QString(200000, u'x')}), QString());
}

} // namespace tallowfern
