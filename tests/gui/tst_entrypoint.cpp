#include "support/TestMain.h"

#define main launcherMain
#include "app/main.cpp"
#undef main

#include <QEvent>
#include <QFont>
#include <QImageReader>
#include <QPalette>
#include <QSettings>
#include <QTimer>

#include <array>
#include <optional>

#include "ui/ZelPalette.h"

namespace
{

/// What the application was like when its window began to exist.
struct Dress {
    QString applicationName;
    QString organizationName;
    QString styleSheet;
    QPalette palette;
    QStringList fontFamilies;
    QString copy;
    QList<QSize> iconSizes;
};

/// Notes the dress at the window's first event, and ends the run when the window is shown.
class Watcher : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched->inherits("MainWindow")) {
            if (!first) {
                first = {QCoreApplication::applicationName(),
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

    int exitStatus = 0; ///< What ends the event loop, if not the close of the window.
    std::optional<Dress> first;
    int shown = 0;
};

Watcher *currentWatcher = nullptr;

void watchApplication()
{
    QCoreApplication::instance()->installEventFilter(currentWatcher);
}
Q_COREAPP_STARTUP_FUNCTION(watchApplication)

/// One whole run of the launcher, ended by the watcher.
int runLauncher(Watcher *watcher)
{
    currentWatcher = watcher;
    // The launcher silences the messages; the test wants to hear them again.
    const QtMessageHandler handler = qInstallMessageHandler(nullptr);
    QByteArray name("zel_launcher");
    std::array<char *, 2> arguments{name.data(), nullptr};
    const int status = launcherMain(1, arguments.data());
    qInstallMessageHandler(handler);
    return status;
}

} // namespace

class TestEntryPoint : public TestBase
{
    Q_OBJECT

private slots:
    void theApplicationIsDressedBeforeItsWindowExists_data();
    void theApplicationIsDressedBeforeItsWindowExists();
    void theExitStatusIsThatOfTheEventLoop();
};

void TestEntryPoint::theApplicationIsDressedBeforeItsWindowExists_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<ZelTheme::Mode>("mode");
    QTest::newRow("nothing stored") << QString() << ZelTheme::Mode::Dark;
    QTest::newRow("dark") << QStringLiteral("dark") << ZelTheme::Mode::Dark;
    QTest::newRow("light") << QStringLiteral("light") << ZelTheme::Mode::Light;
    QTest::newRow("unknown") << QStringLiteral("Light") << ZelTheme::Mode::Dark;
}

void TestEntryPoint::theApplicationIsDressedBeforeItsWindowExists()
{
    QFETCH(const QString, stored);
    QFETCH(const ZelTheme::Mode, mode);
    {
        QSettings store(QStringLiteral("Orvandale"), QStringLiteral("ZEL"));
        store.clear();
        if (!stored.isEmpty()) {
            store.setValue(QStringLiteral("theme"), stored);
        }
    }

    Watcher watcher;
    QCOMPARE(runLauncher(&watcher), 0);

    QCOMPARE(watcher.shown, 1);
    QVERIFY(watcher.first.has_value());
    const Dress &dress = *watcher.first;
    QCOMPARE(dress.applicationName, QStringLiteral("zel_launcher"));
    QCOMPARE(dress.organizationName, QStringLiteral("Orvandale"));
    QCOMPARE(dress.styleSheet, ZelTheme::globalStyleSheet(mode));
    QCOMPARE(dress.palette, ZelPalette::forMode(mode));
    QCOMPARE(dress.fontFamilies.value(0), QStringLiteral("Inter"));
    QCOMPARE(dress.copy, QStringLiteral("&Copiar"));
    QVERIFY(dress.iconSizes.contains(QImageReader(QStringLiteral(":/Orvandale.ico")).size()));
    // Nothing in the launcher stores a mode.
    const QSettings store(QStringLiteral("Orvandale"), QStringLiteral("ZEL"));
    QCOMPARE(store.value(QStringLiteral("theme")).toString(), stored);
}

void TestEntryPoint::theExitStatusIsThatOfTheEventLoop()
{
    Watcher watcher;
    watcher.exitStatus = 3;
    QCOMPARE(runLauncher(&watcher), 3);
}

int main(int argc, char *argv[])
{
    // The launcher makes its own application object.
    const TestEnvironment environment;
    TestEntryPoint test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_entrypoint.moc"
