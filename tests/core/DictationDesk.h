#pragma once

#include "core/AppState.h"
#include "fakes/Desk.h"
#include "fakes/FakeAudioCapture.h"
#include "fakes/FakeDownloader.h"
#include "fakes/FakeNotificationCenter.h"
#include "fakes/FakePreferenceStore.h"
#include "fakes/FakeProcessLauncher.h"
#include "fakes/FakeScreenCapture.h"
#include "fakes/FakeSecretStore.h"
#include "fakes/FakeSoundPlayer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace tallowfern {

/// The whole application on a desk of fakes, with a model and an engine in place and an editor in front.
class DictationDesk {
public:
    using Case = CaptureStatus::Case;

    DictationDesk()
    {
        write(folder.filePath(QStringLiteral("lib/whisper-cli")));
        write(folder.filePath(QStringLiteral("lib/Resources/ggml-tiny.en-q5_1.bin")));
        preferences.values.insert(QStringLiteral("clipboardRestoreEnabled"), true);
        desk.clipboard.userCopies(QStringLiteral("mine"));
        desk.clock.settle();
        editor = desk.windows.open(QStringLiteral("Editor"));
        start();
    }

    void start()
    {
        const PlatformServices services{desk.clock, preferences, desk.clipboard, desk.windows, desk.keys,
            desk.accessibility, desk.hotKeys, microphone, sounds, engine, downloader, secrets, screens, notices};
        app.emplace(services, AppPaths(folder.filePath(QStringLiteral("data"))),
            ResourceLocator(folder.filePath(QStringLiteral("lib"))), 4);
    }

    void press(const KeyboardShortcutSetting& shortcut)
    {
        desk.hotKeys.press(shortcut.chord());
        desk.clock.settle();
    }
    void release(const KeyboardShortcutSetting& shortcut)
    {
        desk.hotKeys.release(shortcut.chord());
        desk.clock.settle();
    }
    void tap(const KeyboardShortcutSetting& shortcut)
    {
        press(shortcut);
        release(shortcut);
    }
    void toggle() { tap(app->preferences.toggleShortcut()); }
    void cancel() { tap(app->preferences.cancelShortcut()); }

    /// What the engine writes, and how it ends.
    void engineSays(const QByteArray& text, int status = 0)
    {
        engine.writes(text);
        engine.exits(status);
    }
    /// From the first press to the posted chord and beyond the target's reading.
    void dictate(const QByteArray& words)
    {
        toggle();
        desk.clock.advance(2);
        toggle();
        desk.clock.advance(0.5);
        engineSays(words);
        desk.clock.advance(0.3);
    }

    Case state() const { return app->dictation.status().state; }
    QString message() const { return app->dictation.status().text; }
    QString destination() const
    {
        const auto& resolution = app->errors.errorResolution();
        return resolution ? enumToString(resolution->destination.place) : QString();
    }
    QString inEditor() const { return desk.windows.textIn(editor); }
    QStringList recordings() const
    {
        return QDir(folder.filePath(QStringLiteral("data/Tallowfern/TemporaryRecordings"))).entryList(QDir::Files);
    }
    bool cancelIsHeld() const { return desk.hotKeys.numbers().contains(3); }

    QTemporaryDir folder;
    Desk desk;
    FakePreferenceStore preferences;
    FakeAudioCapture microphone;
    FakeSoundPlayer sounds;
    FakeProcessLauncher engine;
    FakeDownloader downloader;
    FakeSecretStore secrets{desk.clock};
    FakeScreenCapture screens{desk.clock};
    FakeNotificationCenter notices;
    RunningApplication editor;
    std::optional<AppState> app;

private:
    static void write(const QString& path)
    {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write("something");
    }
};

} // namespace tallowfern
