#pragma once

#include <QJsonArray>
#include <QList>
#include <QString>

#include <optional>

namespace tallowfern {

/// What was found on this desktop.
struct Findings {
    struct HotKey {
        QString name;
        QString keys;
        bool isFree = true; ///< for us, or held by us
    };
    struct Engine {
        QString name;
        std::optional<QString> problem; ///< in the system's words
    };

    QString sessionType; ///< "x11", "wayland" or empty, as the session says
    bool hasDisplay = false; ///< of X11, also within Wayland
    QString windowManager;
    bool isRunning = false; ///< Tallowfern itself
    QList<HotKey> hotKeys;
    bool hasMicrophone = false;
    double microphoneLevel = 0; ///< decibels of full scale over a second; -160 is silence
    bool canPostKeys = false;
    bool hasAccessibilityBus = false;
    bool hasTray = false;
    bool hasNotifications = false;
    bool hasSecretService = false;
    bool isTranslucent = false;
    QList<Engine> engines;
    QString modelsFolder;
    qint64 freeBytes = 0; ///< where the models lie
    QList<QString> installedModels; ///< their names
    QString selectedModel; ///< its name; empty when none is selected or its file is not there
    bool isStandIn = false; ///< the selected model does not understand people
};

/// One subject, and how to mend it.
struct Diagnosis {
    enum class State {
        Good,
        Poor, ///< something is missing that Dictation can do without
        Bad, ///< Dictation cannot work
    };
    QString subject;
    State state = State::Good;
    QString detail;
    QString mend = {}; ///< empty when there is nothing to mend
};

QList<Diagnosis> diagnose(const Findings& findings);

bool canDictate(const QList<Diagnosis>& diagnoses);
/// For a person, in lines; with the colours of a terminal or without.
QString diagnosisText(const QList<Diagnosis>& diagnoses, bool coloured);
QJsonArray diagnosisJson(const QList<Diagnosis>& diagnoses);

} // namespace tallowfern
