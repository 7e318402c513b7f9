#pragma once

#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <memory>
#include <vector>

namespace tallowfern {

/// A desktop session of the test's own: home, run-time folder and session bus, and the programs that the test starts
/// in it. They die with the test. This process lives in it too, by its environment.
class PrivateSession {
public:
    PrivateSession();
    ~PrivateSession();

    QProcess* start(const QString& program, const QStringList& arguments = {});
    /// What the program prints, once it has ended.
    QString output(const QString& program, const QStringList& arguments) const;
    bool succeeds(const QString& program, const QStringList& arguments) const;
    void kill(QProcess* process);

    /// An X server with a window manager, and the accessibility bus.
    void startDisplay();
    QProcess* startAccessibilityBus();

    /// PipeWire with a virtual microphone: what is played into "vmic_in" is heard from "vmic".
    void startSoundServer();
    void startPulseServer();
    void stopPulseServer();
    /// The number of the module.
    /// `kind` is "sink" or "source".
    void makeDefault(const QString& kind, const QString& name) const;
    QString loadModule(const QStringList& arguments) const;
    QString addMicrophone() const;

private:
    QTemporaryDir m_folder;
    std::vector<std::unique_ptr<QProcess>> m_processes;
    QProcess* m_pulse = nullptr;
};

/// Turns the event loop until it is so; a test that waits in vain ends by CTest's limit, here sooner.
[[nodiscard]] bool waitFor(const std::function<bool()>& isSo, int milliseconds = 20000);

} // namespace tallowfern
