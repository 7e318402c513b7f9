#include "interface/TrayIcon.h"

#include <QBuffer>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QPalette>
#include <QPixmap>

namespace tallowfern {

using namespace Qt::StringLiterals;

namespace {

QString nameFor(CaptureStatus::Case state)
{
    switch (state) {
    case CaptureStatus::Case::Recording:
        return u"tallowfern-tray-recording-symbolic"_s;
    case CaptureStatus::Case::Processing:
        return u"tallowfern-tray-working-symbolic"_s;
    default:
        return u"tallowfern-tray-idle-symbolic"_s;
    }
}

/// The drawing in the colour that stands out from the desktop's windows; nobody tells the panel's own colour.
QByteArray tinted(QByteArray drawing)
{
    constexpr int kMiddle = 128;
    const bool lightDesktop = QGuiApplication::palette().color(QPalette::Window).lightness() > kMiddle;
    return lightDesktop ? drawing.replace("#bebebe", "#232629") : drawing;
}

} // namespace

QIcon trayIcon(CaptureStatus::Case state)
{
    const QString name = nameFor(state);
    if (QIcon::hasThemeIcon(name))
        return QIcon::fromTheme(name);
    QFile file(u":/icons/%1.svg"_s.arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray drawing = tinted(file.readAll());
    QIcon icon;
    for (const int size : {16, 18, 22, 24, 32, 36, 44, 48}) { // what trays ask for, at one and two times the scale
        QBuffer buffer(&drawing);
        QImageReader reader(&buffer, "svg");
        reader.setScaledSize({size, size});
        icon.addPixmap(QPixmap::fromImage(reader.read()));
    }
    return icon;
}

} // namespace tallowfern
