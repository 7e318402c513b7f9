#include "agent/models/AgentModelCatalog.h"
#include "bridge/SystemModelAnswer.h"

#include <QCoreApplication>

#include <cstdio>

using namespace tallowfern;

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments().sliced(1);
    if (arguments.size() != 2 || arguments.front() != QStringLiteral("--models")) {
        std::fprintf(stderr, "usage: TallowfernAppleBridge --models FOLDER\n");
        return 2;
    }
    std::fputs(systemModelAnswer(agentModelCatalog(), arguments.back()).constData(), stdout);
    return 0;
}
