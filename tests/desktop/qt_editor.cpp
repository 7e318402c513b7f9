#include <QApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPlainTextEdit>

#include <cstdio>

/// A Qt program to paste into, which prints its whole text at each change.
int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QPlainTextEdit editor;
    QObject::connect(&editor, &QPlainTextEdit::textChanged, &editor, [&editor] {
        const QJsonObject report{{QStringLiteral("text"), editor.toPlainText()}};
        std::puts(QJsonDocument(report).toJson(QJsonDocument::Compact).constData());
        std::fflush(stdout);
    });
    editor.resize(500, 300);
    editor.show();
    return QApplication::exec();
}
