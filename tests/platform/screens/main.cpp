#include "platform/x11/PrivateDisplay.h"

#include <QGuiApplication>

#include <gmock/gmock.h>

#include <optional>

/// The windowing of Qt connects when the application object is made, so the display comes first.
int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    {
        const QCoreApplication starting(argc, argv);
        tallowfern::sharedDisplay();
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
