#pragma once

#include "platform/PrivateSession.h"
#include "platform/linux/x11/X11Connection.h"

#include <QList>

namespace tallowfern {

/// An X server of the test's own, which DISPLAY names while this exists.
class PrivateDisplay {
public:
    enum class WindowManager { None, Openbox };

    explicit PrivateDisplay(WindowManager windowManager);
    ~PrivateDisplay();

    QProcess* start(const QString& program, const QStringList& arguments);
    /// Waits for the program's end.
    QByteArray output(const QString& program, const QStringList& arguments);
    void stopServer();

private:
    bool givesFocus();

    QByteArray m_earlierDisplay;
    QTemporaryDir m_folder;
    QProcess m_server;
    std::vector<std::unique_ptr<QProcess>> m_programs;
};

/// The display with a window manager that the tests share.
PrivateDisplay& sharedDisplay();

/// Presses and releases keys by their evdev codes, as a user would.
class Keyboard {
public:
    Keyboard();
    ~Keyboard();
    void press(quint32 evdev);
    void release(quint32 evdev);
    void tap(quint32 evdev);

private:
    void send(int type, quint32 evdev);

    std::unique_ptr<X11Connection> m_connection = X11Connection::open();
    QList<quint32> m_down;
};

/// A window of some other program that notes the keys it gets.
class TestWindow : public QObject {
public:
    struct Key {
        quint32 evdev;
        quint16 modifiers;

        bool operator==(const Key&) const = default;
    };

    explicit TestWindow(const QByteArray& windowClass, quint32 processIdentifier = 1);
    ~TestWindow() override;

    /// Its properties are set before; programs differ in which they have.
    void show();
    void setText(const QString& property, const QByteArray& value);
    void setNumbers(const QString& property, const QList<quint32>& values);
    void setAtom(const QString& property, const QString& value);
    void destroy();
    void takeFocus();
    xcb_window_t id() const { return m_window; }

    /// Pressed keys other than modifiers, with the modifiers at that moment.
    QList<Key> keys;

private:
    X11Connection& m_connection;
    xcb_window_t m_window;
};

} // namespace tallowfern
