#include "support/TestMain.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QSettings>
#include <QTimer>
#include <QUrl>

#include <memory>

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

constexpr const char *seedVariable = "ZEL_TEST_SEED";
constexpr const char *countVariable = "ZEL_TEST_EVENTS";
constexpr int defaultSeed = 20261121;
constexpr int defaultCount = 10'000;

int numberFrom(const char *variable, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(variable, &isNumber);
    return isNumber ? number : otherwise;
}

/// A program that runs for a moment.
void writeGame(const QString &path, const QByteArray &commands)
{
    Disk::write(path, "#!/bin/sh\n" + commands);
    if (!QFile::setPermissions(path, QFile::ReadOwner | QFile::ExeOwner)) {
        qFatal("cannot prepare the test: %s", qPrintable(path));
    }
}

} // namespace

/// Thousands of acts without a plan. Whatever they did, the launcher is there, and usable.
class TestRandomUser : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theLauncherOutlivesAnyUse();

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void startAnew();
    void stayInside();
    bool isInside(const QString &path) const;
    bool leadsOut(const QString &folder) const;
    void configure();

    std::unique_ptr<QTemporaryDir> root;
    std::unique_ptr<Disk::WorkingFolder> workingFolder;
    std::unique_ptr<FakeWineHost> host;
    std::unique_ptr<FakeClient> client;
    std::unique_ptr<HttpServer> server;
    std::unique_ptr<LauncherWindow> launcher;
    QPointer<QLineEdit> clientDirEdit; // of the open settings dialog
    QPointer<QFileDialog> openChooser;
    QString wine;

    // What has been opened and started so far.
    int windows = 0;
    int dialogs = 0;
    int choosers = 0;
    int boxes = 0;
    int games = 0;
};

void TestRandomUser::init()
{
    TestBase::init();
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    qApp->installEventFilter(this);
    host = std::make_unique<FakeWineHost>();
    root = std::make_unique<QTemporaryDir>();
    workingFolder = std::make_unique<Disk::WorkingFolder>(root->path());
    client = std::make_unique<FakeClient>(u"client"_s);
    wine = client->filePath(u"wine"_s);
    writeGame(wine, "exec /bin/sleep 0.2\n");
    writeGame(client->filePath(u"ZEL.exe"_s), "exit 3\n");

    server = std::make_unique<HttpServer>();
    server->answer("/manifest.json", HttpAnswer::withLength(R"({"version": "2", "files": [
                       {"path": "notice.txt"}, {"path": "data/map.bin"}]})"));
    server->answer("/notice.txt", HttpAnswer::withLength("news"));
    server->answer("/data/map.bin", HttpAnswer::chunked(QByteArray(20'000, 'm')).inBlocks(2000, 2));
}

void TestRandomUser::cleanup()
{
    qApp->removeEventFilter(this);
    launcher.reset();
    server.reset();
    client.reset();
    workingFolder.reset();
    root.reset();
    host.reset();
}

/// Counts what opens, and lets the choosers change nothing on the disk.
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
void TestRandomUser::startAnew()
{
    launcher.reset();
    client->useInLauncher();
    LauncherSettings &settings = LauncherSettings::instance();
    settings.winePath = wine;
    settings.useWine = windows % 3 != 0;
    settings.patchBaseUrl = windows % 2 == 0 ? server->url() : QString();
    settings.save();
    settings.load();
    launcher = std::make_unique<LauncherWindow>();
    connect(launcher->process, &QProcess::started, this, [this] { ++games; });
    ++windows;
}

bool TestRandomUser::isInside(const QString &path) const
{
    const QString place = QDir::cleanPath(QFileInfo(path).absoluteFilePath()) + u'/';
    return place.startsWith(root->path() + u'/') || place.startsWith(client->dir() + u'/');
}

/// Whether the launcher could write to a folder that is not the test's.
bool TestRandomUser::leadsOut(const QString &folder) const
{
    const QString path = folder.trimmed();
    return !path.isEmpty() && !path.contains(QChar::Null) && QFileInfo::exists(path) &&
           !isInside(path);
}

/// Takes back what would lead the launcher out of the test: folders to write to, programs to
/// start and servers to ask that are not the test's own.
void TestRandomUser::stayInside()
{
    LauncherSettings &settings = LauncherSettings::instance();
    if (leadsOut(settings.clientDir)) {
        settings.clientDir = client->dir();
    }
    if (clientDirEdit && leadsOut(clientDirEdit->text())) {
        clientDirEdit->setText(client->dir());
    }
    // One step on is /proc, where a chooser reads files for their type that never end.
    if (openChooser && openChooser->directory().isRoot()) {
        openChooser->setDirectory(client->dir());
    }
    if (!isInside(settings.resolvedClientExe())) {
        settings.clientExe = u"ZEL.exe"_s;
    }
    if (!isInside(settings.resolvedWine())) {
        settings.winePath = wine;
    }
    const QString address = QUrl(settings.patchBaseUrl.trimmed()).host();
    if (!address.isEmpty() && address != u"127.0.0.1"_s) {
        settings.patchBaseUrl = server->url();
    }
}

/// What a user does who knows what he wants.
void TestRandomUser::configure()
{
    bool isDone = false;
    QTimer::singleShot(0, this, [&] {
        auto *dialog = qobject_cast<SettingsDialog *>(QApplication::activeModalWidget());
        if (dialog == nullptr) {
            return;
        }
        const SettingsFields fields(*dialog);
        SettingsFields::type(fields.clientDir, client->dir());
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

void TestRandomUser::theLauncherOutlivesAnyUse()
{
    const int seed = numberFrom(seedVariable, defaultSeed);
    const int count = numberFrom(countVariable, defaultCount);
    qInfo("%s=%d %s=%d", seedVariable, seed, countVariable, count);

    RandomUser user{quint32(seed)};
    user.beforeAct = [this](bool isOutermost) {
        if (isOutermost && !launcher->window.isVisible()) {
            startAnew();
        }
    };
    user.afterAct = [this] { stayInside(); };
    user.isAtRest = [this] { return launcher->isIdle(); };
    startAnew();
    user.act(count);
    qInfo("%d windows, %d dialogs, %d choosers, %d boxes, %d games, %d requests", windows, dialogs,
          choosers, boxes, games, int(server->paths().size()));
    if (count >= defaultCount) {
        for (const int opened : {windows, dialogs, choosers, boxes, games}) {
            QVERIFY(opened > 10);
        }
    }

    // What is left is a launcher like any other.
    launcher->window.show();
    configure();
    const QString summary = u"Aurora  |  10.0.0.5  |  Versao "_s;
    QVERIFY(launcher->status->text().startsWith(summary));
    LauncherWindow::click(launcher->play);
    QTRY_COMPARE_WITH_TIMEOUT(launcher->status->text(), u"Jogo encerrado (codigo 3)."_s, 30'000);
    QVERIFY(launcher->isIdle());

    const QSettings file(TestEnvironment::settingsFile(), QSettings::IniFormat);
    QCOMPARE(file.status(), QSettings::NoError);
    QCOMPARE(file.value(u"client/dir"_s).toString(), client->dir());
    QCOMPARE(file.value(u"server/name"_s).toString(), u"Aurora"_s);
    QCOMPARE(file.value(u"server/channelCount"_s).toInt(), 4);
    QCOMPARE(file.allKeys().size(), 11);
    QCOMPARE(client->read(u"server.txt"_s), "10.0.0.5\n");
    QCOMPARE(client->read(u"Config.bin"_s).size(), 30);
}

ZEL_GUI_TEST_MAIN(TestRandomUser)

#include "tst_randomuser.moc"
