// Hashes one file as the application does, and prints the digest and the seconds that it took:
//     hashing_hash FILE

#include "agent/models/Sha256.h"
#include "foundation/LocalizedError.h"

#include <QElapsedTimer>

#include <cstdio>

int main(int, char** argv)
{
    QElapsedTimer timer;
    timer.start();
    try {
        const auto digest = tallowfern::sha256OfFile(QString::fromLocal8Bit(argv[1]));
        std::printf(
            "%s %.3f\n", qPrintable(digest.value_or(QString())), static_cast<double>(timer.nsecsElapsed()) / 1e9);
    } catch (const tallowfern::LocalizedError& error) {
        std::fprintf(stderr, "%s\n", qPrintable(error.description()));
        return 1;
    }
}
