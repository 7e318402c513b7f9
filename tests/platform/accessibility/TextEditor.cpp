#include <QApplication>
#include <QFile>
#include <QPlainTextEdit>

/// The smallest editor of the toolkit: shows the file that it is given.
int main(int argc, char** argv)
{
    QApplication application(argc, argv);
    QFile file(QApplication::arguments().value(1));
    QPlainTextEdit editor;
    if (file.open(QIODevice::ReadOnly))
        editor.setPlainText(QString::fromUtf8(file.readAll()));
    editor.resize(500, 300);
    editor.show();
    return QApplication::exec();
}
