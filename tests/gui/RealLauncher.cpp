#include "gui/RealLauncher.h"

#include <QSettings>

#include "gui/LauncherWindow.h"
#include "support/TestMain.h"
#include "support/Timeouts.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr QSize displaySize(1280, 1024);

QPoint middleOf(const QPushButton *button, const MainWindow &window)
{
    return button->mapTo(&window, button->rect().center());
}

} // namespace

RealLauncher::RealLauncher(qreal scaleFactor)
    : scale(scaleFactor)
    , screen(displaySize * scaleFactor)
{
    if (!screen.isRunning()) {
        qFatal("Xvfb does not start");
    }
    const LauncherWindow reference;
    playPlace = middleOf(reference.play, reference.window);
    settingsPlace = middleOf(reference.settings, reference.window);
    cancelPlace = middleOf(reference.cancel, reference.window);

    process.setProcessEnvironment(QProcessEnvironment::systemEnvironment());
    process.setWorkingDirectory(qEnvironmentVariable("HOME"));
    setVariable(u"DISPLAY"_s, screen.name());
    setVariable(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    // Neither use nor start desktop services.
    setVariable(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
    if (scale != 1) {
        setVariable(u"QT_SCALE_FACTOR"_s, QString::number(scale));
    }
}

RealLauncher::~RealLauncher()
{
    kill();
}

void RealLauncher::setVariable(const QString &name, const QString &value)
{
    QProcessEnvironment environment = process.processEnvironment();
    environment.insert(name, value);
    process.setProcessEnvironment(environment);
}

void RealLauncher::writeSettings(const QVariantMap &values)
{
    QSettings settings(TestEnvironment::settingsFile(), QSettings::IniFormat);
    settings.clear();
    for (auto value = values.begin(); value != values.end(); ++value) {
        settings.setValue(value.key(), value.value());
    }
}

void RealLauncher::start(const QStringList &arguments)
{
    if (QTest::currentTestFailed()) {
        return;
    }
    process.start(QStringLiteral(ZEL_LAUNCHER), arguments);
    QVERIFY(process.waitForStarted());
    window = screen.waitForWindow(u"ZEL Launcher"_s);
    if (window.isEmpty()) {
        process.waitForFinished(0);
        const QByteArray printed = process.readAllStandardError();
        QFAIL(qPrintable(u"no window; state %1, exit code %2, printed: "_s.arg(process.state())
                             .arg(process.exitCode()) +
                         QString::fromUtf8(printed)));
    }
    windows = {window};
}

void RealLauncher::clickPlay()
{
    click(playPlace);
}

void RealLauncher::clickSettings()
{
    click(settingsPlace);
}

void RealLauncher::clickCancel()
{
    click(cancelPlace);
}

QString RealLauncher::waitForBox(const QString &title)
{
    if (QTest::currentTestFailed()) {
        return {};
    }
    const QString box = screen.waitForWindow(title, windows);
    if (box.isEmpty()) {
        QTest::qFail(qPrintable(u"no message box: "_s + title), __FILE__, __LINE__);
    }
    windows.append(box);
    return box;
}

void RealLauncher::answer(const QString &title, const QString &key)
{
    const QString box = waitForBox(title);
    if (QTest::currentTestFailed()) {
        return;
    }
    QVERIFY(screen.closeByKey(box, key));
}

void RealLauncher::waitForEnd()
{
    if (QTest::currentTestFailed()) {
        return;
    }
    QVERIFY(process.waitForFinished(Timeouts::programMs));
    QCOMPARE(process.readAllStandardOutput(), ""_ba);
    QCOMPARE(process.readAllStandardError(), ""_ba);
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
}

void RealLauncher::close()
{
    clickCancel();
    waitForEnd();
}

void RealLauncher::kill()
{
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
}

void RealLauncher::click(QPoint place)
{
    if (QTest::currentTestFailed()) {
        return;
    }
    QVERIFY(screen.click(window, place * scale));
}
