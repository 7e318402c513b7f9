#include "agent/models/Sha256.h"

#include "foundation/LocalizedError.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QFile>
#include <QTemporaryDir>

namespace tallowfern {
namespace {

using namespace Qt::StringLiterals;

TEST(Sha256, IsThatOfTheWholeFileAtEverySize)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"file"_s);
    QByteArray bytes;
    for (const qsizetype size : {0, 1, 63, 64, 1048575, 1048576, 1048577, 3000000}) {
        while (bytes.size() < size)
            bytes.append(static_cast<char>((bytes.size() * 31 + bytes.size() / 257) & 0xff));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes.first(size));
        file.close();
        EXPECT_EQ(sha256OfFile(path),
            QString::fromLatin1(QCryptographicHash::hash(bytes.first(size), QCryptographicHash::Sha256).toHex()));
    }
}

TEST(Sha256, SaysWhatCannotBeReadAndEndsWhenToldTo)
{
    const QTemporaryDir folder;
    EXPECT_THROW(sha256OfFile(folder.filePath(u"missing"_s)), SystemError);
    EXPECT_THROW(sha256OfFile(folder.path()), SystemError);
    std::stop_source stop;
    stop.request_stop();
    EXPECT_EQ(sha256OfFile(u"/dev/zero"_s, stop.get_token()), std::nullopt);
}

} // namespace
} // namespace tallowfern
