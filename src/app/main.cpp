#include <QApplication>
#include <QIcon>

#include "app/MainWindow.h"
#include "settings/LauncherSettings.h"

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    // The two names address the settings file.
    QCoreApplication::setApplicationName(QStringLiteral("zel_launcher"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orvandale"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Orvandale.ico")));

    LauncherSettings::instance().load();

    MainWindow window;
    window.show();
    return QApplication::exec();
}
