#include <QApplication>
#include <QIcon>

#include <cstdio>

#include "app/MainWindow.h"
#include "settings/LauncherSettings.h"
#include "ui/StandardLook.h"
#include "ui/ZelTheme.h"

namespace
{

/// The launcher has no console output. What its libraries remark on the desktop (a session
/// without a runtime folder, say) is dropped; only the reason of an abort is told.
void keepQuiet(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fputs(qPrintable(text + u'\n'), stderr);
    }
}

} // namespace

int main(int argc, char *argv[])
{
    qInstallMessageHandler(keepQuiet);
    QApplication app(argc, argv);
    // The two names address the settings file.
    QCoreApplication::setApplicationName(QStringLiteral("zel_launcher"));
    QCoreApplication::setOrganizationName(QStringLiteral("Orvandale"));
    QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/Orvandale.ico")));

    LauncherSettings::instance().load();

    // No icons of the desktop's theme: Qt's own suit both modes, and a search for one that is
    // missing takes longer than a window needs to open.
    QIcon::setThemeSearchPaths({QStringLiteral(":/icons")});
    const ZelTheme::Mode mode = ZelTheme::loadPreferredMode();
    ZelTheme::apply(app, mode);
    const StandardLook look(mode);

    MainWindow window;
    window.show();
    return QApplication::exec();
}
