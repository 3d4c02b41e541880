#include "support/TestMain.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QThread>

#include <array>
#include <iostream>
#include <optional>
#include <string>

#include "gui/RealLauncher.h"
#include "patch/PatchManager.h"
#include "settings/LauncherSettings.h"
#include "support/Timeouts.h"
#include "support/files/Disk.h"
#include "support/network/HttpServer.h"

using namespace Qt::StringLiterals;

namespace
{

constexpr int largestSize = 1024 * 1024; // of three files, each 32 times as large as the one before

using Files = QMap<QString, QByteArray>;

/// The files of the patch.
const std::array patchFiles = {u"ZEL.exe"_s, u"data/one.bin"_s, u"data/two.bin"_s};

/// Files that the launcher writes in place, so that a kill may truncate them.
const QStringList filesInPlace = {u"Config.bin"_s, u"serverlist.txt"_s, u"sn.bin"_s,
                                  u"server.txt"_s, u"zel_login.ini"_s};

// The lock of the settings file.
const QString settingsLock = u"Orvandale/zel_launcher.ini.lock"_s;

/// Matches the name of a temporary file, which begins with that of the file to replace.
const QRegularExpression temporaryName(u"^(.+)\\.[A-Za-z]{6}$"_s);

/// The client's own file, for either set of choices.
const QByteArray loginFile =
    "window=1\nserver_ip=first.example.org\n" + QByteArray(5000, '#') + "\n";

/// The names of the files that differ between two states.
QStringList differences(const Files &one, const Files &other)
{
    QStringList names;
    Files all = one;
    all.insert(other);
    for (const QString &name : all.keys()) {
        if (!one.contains(name) || one.value(name) != other.value(name)) {
            names << name;
        }
    }
    return names;
}

// ---- the process that is killed

/// Saves one of two sets of settings, like the settings dialog.
bool saveSettings(bool isSecond)
{
    const QString mark = isSecond ? u"second"_s : u"first"_s;
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientExe = mark + u".exe"_s;
    settings.winePath = u"/opt/"_s + mark;
    settings.useWine = isSecond;
    settings.patchBaseUrl = u"https://example.org/"_s + mark;
    settings.serverName = mark;
    settings.serverIp = mark + u".example.org"_s;
    settings.channelCount = isSecond ? 9 : 2;
    settings.websiteUrl = mark;
    settings.newsUrl = mark;
    settings.clientConfig = ClientConfig();
    settings.clientConfig.brightness = isSecond ? 80 : 20;
    settings.save();
    return settings.syncClientFiles(nullptr);
}

/// Writes the server files and updates, like a click on "Iniciar".
bool update(const QString &baseUrl)
{
    const LauncherSettings &settings = LauncherSettings::instance();
    if (!settings.syncServerFilesOnly(nullptr)) {
        return false;
    }
    PatchManager manager;
    manager.clientDir = settings.clientDir;
    manager.baseUrl = baseUrl;
    bool isDone = false;
    QEventLoop loop;
    QObject::connect(
        &manager, &PatchManager::finished, &loop,
        [&](bool success) {
            isDone = success;
            loop.quit();
        },
        Qt::QueuedConnection);
    manager.checkAndUpdate();
    loop.exec();
    return isDone;
}

/// Starts like the launcher, then runs the command in each line of standard input and prints a
/// line: "first" or "second" saves, a URL updates from there.
int serveAsChild()
{
    LauncherSettings::instance().load();
    std::cout << LauncherSettings::instance().websiteUrl.toStdString() << '\n' << std::flush;
    std::string line;
    while (std::getline(std::cin, line)) {
        const QString job = QString::fromStdString(line);
        const bool isDone = job.startsWith(u"http:") ? update(job) : saveSettings(job == u"second");
        std::cout << (isDone ? "done" : "failed") << '\n' << std::flush;
    }
    return 0;
}

/// This program again, as serveAsChild().
class Victim
{
public:
    Victim()
    {
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(), {u"--child"_s});
    }
    ~Victim() { kill(); }
    Q_DISABLE_COPY_MOVE(Victim)

    /// Its next line; empty if there is none.
    QByteArray answer()
    {
        while (!process.canReadLine() && process.waitForReadyRead(Timeouts::programMs)) {
        }
        return process.readLine().trimmed();
    }
    void ask(const QByteArray &jobs)
    {
        process.write(jobs);
        process.waitForBytesWritten(Timeouts::programMs);
    }
    void kill()
    {
        process.kill();
        process.waitForFinished(Timeouts::programMs);
    }

private:
    QProcess process;
};

} // namespace

/// Kills the launcher at random moments. Afterwards every file is complete, except those that are
/// written in place, and the next start works.
class TestSuddenEnd : public TestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();

    void everyMomentLeavesWholeFiles_data();
    void everyMomentLeavesWholeFiles();
    void everyMomentOfTheProgramLeavesWholeFiles();

private:
    /// Serves a patch below @p path, each of its files full of @p content, and @p version.
    void publish(const QByteArray &path, const QByteArray &version, char content);
    QString clientDir() const { return root->filePath(u"client"_s); }
    QString configDir() const { return TestEnvironment::configHome(); }
    /// The contents of all files that the launcher may write.
    Files written() const;
    /// Waits for the end of a job and returns written().
    Files outcomeOf(Victim &victim, const QByteArray &job);
    /// Checks that each file is as in one of the two states, or truncated if written in place.
    void expectWhole(const Files &left, const Files &before, const Files &after);
    /// Removes left temporary files and restores a truncated login file.
    void repairFiles();

    QRandomGenerator random;
    std::optional<QTemporaryDir> root;
    std::optional<HttpServer> server;
    int temporaries = 0;
    int locks = 0;
    int cuts = 0;
};

void TestSuddenEnd::initTestCase()
{
    const QByteArray wanted = qgetenv("ZEL_SEED");
    const quint32 seed =
        wanted.isEmpty() ? QRandomGenerator::global()->generate() : wanted.toUInt();
    random.seed(seed);
    qInfo("ZEL_SEED=%u", seed);
}

void TestSuddenEnd::init()
{
    TestBase::init();
    root.emplace();
    server.emplace();
    temporaries = locks = cuts = 0;
    for (const QString &name : patchFiles) {
        Disk::write(clientDir() + u'/' + name, "of an older patch");
    }
    Disk::write(clientDir() + u"/zel_login.ini"_s, loginFile);
    publish("/first", "1", '1');
    publish("/second", "2", '2');
    RealLauncher::writeSettings({{u"client/dir"_s, clientDir()}});
}

void TestSuddenEnd::publish(const QByteArray &path, const QByteArray &version, char content)
{
    QByteArrayList listed;
    int size = largestSize / (32 * 32);
    for (const QString &name : patchFiles) {
        listed.append(R"({"path":")" + name.toUtf8() + R"("})");
        server->answer(path + '/' + name.toUtf8(),
                       HttpAnswer::withLength(QByteArray(size, content)));
        size *= 32;
    }
    server->answer(path + "/manifest.json",
                   HttpAnswer::withLength(R"({"version":")" + version + R"(","files":[)" +
                                          listed.join(',') + "]}"));
}

Files TestSuddenEnd::written() const
{
    Files files = Disk::files(clientDir());
    files.insert(Disk::files(configDir()));
    return files;
}

Files TestSuddenEnd::outcomeOf(Victim &victim, const QByteArray &job)
{
    victim.ask(job + '\n');
    const QByteArray answer = victim.answer();
    if (answer != "done") {
        QTest::qFail((job + ": " + answer).constData(), __FILE__, __LINE__);
    }
    return written();
}

void TestSuddenEnd::expectWhole(const Files &left, const Files &before, const Files &after)
{
    for (auto file = before.begin(); file != before.end(); ++file) {
        QVERIFY2(left.contains(file.key()), qPrintable(file.key()));
    }
    for (auto file = left.begin(); file != left.end(); ++file) {
        const QString &name = file.key();
        const QByteArray &content = file.value();
        if (name == settingsLock) {
            ++locks;
        } else if (!before.contains(name)) {
            const QRegularExpressionMatch match = temporaryName.match(name);
            QVERIFY2(match.hasMatch() && before.contains(match.captured(1)), qPrintable(name));
            ++temporaries;
        } else if (content != before[name] && content != after[name]) {
            QVERIFY2(filesInPlace.contains(name) &&
                         (before[name].startsWith(content) || after[name].startsWith(content)),
                     qPrintable(name));
            ++cuts;
        }
    }
}

void TestSuddenEnd::repairFiles()
{
    for (const QString &folder : {clientDir(), configDir()}) {
        const QStringList names = Disk::files(folder).keys();
        for (const QString &name : names) {
            if (temporaryName.match(name).hasMatch()) {
                QFile::remove(folder + u'/' + name);
            }
        }
    }
    Disk::write(clientDir() + u"/zel_login.ini"_s, loginFile);
}

void TestSuddenEnd::everyMomentLeavesWholeFiles_data()
{
    QTest::addColumn<QByteArray>("first");
    QTest::addColumn<QByteArray>("second");
    QTest::newRow("save") << "first"_ba
                          << "second"_ba;
    QTest::newRow("update") << "/first"_ba
                            << "/second"_ba;
}

void TestSuddenEnd::everyMomentLeavesWholeFiles()
{
    constexpr int moments = 100;
    QFETCH(QByteArray, first);
    QFETCH(QByteArray, second);
    const QByteArray url = server->url().toUtf8();
    if (first.startsWith('/')) {
        first.prepend(url);
        second.prepend(url);
    }

    std::optional<Victim> victim(std::in_place);
    victim->answer();
    outcomeOf(*victim, "first");
    const Files before = outcomeOf(*victim, url + "/first");
    QElapsedTimer clock;
    clock.start();
    const Files after = outcomeOf(*victim, second);
    const auto jobUs = quint32(clock.nsecsElapsed() / 1000);

    int between = 0;
    for (int moment = 0; moment < moments && !QTest::currentTestFailed(); ++moment) {
        victim->ask((second + '\n' + first + '\n').repeated(10));
        QThread::usleep(random.bounded(2 * jobUs));
        victim->kill();
        const Files left = written();
        expectWhole(left, before, after);
        between += left != before && left != after ? 1 : 0;
        repairFiles();

        // The next start has one of the two sets, and the next save and update succeed.
        victim.emplace();
        const QByteArray known = victim->answer();
        QVERIFY2(known == "first" || known == "second", known.constData());
        outcomeOf(*victim, "first");
        QCOMPARE(differences(outcomeOf(*victim, url + "/first"), before), QStringList());
    }
    QVERIFY2(between > 0, "no moment was in the middle of the job");
    qInfo("%d moments, %d of them in the middle; %d cut files, %d locks, %d temporaries", moments,
          between, cuts, locks, temporaries);
}

void TestSuddenEnd::everyMomentOfTheProgramLeavesWholeFiles()
{
    constexpr int moments = 6;
    RealLauncher::writeSettings(
        {{u"client/dir"_s, clientDir()}, {u"patch/baseUrl"_s, server->url(u"/patch"_s)}});
    RealLauncher launcher;

    const auto startUpdate = [&](const QByteArray &version, char content) {
        publish("/patch", version, content);
        if (version == "2") {
            // The last file takes a third of a second.
            const HttpAnswer slowly = HttpAnswer::withLength(QByteArray(largestSize, content));
            server->answer("/patch/data/two.bin", slowly.inBlocks(largestSize / 16, 20));
        }
        launcher.start();
        launcher.clickPlay();
    };
    const auto updateWhole = [&](const QByteArray &version, char content) {
        startUpdate(version, content);
        launcher.waitForBox(u"Atualizacao"_s);
        launcher.kill();
        return written();
    };
    const Files before = updateWhole("1", '1');
    const Files after = updateWhole("2", '2');
    QCOMPARE(differences(before, after), QStringList({u"Orvandale/zel_launcher.ini"_s, u"ZEL.exe"_s,
                                                      u"data/one.bin"_s, u"data/two.bin"_s}));

    for (int moment = 0; moment < moments && !QTest::currentTestFailed(); ++moment) {
        QCOMPARE(differences(updateWhole("1", '1'), before), QStringList());
        startUpdate("2", '2');
        QThread::msleep(random.bounded(500U));
        launcher.kill();
        expectWhole(written(), before, after);
        repairFiles();
    }
    QCOMPARE(differences(updateWhole("1", '1'), before), QStringList());
}

int main(int argc, char *argv[])
{
    if (argc == 2 && QByteArrayView(argv[1]) == "--child") {
        const QCoreApplication app(argc, argv);
        TestEnvironment::nameApplication();
        return serveAsChild();
    }
    qputenv("TMPDIR", Disk::memoryFolder().toLocal8Bit());
    const TestEnvironment environment;
    const QApplication app(argc, argv);
    TestEnvironment::nameApplication();
    TestSuddenEnd test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_suddenend.moc"
