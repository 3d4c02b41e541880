#include "support/TestMain.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTimer>

#include <optional>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/network/HttpServer.h"
#include "support/process/FakeClient.h"
#include "support/windows/MessageBoxAnswerer.h"

using namespace Qt::StringLiterals;

namespace
{

const QByteArray manifestPath = "/manifest.json"_ba;

QByteArray manifest(const QString &version, const QStringList &paths = {})
{
    QJsonArray files;
    for (const QString &path : paths) {
        files.append(QJsonObject{{u"path"_s, path}});
    }
    return QJsonDocument(QJsonObject{{u"version"_s, version}, {u"files"_s, files}}).toJson();
}

QString summaryOf(const QString &version)
{
    return u"Orvandale  |  127.0.0.1  |  Versao "_s + version;
}

MessageBoxAnswerer::Box box(LauncherWindow &launcher, QMessageBox::Icon icon, const QString &text)
{
    return messageBox(&launcher.window, icon, u"Atualizacao"_s, text);
}

MessageBoxAnswerer::Box question(LauncherWindow &launcher, const QString &message)
{
    return box(launcher, QMessageBox::Question, message + u"\n\nDeseja iniciar mesmo assim?"_s);
}

} // namespace

class TestPlayFlow : public TestBase
{
    Q_OBJECT

private slots:
    void init();

    void withoutABaseUrlTheGameStartsAtOnce();
    void aCheckMakesTheWindowBusy();
    void thePatchersReportsReachTheWindow();
    void theFirstCheckShowsItsResultThenStartsTheGame();
    void theResultShowsTheVersionThatTheUpdateReached();
    void aFailedFirstCheckShowsAWarningThenAQuestion_data();
    void aFailedFirstCheckShowsAWarningThenAQuestion();
    void aCancelledCheckShowsOnlyTheQuestion();
    void aCheckWithoutAnAddressIsSilent();
    void onlyTheFirstCheckShowsItsResultOnPurpose();
    void aLaterCheckDoesNotForceTheBarsOnPurpose();
    void aLaterFailedCheckShowsOnlyTheQuestion();
    void afterACheckItsResultIsDisconnected();
    void everyCheckUsesTheCurrentSettings();
    void aFailedStartAfterACheckLeavesTheWindowIdle();

    void aResultIsShownByItsMessage_data();
    void aResultIsShownByItsMessage();
    void aResultDuringTheGameIsNotShown();

    void cancelDuringAnUpdateClosesWithoutAQuestion_data();
    void cancelDuringAnUpdateClosesWithoutAQuestion();

private:
    void publish(const HttpAnswer &answer) { server->answer(manifestPath, answer); }
    /// Runs the first update check, without an update, and the game after it.
    void playFirst(const LauncherWindow &launcher);

    std::optional<FakeClient> client;
    std::optional<FakeProgram> wine;
    std::optional<HttpServer> server;
};

void TestPlayFlow::init()
{
    TestBase::init();
    client.emplace();
    client->useInLauncher();
    wine.emplace(client->filePath(u"wine"_s));
    server.emplace();
    publish(HttpAnswer::withLength(manifest(u"1.0.0"_s)));
    LauncherSettings &settings = LauncherSettings::instance();
    settings.useWine = true;
    settings.winePath = wine->path();
    settings.patchBaseUrl = server->url();
}

void TestPlayFlow::playFirst(const LauncherWindow &launcher)
{
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok);
    LauncherWindow::click(launcher.play);
    QTRY_COMPARE(wine->startCount(), 1);
    wine->exitWith(0);
    launcher.waitForEnd(0);
}

void TestPlayFlow::withoutABaseUrlTheGameStartsAtOnce()
{
    LauncherSettings::instance().patchBaseUrl.clear();
    LauncherWindow launcher;
    const QSignalSpy statusReports(launcher.patchManager, &PatchManager::statusChanged);
    const QSignalSpy results(launcher.patchManager, &PatchManager::finished);
    const QList<int> progress = launcher.progress();
    const MessageBoxAnswerer user;
    LauncherWindow::click(launcher.play);
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
    QCOMPARE(launcher.process->state(), QProcess::Running);
    QCOMPARE(launcher.progress(), progress);
    QCOMPARE(statusReports.count(), 0);
    QCOMPARE(results.count(), 0);
}

void TestPlayFlow::aCheckMakesTheWindowBusy()
{
    publish(HttpAnswer::withLength(manifest(u"1.0.0"_s)).heldAt(0));
    LauncherSettings::instance().serverIp = u"10.1.2.3"_s;
    LauncherWindow launcher;
    // Without status reports, the line keeps the text that the click set.
    QObject::disconnect(launcher.patchManager, &PatchManager::statusChanged, &launcher.window,
                        nullptr);
    const MessageBoxAnswerer user;
    LauncherWindow::click(launcher.play);
    QVERIFY(launcher.isBusy());
    QVERIFY(launcher.cancel->isEnabled());
    QCOMPARE(launcher.status->text(), u"Verificando atualizacoes..."_s);
    QCOMPARE(client->read(u"server.txt"_s), "10.1.2.3\n");

    LauncherWindow::click(launcher.play);
    // The slot itself ignores the call, too.
    QVERIFY(QMetaObject::invokeMethod(&launcher.window, "onPlay"));
    QTRY_COMPARE(server->heldAnswers(), 1);
    QCOMPARE(server->paths(), QByteArrayList({manifestPath}));
    QCOMPARE(launcher.process->state(), QProcess::NotRunning);
}

void TestPlayFlow::thePatchersReportsReachTheWindow()
{
    publish(HttpAnswer::withLength(manifest(u"2"_s, {u"a"_s, u"b"_s, u"c"_s})).heldAt(0));
    server->answer("/a", HttpAnswer::withLength("a"));
    server->answer("/b", HttpAnswer::withLength("b").heldAt(0));
    server->answer("/c", HttpAnswer::withLength("c").heldAt(0));
    LauncherWindow launcher;
    LauncherWindow::click(launcher.play);
    QCOMPARE(launcher.status->text(), u"Verificando versao..."_s);
    QCOMPARE(launcher.progress(), QList<int>({0, 8}));
    QTRY_COMPARE(server->heldAnswers(), 1);
    server->resume();
    QTRY_COMPARE(launcher.status->text(), u"Baixando b (2/3)"_s);
    QCOMPARE(launcher.progress(), QList<int>({33, 41}));
    QVERIFY(launcher.isBusy());
    QTRY_COMPARE(server->heldAnswers(), 1);
    server->resume();
    QTRY_COMPARE(launcher.status->text(), u"Baixando c (3/3)"_s);
    QCOMPARE(launcher.progress(), QList<int>({66, 74}));
    QVERIFY(launcher.isBusy());
}

void TestPlayFlow::theFirstCheckShowsItsResultThenStartsTheGame()
{
    LauncherWindow launcher;
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok, [&](QMessageBox &) {
        QCOMPARE(launcher.progress(), QList<int>({100, 100}));
        QCOMPARE(launcher.status->text(), summaryOf(u"1.0.0"_s));
        QVERIFY(launcher.isIdle());
        QCOMPARE(launcher.process->state(), QProcess::NotRunning);
    });
    LauncherWindow::click(launcher.play);
    QTRY_VERIFY(user.isDone());
    QCOMPARE(user.last(),
             box(launcher, QMessageBox::Information, u"Cliente ja esta atualizado."_s));
    QTRY_COMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
    QVERIFY(launcher.isBusy());
    QCOMPARE(launcher.progress(), QList<int>({100, 100}));
    QTRY_COMPARE(wine->startCount(), 1);
    wine->exitWith(0);
    launcher.waitForEnd(0);
    QCOMPARE(launcher.progress(), QList<int>({0, 0}));
}

void TestPlayFlow::theResultShowsTheVersionThatTheUpdateReached()
{
    publish(HttpAnswer::withLength(manifest(u"2.5"_s, {u"ZEL.exe"_s})));
    server->answer("/ZEL.exe", HttpAnswer::withLength("the new client"));
    LauncherWindow launcher;
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok,
                [&](QMessageBox &) { QCOMPARE(launcher.status->text(), summaryOf(u"2.5"_s)); });
    LauncherWindow::click(launcher.play);
    QTRY_VERIFY(user.isDone());
    QCOMPARE(user.last().text, u"Atualizacao concluida."_s);
    QCOMPARE(client->read(u"ZEL.exe"_s), "the new client");
    QTRY_COMPARE(wine->startCount(), 1);
}

void TestPlayFlow::aFailedFirstCheckShowsAWarningThenAQuestion_data()
{
    QTest::addColumn<QMessageBox::StandardButton>("answer");
    QTest::newRow("yes") << QMessageBox::Yes;
    QTest::newRow("no") << QMessageBox::No;
    QTest::newRow("closed without an answer") << QMessageBox::NoButton;
}

void TestPlayFlow::aFailedFirstCheckShowsAWarningThenAQuestion()
{
    QFETCH(const QMessageBox::StandardButton, answer);
    publish(HttpAnswer::withLength("[]"));
    LauncherWindow launcher;
    MessageBoxAnswerer user;
    const auto look = [&](QMessageBox &) {
        QCOMPARE(launcher.progress(), QList<int>({0, 8}));
        QCOMPARE(launcher.status->text(), summaryOf(u"1.0.0"_s));
        QVERIFY(launcher.isIdle());
    };
    user.expect(QMessageBox::Ok, look);
    user.expect(answer, [&](QMessageBox &box) {
        look(box);
        if (answer == QMessageBox::NoButton) {
            QTest::keyClick(&box, Qt::Key_Escape);
        }
    });
    LauncherWindow::click(launcher.play);
    QTRY_VERIFY(user.isDone());
    const QString message = u"manifest.json invalido."_s;
    QCOMPARE(user.boxes(),
             QList({box(launcher, QMessageBox::Warning, message), question(launcher, message)}));
    if (answer == QMessageBox::Yes) {
        QTRY_COMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
        QVERIFY(launcher.isBusy());
        QTRY_COMPARE(wine->startCount(), 1);
        return;
    }
    QTRY_COMPARE(launcher.status->text(), u"Atualizacao cancelada."_s);
    QVERIFY(launcher.isIdle());
    QCOMPARE(launcher.progress(), QList<int>({0, 0}));
    QCOMPARE(launcher.process->state(), QProcess::NotRunning);
    QCOMPARE(wine->startCount(), 0);
}

void TestPlayFlow::aCancelledCheckShowsOnlyTheQuestion()
{
    publish(HttpAnswer::withLength(manifest(u"1.0.0"_s)).heldAt(0));
    LauncherWindow launcher;
    LauncherWindow::click(launcher.play);
    QTRY_COMPARE(server->heldAnswers(), 1);
    MessageBoxAnswerer user;
    user.expect(QMessageBox::No);
    // Queued: the message box runs inside the call.
    QTimer::singleShot(0, launcher.patchManager, &PatchManager::cancel);
    QTRY_VERIFY(user.isDone());
    QCOMPARE(user.boxes(), QList({question(launcher, u"Atualizacao cancelada."_s)}));
    QVERIFY(launcher.isIdle());
}

void TestPlayFlow::aCheckWithoutAnAddressIsSilent()
{
    LauncherSettings::instance().patchBaseUrl = u"  "_s;
    LauncherWindow launcher;
    QSignalSpy results(launcher.patchManager, &PatchManager::finished);
    const MessageBoxAnswerer user;
    LauncherWindow::click(launcher.play);
    QCOMPARE(results.count(), 1);
    QCOMPARE(results.at(0).at(1).toString(), u"Atualizacao desativada (URL de patch vazia)."_s);
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
    QVERIFY(launcher.isBusy());
    QCOMPARE(launcher.progress(), QList<int>({100, 100}));
    QTRY_COMPARE(wine->startCount(), 1);
}

void TestPlayFlow::onlyTheFirstCheckShowsItsResultOnPurpose()
{
    LauncherWindow launcher;
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok);
    for (int run = 1; run <= 3; ++run) {
        LauncherWindow::click(launcher.play);
        QTRY_COMPARE(wine->startCount(), run);
        QCOMPARE(user.boxes().size(), 1);
        QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
        wine->exitWith(0);
        launcher.waitForEnd(0);
    }
    QCOMPARE(server->paths(), QByteArrayList(3, manifestPath));
}

void TestPlayFlow::aLaterCheckDoesNotForceTheBarsOnPurpose()
{
    LauncherWindow launcher;
    playFirst(launcher);

    // A result without the usual progress of 100 before it.
    publish(HttpAnswer::withLength(manifest(u"1.0.0"_s)).heldAt(0));
    LauncherWindow::click(launcher.play);
    QCOMPARE(launcher.progress(), QList<int>({0, 8}));
    emit launcher.patchManager->finished(true, u"Pronto."_s);
    QCOMPARE(launcher.progress(), QList<int>({0, 8}));
    QTRY_COMPARE(wine->startCount(), 2);
}

void TestPlayFlow::aLaterFailedCheckShowsOnlyTheQuestion()
{
    LauncherWindow launcher;
    playFirst(launcher);
    MessageBoxAnswerer user;

    publish(HttpAnswer::withLength("[]"));
    user.expect(QMessageBox::No, [&](QMessageBox &) {
        QVERIFY(launcher.isBusy());
        QCOMPARE(launcher.progress(), QList<int>({0, 8}));
    });
    LauncherWindow::click(launcher.play);
    QTRY_VERIFY(user.isDone());
    QCOMPARE(user.last(), question(launcher, u"manifest.json invalido."_s));
    QTRY_COMPARE(launcher.status->text(), u"Atualizacao cancelada."_s);
    QVERIFY(launcher.isIdle());
    QCOMPARE(launcher.progress(), QList<int>({0, 0}));

    // The next click asks again.
    user.expect(QMessageBox::Yes);
    LauncherWindow::click(launcher.play);
    QTRY_COMPARE(wine->startCount(), 2);
    QVERIFY(user.isDone());
    QCOMPARE(user.boxes().size(), 2);
}

void TestPlayFlow::afterACheckItsResultIsDisconnected()
{
    LauncherWindow launcher;
    playFirst(launcher);

    emit launcher.patchManager->finished(true, u"Pronto."_s);
    emit launcher.patchManager->finished(false, u"Falhou."_s);
    QCOMPARE(launcher.status->text(), u"Jogo encerrado (codigo 0)."_s);
    QCOMPARE(launcher.progress(), QList<int>({0, 0}));
    QCOMPARE(launcher.process->state(), QProcess::NotRunning);
    QVERIFY(launcher.isIdle());
}

void TestPlayFlow::everyCheckUsesTheCurrentSettings()
{
    LauncherWindow launcher;
    playFirst(launcher);

    const FakeClient other(u"other"_s);
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = other.dir();
    settings.patchBaseUrl = server->url(u"/beta"_s);
    server->answer("/beta/manifest.json",
                   HttpAnswer::withLength(manifest(u"3"_s, {u"data/new"_s})));
    server->answer("/beta/data/new", HttpAnswer::withLength("new"));
    LauncherWindow::click(launcher.play);
    QTRY_COMPARE(wine->startCount(), 2);
    QCOMPARE(server->paths(),
             QByteArrayList({manifestPath, "/beta/manifest.json", "/beta/data/new"}));
    QCOMPARE(other.read(u"data/new"_s), "new");
    QVERIFY(!QFile::exists(client->filePath(u"data"_s)));
    QCOMPARE(wine->workingFolder(), other.dir());
}

void TestPlayFlow::aFailedStartAfterACheckLeavesTheWindowIdle()
{
    LauncherSettings::instance().useWine = false; // and "ZEL.exe" is not executable
    LauncherWindow launcher;
    MessageBoxAnswerer user;
    user.expect(QMessageBox::Ok);
    user.expect(QMessageBox::Ok, [&](QMessageBox &) {
        // The patcher's message, not the summary.
        QCOMPARE(launcher.status->text(), u"Cliente ja esta atualizado."_s);
    });
    LauncherWindow::click(launcher.play);
    QTRY_VERIFY(user.isDone());
    QCOMPARE(user.last().text,
             u"Nao foi possivel iniciar o cliente:\n"_s + client->filePath(u"ZEL.exe"_s));
    QTRY_COMPARE(launcher.status->text(), u"Falha ao iniciar o jogo."_s);
    QVERIFY(launcher.isIdle());
    QCOMPARE(launcher.progress(), QList<int>({100, 100}));

    // The same with a later check, during which the window is busy.
    user.expect(QMessageBox::Ok, [&](QMessageBox &) { QVERIFY(launcher.isBusy()); });
    LauncherWindow::click(launcher.play);
    QTRY_VERIFY(user.isDone());
    QTRY_COMPARE(launcher.status->text(), u"Falha ao iniciar o jogo."_s);
    QVERIFY(launcher.isIdle());
}

void TestPlayFlow::aResultIsShownByItsMessage_data()
{
    QTest::addColumn<bool>("success");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QMessageBox::Icon>("icon");
    constexpr auto none = QMessageBox::NoIcon;
    constexpr auto information = QMessageBox::Information;
    constexpr auto warning = QMessageBox::Warning;
    QTest::newRow("success") << true << u"Atualizacao concluida."_s << information;
    QTest::newRow("success, switched off") << true << u"x desativada x"_s << none;
    QTest::newRow("success, switched off, capitals") << true << u"DESATIVADA"_s << none;
    QTest::newRow("success, mixed case") << true << u"(DesAtivaDa)"_s << none;
    QTest::newRow("success, cancelled") << true << u"cancelada"_s << information;
    QTest::newRow("success, empty") << true << QString() << information;
    QTest::newRow("failure") << false << u"manifest.json invalido."_s << warning;
    QTest::newRow("failure, cancelled") << false << u"Atualizacao cancelada."_s << none;
    QTest::newRow("failure, cancelled, capitals") << false << u"CANCELADA"_s << none;
    QTest::newRow("failure, cancelled, mixed case") << false << u"foi CanCelada hoje"_s << none;
    QTest::newRow("failure, switched off") << false << u"desativada"_s << none;
    QTest::newRow("failure, switched off, capitals") << false << u"x DESATIVADA"_s << none;
    QTest::newRow("failure, similar word") << false << u"cancelado"_s << warning;
    QTest::newRow("failure, empty") << false << QString() << warning;
}

void TestPlayFlow::aResultIsShownByItsMessage()
{
    QFETCH(const bool, success);
    QFETCH(const QString, message);
    QFETCH(const QMessageBox::Icon, icon);
    LauncherWindow launcher;
    emit launcher.patchManager->progressChanged(40);
    MessageBoxAnswerer user;
    if (icon != QMessageBox::NoIcon) {
        user.expect(QMessageBox::Ok);
    }
    emit launcher.patchManager->finished(success, message);
    QVERIFY(user.isDone());
    if (icon != QMessageBox::NoIcon) {
        QCOMPARE(user.last(), box(launcher, icon, message));
    }
    QCOMPARE(launcher.progress(), success ? QList<int>({100, 100}) : QList<int>({40, 48}));
    QCOMPARE(launcher.status->text(), summaryOf(u"1.0.0"_s));
    QVERIFY(launcher.isIdle());
}

void TestPlayFlow::aResultDuringTheGameIsNotShown()
{
    LauncherSettings::instance().patchBaseUrl.clear();
    for (const bool success : {true, false}) {
        LauncherWindow launcher;
        LauncherWindow::click(launcher.play);
        const MessageBoxAnswerer user;
        emit launcher.patchManager->progressChanged(40);
        emit launcher.patchManager->finished(success, u"Pronto."_s);
        QVERIFY(launcher.isBusy());
        QCOMPARE(launcher.status->text(), summaryOf(u"1.0.0"_s));
        QCOMPARE(launcher.progress(), success ? QList<int>({100, 100}) : QList<int>({40, 48}));
    }
}

void TestPlayFlow::cancelDuringAnUpdateClosesWithoutAQuestion_data()
{
    QTest::addColumn<bool>("isDownload");
    QTest::newRow("check") << false;
    QTest::newRow("download") << true;
}

void TestPlayFlow::cancelDuringAnUpdateClosesWithoutAQuestion()
{
    QFETCH(const bool, isDownload);
    if (isDownload) {
        publish(HttpAnswer::withLength(manifest(u"2"_s, {u"a"_s})));
        server->answer("/a", HttpAnswer::withLength(QByteArray(1000, 'a')).heldAt(500));
    } else {
        publish(HttpAnswer::withLength(manifest(u"1.0.0"_s)).heldAt(0));
    }
    {
        LauncherWindow launcher;
        const QSignalSpy results(launcher.patchManager, &PatchManager::finished);
        LauncherWindow::click(launcher.play);
        QTRY_COMPARE(server->heldAnswers(), 1);
        QTRY_COMPARE(launcher.status->text(),
                     isDownload ? u"Baixando a (1/1)"_s : u"Verificando versao..."_s);
        const MessageBoxAnswerer user;
        LauncherWindow::click(launcher.cancel);
        QVERIFY(!launcher.window.isVisible());
        // The update itself is not cancelled; it ends with the window.
        QCOMPARE(results.count(), 0);
        QVERIFY(server->openConnections() > 0);
    }
    QTRY_COMPARE(server->openConnections(), 0);
    QVERIFY(!QFile::exists(client->filePath(u"a"_s)));
}

ZEL_GUI_TEST_MAIN(TestPlayFlow)

#include "tst_playflow.moc"
