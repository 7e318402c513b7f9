#include "speech/EngineOutput.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

std::optional<double> percentAfter(const QByteArray& bytes, qsizetype firstPiece)
{
    ProgressScanner scanner;
    scanner.append(bytes.first(firstPiece));
    scanner.append(bytes.sliced(firstPiece));
    return scanner.percent();
}

} // namespace

TEST(ProgressScanner, FindsTheNewestProgressLineWhereverThePiecesFall)
{
    struct Case {
        QByteArray written;
        std::optional<double> percent;
    };
    const Case cases[] = {
        {"whisper_print_progress_callback: progress =  46%\n", 46},
        {"progress =  46%\nprogress = 92%\n", 92},
        {"progress = 46%", 46}, // not ended yet, and counts
        {"progress = \t7.5 \t%\r\n", 7.5},
        {"progress = 46%\nprogress = abc%\n", 46},
        {"progress = 46%\nprogress: done\nlast line\n", 46},
        {"progress = 46%\nprogress = 50% = what\n", 46}, // the percent sign must follow the last equals sign
        {"progress = 46%\nprogress 60%\n", 46},
        {"a = 1%, progress = 2%, b = 3%\n", 3},
        {"Progress = 46%\nload = 30%\n", std::nullopt},
        {"progress = 1%\vprogress = 2%\fprogress = 3%\rprogress = x%", 3},
        {"progress = 1%\u2028progress = 2%\u2029progress = 3%\u0085none", 3},
        {"progress = 601%\n", 601},
        {"progress = nan%\n", std::nullopt},
        {"progress = 46%\n\xff\xfe broken\n", std::nullopt},
        {"", std::nullopt},
    };
    for (const Case& given : cases) {
        for (qsizetype split = 0; split <= given.written.size(); ++split)
            EXPECT_EQ(percentAfter(given.written, split), given.percent) << given.written.data() << " at " << split;
    }
}

TEST(ProgressScanner, StaysFastAndSmallOnALineWithoutEnd)
{
    ProgressScanner scanner;
    const QByteArray piece(1000, 'x');
    QElapsedTimer timer;
    timer.start();
    scanner.append("progress");
    for (int i = 0; i < 20000; ++i) { // 20 MB; work that grows with the line would take minutes
        scanner.append(piece);
        scanner.percent();
    }
    scanner.append("= 12%");
    EXPECT_EQ(scanner.percent(), 12);
    EXPECT_LT(timer.elapsed(), 10000);
}

TEST(ErrorTail, SaysTheLastTwoLinesOfWhateverWasWritten)
{
    const QByteArray longLine = QByteArray("\u20ac").repeated(100000); // three bytes each: some cut falls inside one
    struct Case {
        QByteArray written;
        QString message;
    };
    const Case cases[] = {
        {"one\n\nthree\nfour\n", u"three four"_s},
        {"one\n\nthree\n\n\nfour", u"three four"_s},
        {"only", u"only"_s},
        {"", u""_s},
        {"good\nbad \xc3\x28\n", u""_s},
        {"cut off \xe2\x82", u""_s},
        {longLine + "\nwhat failed\nwhat to do\n", u"what failed what to do"_s},
        {longLine + "x\nwhat failed\nwhat to do\n", u"what failed what to do"_s},
        {longLine + "xy\nwhat failed\nwhat to do\n", u"what failed what to do"_s},
        {QByteArray("\xff\n").repeated(100000) + QByteArray("noise\n").repeated(40000) + "end\n", u"noise end"_s},
    };
    for (const Case& given : cases) {
        ErrorTail tail;
        for (qsizetype at = 0; at < given.written.size(); at += 4099)
            tail.append(given.written.mid(at, 4099));
        EXPECT_EQ(tail.message(), given.message);
    }
}

} // namespace tallowfern
