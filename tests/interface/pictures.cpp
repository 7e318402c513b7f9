// Every state of the overlay, dark and light, on a plain and on a dark desktop, as a file each:
//     pictures FOLDER SCALE
// SCALE is what QT_SCALE_FACTOR is for the application; names of scale 1 have no mark, others "@2x".

#include "interface/OverlayPainter.h"
#include "interface/OverlayWaveform.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTranslator>

#include <array>
#include <cstdio>

using namespace tallowfern;
using namespace Qt::StringLiterals;

namespace {

struct Picture {
    const char* name;
    OverlaySource source;
    double seconds = 8;
};

CaptureStatus status(CaptureStatus::Case state)
{
    return {state, {}};
}

QList<Picture> pictures()
{
    using Case = CaptureStatus::Case;
    const QString esc = u"Esc"_s;
    const auto model = [](const char* id) {
        for (const SpeechModel& known : SpeechModel::catalog()) {
            if (known.id == QLatin1String(id))
                return std::optional(known);
        }
        return std::optional<SpeechModel>();
    };
    const OverlaySource idle{.automaticPaste = true, .cancelKeys = esc, .selectedModel = model("studio")};
    QList<Picture> list;
    const auto add = [&](const char* name, auto change, double seconds = 8) {
        OverlaySource source = idle;
        change(source);
        list.append({name, source, seconds});
    };
    add("classic-idle", [](auto&) {});
    add("classic-recording", [](auto& s) {
        s.status = status(Case::Recording);
        s.targetApplicationName = u"Notes"_s;
    });
    add("classic-recording-quiet", [](auto& s) { s.status = status(Case::Recording); });
    add(
        "classic-long",
        [](auto& s) {
            s.status = status(Case::Recording);
            s.targetApplicationName = u"LibreOffice Writer with a long name"_s;
            s.cancelKeys = u"Ctrl+Shift+Esc"_s;
        },
        767);
    add("classic-transcribing", [&](auto& s) {
        s.status = status(Case::Processing);
        s.transcriptionProgress = 0.42;
        s.selectedModel = model("velocity");
    });
    add("classic-finishing", [](auto& s) {
        s.status = status(Case::Processing);
        s.transcriptionProgress = 0.99;
    });
    add("classic-pasted", [](auto& s) { s.status = status(Case::Success); });
    add("classic-copied", [](auto& s) {
        s.status = status(Case::Success);
        s.automaticPaste = false;
    });
    add("classic-error", [](auto& s) { s.status = status(Case::Error); });
    for (qsizetype i = 0, classic = list.size(); i < classic; ++i) {
        const QByteArray name(list[i].name);
        static const std::array<std::pair<const char*, const char*>, 6> kMini{
            {{"classic-idle", "mini-idle"}, {"classic-recording", "mini-recording"},
                {"classic-transcribing", "mini-transcribing"}, {"classic-finishing", "mini-finishing"},
                {"classic-pasted", "mini-pasted"}, {"classic-error", "mini-error"}}};
        for (const auto& [from, to] : kMini) {
            if (name == from) {
                OverlaySource source = list[i].source;
                source.overlaySize = OverlaySize::Mini;
                list.append({to, source, list[i].seconds});
            }
        }
    }
    struct Phase {
        const char* name;
        AgentPhase phase;
        const char* detail;
    };
    for (const auto& [name, phase, detail] :
        {Phase{"command-listening", AgentPhase::Listening, "Speak your writing instruction"},
            Phase{"command-transcribing", AgentPhase::Transcribing, ""},
            Phase{"command-loading", AgentPhase::LoadingModel, "Connecting to Mistral · Mistral Medium"},
            Phase{"command-writing", AgentPhase::Generating, ""}, Phase{"command-done", AgentPhase::Completed, "Ready"},
            Phase{"command-cancelled", AgentPhase::Cancelled, "Nothing was changed"},
            Phase{"command-error", AgentPhase::Error, ""}}) {
        add(name, [&](auto& s) {
            s.agentPhase = phase;
            s.agentPhaseDetail = QString::fromUtf8(detail);
            s.agentProgress = 0.12;
            s.transcriptionProgress = 0.42;
        });
    }
    return list;
}

void save(const Picture& picture, const QString& folder, double scale)
{
    const QList<double> spoken{
        0.12, 0.12, 0.2, 0.1, 0.3, 0.42, 0.31, 0.55, 0.72, 0.5, 0.28, 0.38, 0.66, 0.47, 0.24, 0.3, 0.2, 0.12, 0.1};
    const OverlayFace face = overlayFace(picture.source);
    const bool quiet = QByteArray(picture.name).endsWith("quiet");
    const OverlayMoment moment{waveformBars(face.wave, waveformShape(face.body), quiet ? QList<double>() : spoken, 0.6),
        overlayDuration(picture.seconds), 0.1};
    const QSizeF panel = overlayPanelSize(face.body);
    constexpr double kAir = 14;
    const QSizeF cell(panel.width() + 2 * kAir, panel.height() + 2 * kAir);
    QImage image((QSizeF(2 * cell.width(), 2 * cell.height()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(QColor(0xDD, 0xDE, 0xD9));
    QPainter painter(&image);
    painter.fillRect(QRectF(cell.width(), 0, cell.width(), 2 * cell.height()), QColor(0x23, 0x25, 0x1F));
    for (const bool isDark : {true, false}) {
        for (const int column : {0, 1}) {
            painter.save();
            painter.translate(column * cell.width() + kAir, (isDark ? 0 : cell.height()) + kAir);
            paintOverlay(painter, face, moment, {isDark, true});
            painter.restore();
        }
    }
    painter.end();
    const QString mark = scale == 1 ? QString() : u"@%1x"_s.arg(scale);
    image.save(u"%1/overlay-%2%3.png"_s.arg(folder, QLatin1String(picture.name), mark));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "pictures FOLDER SCALE\n");
        return 2;
    }
    QGuiApplication application(argc, argv);
    QTranslator catalogue;
    if (catalogue.load(QStringLiteral(CATALOGUE)))
        QCoreApplication::installTranslator(&catalogue);
    for (const Picture& picture : pictures())
        save(picture, QString::fromLocal8Bit(argv[1]), QByteArray(argv[2]).toDouble());
    return 0;
}
