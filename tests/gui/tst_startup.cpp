#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QSettings>

#include <optional>
#include <utility>

#include "gui/RealLauncher.h"
#include "support/Timeouts.h"
#include "support/network/HttpServer.h"
#include "support/process/FakeClient.h"
#include "support/process/ProcessTable.h"

using namespace Qt::StringLiterals;

namespace
{

const QString mainTitle = u"ZEL Launcher"_s;

} // namespace

/// The real program on its own display.
class TestStartUp : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { launcher.kill(); }

    void noArgumentIsRead();
    void aFirstStartWritesNoSettings();
    void aVersionStoredInOneRunIsKnownInTheNext();
    void nothingIsPrintedWhateverGoesWrong_data();
    void nothingIsPrintedWhateverGoesWrong();

private:
    /// Writes settings with which the game starts, with @p changes.
    void store(const QVariantMap &changes = {});
    /// Waits until the game is started, and ends it.
    void waitForTheGame(int startCount);

    RealLauncher launcher;
    std::optional<FakeClient> client;
    std::optional<FakeProgram> wine;
};

void TestStartUp::init()
{
    TestBase::init();
    QDir(TestEnvironment::configHome()).removeRecursively();
    client.emplace();
    wine.emplace(client->filePath(u"wine"_s));
}

void TestStartUp::store(const QVariantMap &changes)
{
    QVariantMap values{{u"client/dir"_s, client->dir()}, {u"client/wine"_s, wine->path()}};
    values.insert(changes);
    RealLauncher::writeSettings(values);
}

void TestStartUp::waitForTheGame(int startCount)
{
    if (QTest::currentTestFailed()) {
        return;
    }
    QTRY_COMPARE_WITH_TIMEOUT(wine->startCount(), startCount, Timeouts::programMs);
    wine->exitWith(0);
    // The launcher has noticed the end when the process is reaped.
    QTRY_VERIFY_WITH_TIMEOUT(!ProcessTable::isAlive(wine->pid()), Timeouts::programMs);
}

void TestStartUp::noArgumentIsRead()
{
    launcher.start({u"--help"_s, u"-x"_s, u"http://127.0.0.1/"_s, QString()});
    launcher.close();
}

void TestStartUp::aFirstStartWritesNoSettings()
{
    launcher.start();
    launcher.close();
    QVERIFY(!QFile::exists(TestEnvironment::settingsFile()));
}

void TestStartUp::aVersionStoredInOneRunIsKnownInTheNext()
{
    HttpServer server;
    server.answer("/manifest.json", HttpAnswer::withLength(R"({"version": "2"})"));
    store({{u"patch/baseUrl"_s, server.url()}});
    // Any save would drop this comment from the file.
    const auto addRemark = [] {
        QFile file(TestEnvironment::settingsFile());
        QVERIFY(file.open(QIODevice::Append));
        file.write("; a remark\n");
    };
    const auto hasRemark = [] {
        QFile file(TestEnvironment::settingsFile());
        return file.open(QIODevice::ReadOnly) && file.readAll().contains("; a remark");
    };

    for (int run = 1; run <= 2; ++run) {
        addRemark();
        launcher.start();
        launcher.clickPlay();
        launcher.answer(u"Atualizacao"_s, u"Return"_s);
        waitForTheGame(run);
        launcher.close();
        const QSettings settings(TestEnvironment::settingsFile(), QSettings::IniFormat);
        QCOMPARE(settings.value(u"patch/localVersion"_s).toString(), u"2"_s);
        QCOMPARE(hasRemark(), run == 2);
    }
}

void TestStartUp::nothingIsPrintedWhateverGoesWrong_data()
{
    using Answers = QList<std::pair<QString, QString>>;
    QTest::addColumn<QVariantMap>("settings");
    QTest::addColumn<Answers>("answers");
    const Answers noticed = {{mainTitle, u"Return"_s}};
    const Answers declined = {{u"Atualizacao"_s, u"Return"_s}, {u"Atualizacao"_s, u"alt+n"_s}};
    QTest::newRow("client folder missing")
        << QVariantMap{{u"client/dir"_s, u"/nowhere/at/all"_s}} << noticed;
    QTest::newRow("client missing") << QVariantMap{{u"client/exe"_s, u"other.exe"_s}} << noticed;
    QTest::newRow("client does not start") << QVariantMap{{u"client/useWine"_s, false}} << noticed;
    QTest::newRow("update address invalid")
        << QVariantMap{{u"patch/baseUrl"_s, u"http://["_s}} << declined;
    QTest::newRow("update address without a scheme")
        << QVariantMap{{u"patch/baseUrl"_s, u"example"_s}} << declined;
    QTest::newRow("update server unreachable")
        << QVariantMap{{u"patch/baseUrl"_s, u"http://127.0.0.1:1/"_s}} << declined;
    QTest::newRow("update server not encrypted and silent")
        << QVariantMap{{u"patch/baseUrl"_s, u"https"_s}} << Answers();
}

void TestStartUp::nothingIsPrintedWhateverGoesWrong()
{
    using Answers = QList<std::pair<QString, QString>>;
    QFETCH(QVariantMap, settings);
    QFETCH(const Answers, answers);
    const HttpServer server;
    client->write(u"Launcher.bmp"_s, "no picture");
    const bool usesServer = settings.value(u"patch/baseUrl"_s) == u"https"_s;
    if (usesServer) {
        settings[u"patch/baseUrl"_s] = server.url().replace(u"http:"_s, u"https:"_s);
    }
    store(settings);
    launcher.start();
    launcher.clickPlay();
    if (usesServer) {
        QTRY_COMPARE_WITH_TIMEOUT(server.openConnections(), 1, Timeouts::programMs);
    }
    for (const auto &[title, key] : answers) {
        launcher.answer(title, key);
    }
    launcher.close();
}

ZEL_GUI_TEST_MAIN(TestStartUp)

#include "tst_startup.moc"
