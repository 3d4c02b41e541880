#include "support/TestMain.h"

#define main launcherMain
#include "app/main.cpp"
#undef main

#include <QEvent>
#include <QFont>
#include <QImageReader>
#include <QPalette>
#include <QSettings>
#include <QTemporaryFile>
#include <QTimer>

#include <array>
#include <optional>

#include <unistd.h>

#include "support/files/Disk.h"
#include "ui/ZelPalette.h"

using namespace Qt::StringLiterals;

namespace
{

/// The application's state when its first window was created.
struct Look {
    QStringList arguments;
    QString applicationName;
    QString organizationName;
    QString styleSheet;
    QPalette palette;
    QStringList fontFamilies;
    QString copy;
    QList<QSize> iconSizes;
};

/// Records the state at the window's first event and quits when the window is shown.
class Watcher : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched->inherits("MainWindow")) {
            if (!first) {
                first = {QCoreApplication::arguments(),
                         QCoreApplication::applicationName(),
                         QCoreApplication::organizationName(),
                         qApp->styleSheet(),
                         QApplication::palette(),
                         QApplication::font().families(),
                         QCoreApplication::translate("QLineEdit", "&Copy"),
                         QApplication::windowIcon().availableSizes()};
            }
            if (event->type() == QEvent::Show) {
                ++shown;
                if (exitStatus != 0) {
                    QTimer::singleShot(0, qApp, [this] { QCoreApplication::exit(exitStatus); });
                } else {
                    QMetaObject::invokeMethod(watched, "close", Qt::QueuedConnection);
                }
            }
        }
        return false;
    }

    int exitStatus = 0; ///< Exit code of the event loop; 0 closes the window instead.
    std::optional<Look> first;
    int shown = 0;
};

Watcher *currentWatcher = nullptr;

void watchApplication()
{
    QCoreApplication::instance()->installEventFilter(currentWatcher);
}
Q_COREAPP_STARTUP_FUNCTION(watchApplication)

QtMessageHandler installedHandler = nullptr;

/// Runs the launcher's main() until the watcher ends it.
int runLauncher(Watcher *watcher)
{
    currentWatcher = watcher;
    // The launcher drops Qt's messages; restore the handler of the test.
    const QtMessageHandler handler = qInstallMessageHandler(nullptr);
    QByteArray name("renamed");
    std::array<char *, 2> arguments{name.data(), nullptr};
    const int status = launcherMain(1, arguments.data());
    installedHandler = qInstallMessageHandler(handler);
    return status;
}

} // namespace

class TestEntryPoint : public TestBase
{
    Q_OBJECT

private slots:
    void theApplicationIsSetUpBeforeItsWindowExists_data();
    void theApplicationIsSetUpBeforeItsWindowExists();
    void theExitStatusIsThatOfTheEventLoop();
    void onlyAFatalMessageIsPrinted();
};

void TestEntryPoint::theApplicationIsSetUpBeforeItsWindowExists_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<ZelTheme::Mode>("mode");
    QTest::newRow("nothing stored") << QString() << ZelTheme::Mode::Dark;
    QTest::newRow("dark") << u"dark"_s << ZelTheme::Mode::Dark;
    QTest::newRow("light") << u"light"_s << ZelTheme::Mode::Light;
    QTest::newRow("unknown") << u"Light"_s << ZelTheme::Mode::Dark;
}

void TestEntryPoint::theApplicationIsSetUpBeforeItsWindowExists()
{
    QFETCH(const QString, stored);
    QFETCH(const ZelTheme::Mode, mode);
    {
        QSettings store(u"Orvandale"_s, u"ZEL"_s);
        store.clear();
        if (!stored.isEmpty()) {
            store.setValue(u"theme"_s, stored);
        }
    }

    Watcher watcher;
    QCOMPARE(runLauncher(&watcher), 0);

    QCOMPARE(watcher.shown, 1);
    QVERIFY(watcher.first.has_value());
    const Look &look = *watcher.first;
    QCOMPARE(look.arguments, QStringList{u"renamed"_s});
    QCOMPARE(look.applicationName, u"zel_launcher"_s);
    QCOMPARE(look.organizationName, u"Orvandale"_s);
    QCOMPARE(look.styleSheet, ZelTheme::globalStyleSheet(mode));
    QCOMPARE(look.palette, ZelPalette::forMode(mode));
    QCOMPARE(look.fontFamilies.value(0), u"Inter"_s);
    QCOMPARE(look.copy, u"&Copiar"_s);
    QVERIFY(look.iconSizes.contains(QImageReader(u":/Orvandale.ico"_s).size()));
    // Nothing in the launcher stores a mode.
    const QSettings store(u"Orvandale"_s, u"ZEL"_s);
    QCOMPARE(store.value(u"theme"_s).toString(), stored);
}

void TestEntryPoint::theExitStatusIsThatOfTheEventLoop()
{
    Watcher watcher;
    watcher.exitStatus = 3;
    QCOMPARE(runLauncher(&watcher), 3);
}

void TestEntryPoint::onlyAFatalMessageIsPrinted()
{
    Watcher watcher;
    runLauncher(&watcher);
    QVERIFY(installedHandler == dropMessage);

    QTemporaryFile printed;
    QVERIFY(printed.open());
    const int standardError = ::dup(STDERR_FILENO);
    ::dup2(printed.handle(), STDERR_FILENO);
    for (const QtMsgType type : {QtDebugMsg, QtInfoMsg, QtWarningMsg, QtCriticalMsg, QtFatalMsg}) {
        dropMessage(type, QMessageLogContext(), u"type %1"_s.arg(type));
    }
    ::dup2(standardError, STDERR_FILENO);
    ::close(standardError);
    QCOMPARE(Disk::read(printed.fileName()), u"type %1\n"_s.arg(QtFatalMsg).toUtf8());
}

int main(int argc, char *argv[])
{
    // The launcher creates its own application object.
    const TestEnvironment environment;
    TestEntryPoint test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_entrypoint.moc"
