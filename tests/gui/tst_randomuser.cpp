#include "support/TestMain.h"

#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QScopeGuard>
#include <QSettings>
#include <QThread>
#include <QTimer>
#include <QTimerEvent>
#include <QUrl>

#include <optional>
#include <utility>

#include "gui/LauncherWindow.h"
#include "gui/RandomUser.h"
#include "gui/SettingsFields.h"
#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"
#include "support/network/HttpServer.h"
#include "support/process/FakeClient.h"
#include "support/process/FakeWineHost.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int defaultSeed = 20261121;
constexpr int defaultCount = 10'000;

int numberFrom(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

} // namespace

/// Thousands of random inputs; the launcher must work afterwards.
class TestRandomUser : public TestBase
{
    Q_OBJECT

private slots:
    void theLauncherSurvivesRandomInput();

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void restart();
    void act(bool isOutermost);
    bool closeForemost(bool isOutermost);
    void stayInside();
    bool isInside(const QString &path) const;
    bool leadsOut(const QString &folder) const;
    void configure();

    QTemporaryDir root;
    FakeWineHost host;
    const FakeClient client;
    HttpServer server;
    std::optional<LauncherWindow> launcher;
    QPointer<QLineEdit> clientDirEdit; // of the open settings dialog
    QPointer<QFileDialog> openChooser;
    const QString wine = client.filePath(u"wine"_s);

    std::optional<RandomUser> user;
    int left = 0;
    int timer = 0;
    int outermostLevel = 0;
    int actingLevel = 0; // event loop level of the innermost running act()
    QEventLoop loop;

    // The numbers of opened windows and started games so far.
    int windows = 0;
    int dialogs = 0;
    int choosers = 0;
    int boxes = 0;
    int games = 0;
};

/// Counts opened windows and makes file dialogs read-only.
bool TestRandomUser::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show) {
        if (auto *chooser = qobject_cast<QFileDialog *>(watched)) {
            chooser->setOption(QFileDialog::ReadOnly);
            openChooser = chooser;
            ++choosers;
        } else if (auto *dialog = qobject_cast<SettingsDialog *>(watched)) {
            clientDirEdit = SettingsFields(*dialog).clientDir;
            ++dialogs;
        } else if (qobject_cast<QMessageBox *>(watched) != nullptr) {
            ++boxes;
        }
    }
    return false;
}

/// A new window, as after a new start of the program, with settings that work.
void TestRandomUser::restart()
{
    launcher.reset();
    client.useInLauncher();
    LauncherSettings &settings = LauncherSettings::instance();
    settings.winePath = wine;
    settings.useWine = windows % 3 != 0;
    settings.patchBaseUrl = windows % 2 == 0 ? server.url() : QString();
    settings.save();
    settings.load();
    launcher.emplace();
    connect(launcher->process, &QProcess::started, this, [this] { ++games; });
    ++windows;
}

/// Acts from any running event loop, so that dialogs, message boxes and popups are used, too.
void TestRandomUser::timerEvent(QTimerEvent *event)
{
    // A timer does not fire again before its event returns, and an act that opens a dialog returns
    // only when the dialog is closed: use a new timer for each act.
    killTimer(event->timerId());
    timer = startTimer(0);
    // Some acts process events without an event loop of their own: do not act then.
    const int level = QThread::currentThread()->loopLevel();
    if (level > actingLevel) {
        const int outerLevel = std::exchange(actingLevel, level);
        act(level == outermostLevel);
        actingLevel = outerLevel;
    }
}

void TestRandomUser::act(bool isOutermost)
{
    if (left > 0) {
        --left;
        if (isOutermost && !launcher->window.isVisible()) {
            restart();
        }
        user->act();
        stayInside();
    } else if (!closeForemost(isOutermost) && launcher->isIdle()) {
        killTimer(timer);
        loop.quit();
    }
}

/// Closes the topmost popup, message box or dialog, or ends the drag. False if there is none.
bool TestRandomUser::closeForemost(bool isOutermost)
{
    QWidget *popup = QApplication::activePopupWidget();
    QWidget *top = popup != nullptr ? popup : QApplication::activeModalWidget();
    if (top != nullptr) {
        top->close();
    } else if (QWindow *window = RandomUser::foremostWindow(); window != nullptr && !isOutermost) {
        RandomUser::clickKey(window, Qt::Key_Escape);
    }
    return top != nullptr || !isOutermost;
}

bool TestRandomUser::isInside(const QString &path) const
{
    const QString place = QDir::cleanPath(QFileInfo(path).absoluteFilePath()) + u'/';
    return place.startsWith(root.path() + u'/') || place.startsWith(client.dir() + u'/');
}

/// Whether the launcher could write to a folder outside the test's own.
bool TestRandomUser::leadsOut(const QString &folder) const
{
    const QString path = folder.trimmed();
    return !path.isEmpty() && !path.contains(QChar::Null) && QFileInfo::exists(path) &&
           !isInside(path);
}

/// Resets folders, programs and servers in the settings that are not the test's own.
void TestRandomUser::stayInside()
{
    LauncherSettings &settings = LauncherSettings::instance();
    if (leadsOut(settings.clientDir)) {
        settings.clientDir = client.dir();
    }
    if (clientDirEdit && leadsOut(clientDirEdit->text())) {
        clientDirEdit->setText(client.dir());
    }
    // From "/" a file dialog reaches /proc, where it would read endless files to find their type.
    if (openChooser && openChooser->directory().isRoot()) {
        openChooser->setDirectory(client.dir());
    }
    if (!isInside(settings.resolvedClientExe())) {
        settings.clientExe = u"ZEL.exe"_s;
    }
    if (!isInside(settings.resolvedWine())) {
        settings.winePath = wine;
    }
    const QString address = QUrl(settings.patchBaseUrl.trimmed()).host();
    if (!address.isEmpty() && address != u"127.0.0.1"_s) {
        settings.patchBaseUrl = server.url();
    }
}

/// Enters settings that work.
void TestRandomUser::configure()
{
    bool isDone = false;
    QTimer::singleShot(0, this, [&] {
        auto *dialog = qobject_cast<SettingsDialog *>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        const SettingsFields fields(*dialog);
        SettingsFields::type(fields.clientDir, client.dir());
        SettingsFields::type(fields.clientExe, u"ZEL.exe"_s);
        SettingsFields::set(fields.useWine, false);
        SettingsFields::type(fields.serverName, u"Aurora"_s);
        SettingsFields::type(fields.serverIp, u"10.0.0.5"_s);
        SettingsFields::type(fields.channels, 4);
        SettingsFields::type(fields.patchUrl, QString());
        SettingsFields::click(fields.ok);
        isDone = !dialog->isVisible();
    });
    LauncherWindow::click(launcher->settings);
    QVERIFY(isDone);
}

void TestRandomUser::theLauncherSurvivesRandomInput()
{
    const int seed = numberFrom("ZEL_TEST_SEED", defaultSeed);
    const int count = numberFrom("ZEL_TEST_EVENTS", defaultCount);
    qInfo("ZEL_TEST_SEED=%d ZEL_TEST_EVENTS=%d", seed, count);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    qApp->installEventFilter(this);
    const Disk::WorkingFolder workingFolder(root.path());
    Disk::writeExecutable(wine, "#!/bin/sh\nexec /bin/sleep 0.2\n");
    Disk::writeExecutable(client.filePath(u"ZEL.exe"_s), "#!/bin/sh\nexit 3\n");
    server.answer("/manifest.json", HttpAnswer::withLength(R"({"version": "2", "files": [
                       {"path": "notice.txt"}, {"path": "data/map.bin"}]})"));
    server.answer("/notice.txt", HttpAnswer::withLength("news"));
    server.answer("/data/map.bin", HttpAnswer::chunked(QByteArray(20'000, 'm')).inBlocks(2000, 2));

    const auto closeWindow = qScopeGuard([this] { launcher.reset(); });
    restart();
    user.emplace(quint32(seed));
    left = count;
    outermostLevel = QThread::currentThread()->loopLevel() + 1;
    timer = startTimer(0);
    loop.exec();
    qInfo("%d windows, %d dialogs, %d choosers, %d boxes, %d games, %d requests", windows, dialogs,
          choosers, boxes, games, int(server.paths().size()));
    if (count >= defaultCount) {
        for (const int opened : {windows, dialogs, choosers, boxes, games}) {
            QVERIFY(opened > 10);
        }
    }

    // The launcher still works.
    launcher->window.show();
    configure();
    QVERIFY(launcher->status->text().startsWith(u"Aurora  |  10.0.0.5  |  Versao "_s));
    LauncherWindow::click(launcher->play);
    QTRY_COMPARE_WITH_TIMEOUT(launcher->status->text(), u"Jogo encerrado (codigo 3)."_s, 30'000);
    QVERIFY(launcher->isIdle());

    const QSettings file(TestEnvironment::settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.status(), QSettings::NoError);
    QCOMPARE(file.value(u"client/dir"_s).toString(), client.dir());
    QCOMPARE(file.value(u"server/name"_s).toString(), u"Aurora"_s);
    QCOMPARE(file.value(u"server/channelCount"_s).toInt(), 4);
    QCOMPARE(file.allKeys().size(), 11);
    QCOMPARE(client.read(u"server.txt"_s), "10.0.0.5\n");
    QCOMPARE(client.read(u"Config.bin"_s).size(), 30);
}

ZEL_GUI_TEST_MAIN(TestRandomUser)

#include "tst_randomuser.moc"
