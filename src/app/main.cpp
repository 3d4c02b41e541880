#include <QApplication>
#include <QIcon>

#include <cstdio>

#include "app/MainWindow.h"
#include "settings/LauncherSettings.h"
#include "ui/StandardLook.h"
#include "ui/ZelTheme.h"

namespace
{

/// Drops Qt's messages, such as warnings about the desktop session: the launcher has no console
/// output. Only a fatal message is printed, before Qt aborts.
void dropMessage(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fputs(qPrintable(text + u'\n'), stderr);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(dropMessage);
    QApplication app(argc, argv);
    // The path of the settings file contains both names.
    QCoreApplication::setApplicationName(QStringLiteral("zel_launcher"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orvandale"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Orvandale.ico")));

    LauncherSettings::instance().load();

    const ZelTheme::Mode mode = ZelTheme::loadPreferredMode();
    ZelTheme::apply(app, mode);
    const StandardLook look(mode);

    MainWindow window;
    window.show();
    return QApplication::exec();
}
