#include "PatchTest.h"

#include <algorithm>

#include "settings/LauncherSettings.h"
#include "support/Timeouts.h"

/// cancel(), a second checkAndUpdate() and destruction at every moment of a run.
class TestPatchManagerControl : public PatchTest
{
    Q_OBJECT

private slots:
    void cancelWithoutARunChangesNothing();
    void cancelInFlightEndsTheRunBeforeItReturns_data();
    void cancelInFlightEndsTheRunBeforeItReturns();
    void cancelRightAfterTheStartEndsTheRunBeforeItReturns();
    void cancelWinsOverAnAnswerThatIsNotYetProcessed();
    void filesStoredBeforeCancelStay();
    void cancelBetweenRequestsEndsTheRunAtItsNextStep_data();
    void cancelBetweenRequestsEndsTheRunAtItsNextStep();

    void aSecondCheckAbortsTheRequestInFlight_data();
    void aSecondCheckAbortsTheRequestInFlight();
    void theNextRequestAbortsOneThatIsInFlight();
    void anEarlyExitDoesNotAbortTheRequestInFlight_data();
    void anEarlyExitDoesNotAbortTheRequestInFlight();
    void aReplyThatCannotBeAbortedDoesNotEndTheNextRun_data();
    void aReplyThatCannotBeAbortedDoesNotEndTheNextRun();
    void checkInsideTheEndStartsTheNextRun();

    void callsInsideASignalLeaveTheObjectUsable_data();
    void callsInsideASignalLeaveTheObjectUsable();

    void destructionDuringARunEmitsNothing_data();
    void destructionDuringARunEmitsNothing();

private:
    const Files files = {{u"a"_s, "content of a"}, {u"b"_s, "content of b"}};

    void publishHeld(const QString &heldPath, int position);
    static QStringList runHolding(const QString &heldPath);
    static void addMoments();
};

/// Like publishWhole(), with the answer to one path held.
void TestPatchManagerControl::publishHeld(const QString &heldPath, int position)
{
    publishWhole(files);
    const QByteArray body = heldPath == u"manifest.json"_s ? R"({"files":[{"path":"a"}]})" : "held";
    server->answer('/' + heldPath.toUtf8(), HttpAnswer::withLength(body).heldAt(position));
}

/// The lines of a run until it waits for the held path.
QStringList TestPatchManagerControl::runHolding(const QString &heldPath)
{
    return heldPath == u"manifest.json"_s ? start() : wholeRun().first(heldPath == u"a"_s ? 5 : 7);
}

void TestPatchManagerControl::addMoments()
{
    QTest::addColumn<QString>("heldPath");
    QTest::addColumn<int>("position");
    for (const char *path : {"manifest.json", "a", "b"}) {
        const QString name = QString::fromLatin1(path);
        QTest::addRow("%s, nothing answered", path) << name << int(HttpAnswer::beforeHeader);
        QTest::addRow("%s, inside the header", path) << name << int(HttpAnswer::insideHeader);
        QTest::addRow("%s, before the body", path) << name << 0;
        QTest::addRow("%s, inside the body", path) << name << 3;
    }
}

void TestPatchManagerControl::cancelWithoutARunChangesNothing()
{
    manager->cancel();
    QVERIFY(settle());
    QVERIFY(log->lines().isEmpty());
    publishWhole(files);
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(log->linesOnce(), wholeRun());
    manager->cancel();
    QVERIFY(settle());
    QCOMPARE(log->linesOnce(), wholeRun());
}

void TestPatchManagerControl::cancelInFlightEndsTheRunBeforeItReturns_data()
{
    addMoments();
}

void TestPatchManagerControl::cancelInFlightEndsTheRunBeforeItReturns()
{
    QFETCH(const QString, heldPath);
    QFETCH(const int, position);
    publishHeld(heldPath, position);
    QVERIFY(startAndHold(position));
    manager->cancel();
    QCOMPARE(log->finishedCount(), 1);
    QCOMPARE(log->last(), cancelled());
    manager->cancel();
    server->resume();
    QVERIFY(settle());
    // The library may report the progress of the body once more.
    QStringList lines = log->linesOnce();
    QCOMPARE(lines.takeLast(), cancelled());
    QCOMPARE(lines.first(runHolding(heldPath).size()), runHolding(heldPath));
    QVERIFY(lines.size() <= runHolding(heldPath).size() + 1);
    QCOMPARE(log->linesOf(u"status"_s), runHolding(heldPath).filter(u"status"_s));
    QCOMPARE(savedVersion(), u"1.0.0"_s);
    QVERIFY(!clientTree().contains(heldPath));

    publishWhole(files);
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(log->linesOnce(), wholeRun());
}

void TestPatchManagerControl::cancelRightAfterTheStartEndsTheRunBeforeItReturns()
{
    publishWhole(files);
    manager->checkAndUpdate();
    manager->cancel();
    QCOMPARE(log->lines(), start() + QStringList(cancelled()));
    manager->cancel();
    QVERIFY(settle());
    QCOMPARE(log->lines(), start() + QStringList(cancelled()));
}

void TestPatchManagerControl::cancelWinsOverAnAnswerThatIsNotYetProcessed()
{
    publishWhole(files);
    manager->checkAndUpdate();
    QCoreApplication::processEvents();
    // The network thread fetches the manifest while this thread processes no events.
    const QDeadlineTimer timeout(Timeouts::replyMs);
    while ((server->paths().isEmpty() || server->requestsInFlight() > 0) && !timeout.hasExpired()) {
        QThread::yieldCurrentThread();
    }
    manager->cancel();
    QCOMPARE(log->lines(), start() + QStringList(cancelled()));
    QVERIFY(settle());
    QCOMPARE(log->lines(), start() + QStringList(cancelled()));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json"}));
}

void TestPatchManagerControl::filesStoredBeforeCancelStay()
{
    publishHeld(u"b"_s, 2);
    Disk::write(clientPath(u"b"_s), "old b");
    QVERIFY(startAndHold(2));
    manager->cancel();
    QCOMPARE(Disk::files(clientPath({})), Files({{u"a"_s, "content of a"}, {u"b"_s, "old b"}}));
    QCOMPARE(LauncherSettings::instance().localVersion, u"1.0.0"_s);
}

void TestPatchManagerControl::cancelBetweenRequestsEndsTheRunAtItsNextStep_data()
{
    // These calls violate the precondition. They show which places check the flag.
    QTest::addColumn<int>("line");
    QTest::addColumn<int>("linesBeforeTheEnd");
    QTest::addColumn<int>("requests");
    QTest::newRow("first status") << 0 << 2 << 1;
    QTest::newRow("first progress") << 1 << 2 << 1;
    QTest::newRow("number of files") << 2 << 3 << 1;
    QTest::newRow("progress of the first file") << 3 << 5 << 2;
    QTest::newRow("status of the first file") << 4 << 5 << 2;
    QTest::newRow("progress of the last file") << 5 << 7 << 3;
    QTest::newRow("status of the last file") << 6 << 7 << 3;
}

void TestPatchManagerControl::cancelBetweenRequestsEndsTheRunAtItsNextStep()
{
    QFETCH(const int, line);
    QFETCH(const int, linesBeforeTheEnd);
    QFETCH(const int, requests);
    publishWhole({{u"a"_s, ""}, {u"b"_s, ""}}); // empty bodies emit no progress
    log->onLine = [&](const QString &) {
        if (log->lines().size() == line + 1) {
            manager->cancel();
        }
    };
    QCOMPARE(runToEnd(), cancelled());
    QCOMPARE(log->lines(), wholeRun().first(linesBeforeTheEnd) + QStringList(cancelled()));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json", "/a", "/b"}).first(requests));
    QCOMPARE(clientTree().size(), std::max(requests - 2, 0));
    QCOMPARE(savedVersion(), u"1.0.0"_s);
}

void TestPatchManagerControl::aSecondCheckAbortsTheRequestInFlight_data()
{
    addMoments();
}

void TestPatchManagerControl::aSecondCheckAbortsTheRequestInFlight()
{
    QFETCH(const QString, heldPath);
    QFETCH(const int, position);
    publishHeld(heldPath, position);
    QVERIFY(startAndHold(position));
    log->clear();
    publishWhole(files);
    manager->checkAndUpdate();
    const QString oldEnd = heldPath == u"manifest.json"_s ? manifestFailed(aborted())
                                                          : fileFailed(heldPath, aborted());
    QCOMPARE(log->lines(), start() + QStringList(oldEnd));
    QVERIFY(waitForEnds(2));
    QStringList lines = log->linesOnce();
    QVERIFY(lines.removeOne(oldEnd));
    QCOMPARE(lines, wholeRun());
    QCOMPARE(Disk::files(clientPath({})), files);
    QCOMPARE(savedVersion(), u"2"_s);
}

void TestPatchManagerControl::theNextRequestAbortsOneThatIsInFlight()
{
    // A run started inside a status of a file, against the precondition: the request for that
    // file aborts the new run's request for the manifest.
    publishWhole(files);
    log->onLine = [this](const QString &line) {
        if (line == u"status Baixando a (1/2)"_s) {
            log->onLine = nullptr;
            manager->checkAndUpdate();
        }
    };
    manager->checkAndUpdate();
    QVERIFY(waitForEnds(2));
    QCOMPARE(log->linesOf(u"finished"_s), QStringList({manifestFailed(aborted()), complete()}));
}

void TestPatchManagerControl::anEarlyExitDoesNotAbortTheRequestInFlight_data()
{
    QTest::addColumn<QString>("heldPath");
    QTest::addColumn<QString>("baseUrl");
    for (const char *path : {"manifest.json", "a"}) {
        QTest::addRow("%s, empty", path) << QString::fromLatin1(path) << QString();
        QTest::addRow("%s, invalid", path) << QString::fromLatin1(path) << u"http://[::1"_s;
    }
}

void TestPatchManagerControl::anEarlyExitDoesNotAbortTheRequestInFlight()
{
    QFETCH(const QString, heldPath);
    QFETCH(const QString, baseUrl);
    publishHeld(heldPath, 2);
    QVERIFY(startAndHold(2));
    const QNetworkReply *inFlight = reply();
    log->clear();
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    const QStringList exit =
        baseUrl.isEmpty()
            ? QStringList({u"progress 100"_s,
                           u"finished true Atualizacao desativada (URL de patch vazia)."_s})
            : start() + QStringList(u"finished false URL de patch invalida."_s);
    QCOMPARE(log->lines(), exit);
    QCOMPARE(reply(), inFlight);
    QVERIFY(!inFlight->isFinished());
    emit reply()->downloadProgress(1, 2); // the list of files is empty: no division by zero
    QCOMPARE(log->lines(), exit);

    manager->baseUrl = server->url();
    server->resume();
    QVERIFY(waitForEnds(2));
    QCOMPARE(log->last(), complete());
    QCOMPARE(clientTree(), QStringList(u"a"_s));
    QCOMPARE(savedVersion(), u"1.0.0"_s); // the second check cleared the new version
}

void TestPatchManagerControl::aReplyThatCannotBeAbortedDoesNotEndTheNextRun_data()
{
    QTest::addColumn<bool>("isCancelled");
    QTest::newRow("second check") << false;
    QTest::newRow("cancel and second check") << true;
}

void TestPatchManagerControl::aReplyThatCannotBeAbortedDoesNotEndTheNextRun()
{
    QFETCH(const bool, isCancelled);
    // A local file has been read before its reply is returned; only its finished() is queued.
    manager->baseUrl = u"file:///nonexistent"_s;
    manager->checkAndUpdate();
    if (isCancelled) {
        manager->cancel();
        QVERIFY(settle()); // the handler ignores the dropped reply
    }
    QCOMPARE(log->lines(), start());
    publishWhole(files);
    manager->baseUrl = server->url();
    QCOMPARE(runToEnd(), complete());
    QCOMPARE(log->linesOnce(), wholeRun());
    QCOMPARE(Disk::files(clientPath({})), files);
}

void TestPatchManagerControl::checkInsideTheEndStartsTheNextRun()
{
    publishWhole(files);
    int runs = 1;
    log->onLine = [&](const QString &line) {
        if (line.startsWith(u"finished "_s) && runs < 4) {
            ++runs;
            manager->checkAndUpdate();
        }
    };
    manager->checkAndUpdate();
    QVERIFY(waitForEnds(4));
    QCOMPARE(log->linesOnce(), wholeRun() + wholeRun() + wholeRun() + wholeRun());
    QCOMPARE(server->mostInFlight(), 1);
}

void TestPatchManagerControl::callsInsideASignalLeaveTheObjectUsable_data()
{
    QTest::addColumn<bool>("isCancel");
    QTest::newRow("checkAndUpdate") << false;
    QTest::newRow("cancel") << true;
}

void TestPatchManagerControl::callsInsideASignalLeaveTheObjectUsable()
{
    QFETCH(const bool, isCancel);
    publishWhole(files);
    for (int moment = 1; moment <= 12; ++moment) {
        int count = 0;
        log->onLine = [&](const QString &) {
            if (++count == moment) {
                isCancel ? manager->cancel() : manager->checkAndUpdate();
            }
        };
        manager->checkAndUpdate();
        QVERIFY(settle());
        log->onLine = nullptr;
        QCOMPARE(runToEnd(), complete());
        QCOMPARE(log->linesOnce(), wholeRun());
    }
}

void TestPatchManagerControl::destructionDuringARunEmitsNothing_data()
{
    addMoments();
}

void TestPatchManagerControl::destructionDuringARunEmitsNothing()
{
    QFETCH(const QString, heldPath);
    QFETCH(const int, position);
    publishHeld(heldPath, position);
    QVERIFY(startAndHold(position));
    const QStringList before = log->lines();
    manager.reset();
    QCOMPARE(log->lines(), before);
    server->resume();
    QVERIFY(settle());
    QCOMPARE(log->lines(), before);
    QVERIFY(!clientTree().contains(heldPath));
    QTRY_COMPARE(server->openConnections(), 0);

    for (const QString &baseUrl :
         {u"patch.example"_s, u"file:///nonexistent"_s, u"http://127.0.0.1:1"_s}) {
        auto other = std::make_unique<PatchManager>();
        SignalLog atOnce(other.get());
        other->baseUrl = baseUrl;
        other->checkAndUpdate();
        other.reset();
        QVERIFY(settle());
        QCOMPARE(atOnce.lines(), start());
    }
}

ZEL_TEST_MAIN(TestPatchManagerControl)

#include "tst_patchmanager_control.moc"
