#include "PatchTest.h"

#include <QDir>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <utility>

#include "settings/LauncherSettings.h"

namespace
{

QString cancelledEnd()
{
    return QStringLiteral("finished false Atualizacao cancelada.");
}

QString completeEnd()
{
    return QStringLiteral("finished true Atualizacao concluida.");
}

QString abortedManifestEnd()
{
    return QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") + abortedText();
}

/// What a run of the two small files says.
QStringList wholeRun()
{
    return {QStringLiteral("status Verificando versao..."),
            QStringLiteral("progress 0"),
            QStringLiteral("status Baixando 2 arquivo(s)..."),
            QStringLiteral("progress 0"),
            QStringLiteral("status Baixando a (1/2)"),
            QStringLiteral("progress 50"),
            QStringLiteral("status Baixando b (2/2)"),
            QStringLiteral("progress 99"),
            QStringLiteral("progress 100"),
            completeEnd()};
}

/// What a slot does inside a signal.
enum class Deed {
    Cancel,
    CancelTwice,
    Check,
    CheckTwice,
    CancelAndCheck,
    CheckAndCancel,
    CheckWithoutUrl,
    CheckWithInvalidUrl,
    Wait,
    CheckAndWait,
    CancelAndWait,
};

} // namespace

Q_DECLARE_METATYPE(Deed)

/// cancel(), a second checkAndUpdate() and destruction at every moment of a run.
class TestPatchManagerControl : public PatchTest
{
    Q_OBJECT

private slots:
    void cancelWithoutARunChangesNothing();
    void cancelInFlightEndsTheRunBeforeItReturns_data();
    void cancelInFlightEndsTheRunBeforeItReturns();
    void cancelWithTheAnswerAlreadyOnItsWayStillWins();
    void cancelAtOnceEndsTheRunBeforeItReturns_data();
    void cancelAtOnceEndsTheRunBeforeItReturns();
    void filesStoredBeforeCancelStay();

    void aSecondCheckAbortsTheRequestInFlight_data();
    void aSecondCheckAbortsTheRequestInFlight();
    void aSecondCheckAtOnceEndsTheFirst_data();
    void aSecondCheckAtOnceEndsTheFirst();
    void anEmptyOrInvalidUrlEndsTheRunInFlightToo_data();
    void anEmptyOrInvalidUrlEndsTheRunInFlightToo();

    void everyRunEndsOnceWhateverASlotDoes_data();
    void everyRunEndsOnceWhateverASlotDoes();
    void cancelInsideASignalEndsThatRun();
    void cancelBetweenRequestsEndsTheRunAtItsNextStep();
    void checkInsideTheEndStartsTheNextRun();

    void anAnswerThatComesWhileTheNextRunBeginsIsNotUsed_data();
    void anAnswerThatComesWhileTheNextRunBeginsIsNotUsed();

    void destructionInMidRunSaysNothing_data();
    void destructionInMidRunSaysNothing();

private:
    void publishTwoFiles();
    void publishHeld(const QString &heldPath, int position);
    QStringList runHolding(const QString &heldPath) const;
    void addMoments();
    bool startAndHold();
    void spin();
    void check();
    void carryOut(Deed deed);

    int started = 0;
};

void TestPatchManagerControl::publishTwoFiles()
{
    publish(QStringLiteral("2"), {{QStringLiteral("a"), {}}, {QStringLiteral("b"), {}}});
    server->answer("/a", HttpAnswer::withLength("content of a"));
    server->answer("/b", HttpAnswer::withLength("content of b"));
}

/// Like publishTwoFiles(), with the answer to one path held.
void TestPatchManagerControl::publishHeld(const QString &heldPath, int position)
{
    publishTwoFiles();
    if (heldPath == QLatin1String("manifest.json")) {
        server->answer("/manifest.json",
                       HttpAnswer::withLength(R"({"files":[{"path":"a"}]})").heldAt(position));
    } else {
        server->answer('/' + heldPath.toUtf8(), HttpAnswer::withLength("held").heldAt(position));
    }
}

/// What a run says until it hangs at the held path.
QStringList TestPatchManagerControl::runHolding(const QString &heldPath) const
{
    if (heldPath == QLatin1String("manifest.json")) {
        return wholeRun().mid(0, 2);
    }
    return wholeRun().mid(0, heldPath == QLatin1String("a") ? 5 : 7);
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

/// Starts a run and waits until it hangs at the held answer.
bool TestPatchManagerControl::startAndHold()
{
    manager->checkAndUpdate();
    return waitForHold();
}

void TestPatchManagerControl::cancelWithoutARunChangesNothing()
{
    manager->cancel();
    QVERIFY(settle());
    QVERIFY(log->lines().isEmpty());
    publishTwoFiles();
    QVERIFY(runToEnd());
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
    QVERIFY(startAndHold());
    manager->cancel();
    QCOMPARE(log->finishedCount(), 1);
    QCOMPARE(log->last(), cancelledEnd());
    manager->cancel();
    QVERIFY(settle());
    server->resume();
    QVERIFY(settle());
    // The library may report once more what it has of the body.
    QStringList lines = log->linesOnce();
    QCOMPARE(lines.takeLast(), cancelledEnd());
    QCOMPARE(lines.mid(0, runHolding(heldPath).size()), runHolding(heldPath));
    QVERIFY(lines.size() <= runHolding(heldPath).size() + 1);
    QCOMPARE(log->linesOf(QStringLiteral("status")).size(),
             runHolding(heldPath).filter(QStringLiteral("status")).size());
    QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));
    QVERIFY(!clientTree().contains(heldPath));

    publishTwoFiles();
    QVERIFY(runToEnd());
    QCOMPARE(log->linesOnce(), wholeRun());
}

void TestPatchManagerControl::cancelWithTheAnswerAlreadyOnItsWayStillWins()
{
    publishTwoFiles();
    manager->checkAndUpdate();
    QCoreApplication::processEvents();
    // The network thread fetches the manifest while this one is busy; the news of it waits.
    const QDeadlineTimer patience(5000);
    while (server->paths().isEmpty() && !patience.hasExpired()) {
        QThread::msleep(1);
    }
    QThread::msleep(20);
    manager->cancel();
    QCOMPARE(log->lines(), wholeRun().mid(0, 2) + QStringList(cancelledEnd()));
    QVERIFY(settle());
    QCOMPARE(log->lines(), wholeRun().mid(0, 2) + QStringList(cancelledEnd()));
    QCOMPARE(server->paths(), QByteArrayList({"/manifest.json"}));
}

void TestPatchManagerControl::cancelAtOnceEndsTheRunBeforeItReturns_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::newRow("server") << QStringLiteral("server");
    QTest::newRow("no scheme") << QStringLiteral("patch.example");
    QTest::newRow("unknown scheme") << QStringLiteral("patch://example");
    QTest::newRow("local folder") << QStringLiteral("file:///nonexistent");
    QTest::newRow("refusing port") << QStringLiteral("http://127.0.0.1:1");
}

void TestPatchManagerControl::cancelAtOnceEndsTheRunBeforeItReturns()
{
    QFETCH(const QString, baseUrl);
    publishTwoFiles();
    if (baseUrl != QLatin1String("server")) {
        manager->baseUrl = baseUrl;
    }
    const QStringList expected = wholeRun().mid(0, 2) + QStringList(cancelledEnd());
    manager->checkAndUpdate();
    manager->cancel();
    QCOMPARE(log->lines(), expected);
    manager->cancel();
    QVERIFY(settle());
    QCOMPARE(log->lines(), expected);
}

void TestPatchManagerControl::filesStoredBeforeCancelStay()
{
    publishHeld(QStringLiteral("b"), 2);
    Disk::write(clientPath(QStringLiteral("b")), "old b");
    QVERIFY(startAndHold());
    manager->cancel();
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content of a"));
    QCOMPARE(clientFile(QStringLiteral("b")), QByteArray("old b"));
    QCOMPARE(clientTree(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("1.0.0"));
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
    QVERIFY(startAndHold());
    log->clear();
    publishTwoFiles();
    manager->checkAndUpdate();
    const QString oldEnd =
        heldPath == QLatin1String("manifest.json")
            ? abortedManifestEnd()
            : QStringLiteral("finished false Falha ao baixar %1: ").arg(heldPath) + abortedText();
    QCOMPARE(log->lines(), wholeRun().mid(0, 2) + QStringList(oldEnd));
    QVERIFY(waitForEnds(2));
    QStringList lines = log->linesOnce();
    QVERIFY(lines.removeOne(oldEnd));
    QCOMPARE(lines, wholeRun());
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content of a"));
    QCOMPARE(clientFile(QStringLiteral("b")), QByteArray("content of b"));
    QCOMPARE(savedVersion(), QStringLiteral("2"));
}

void TestPatchManagerControl::aSecondCheckAtOnceEndsTheFirst_data()
{
    QTest::addColumn<QString>("baseUrl");
    QTest::addColumn<QString>("firstEnd");
    QTest::newRow("no scheme") << QStringLiteral("patch.example") << abortedManifestEnd();
    QTest::newRow("unknown scheme") << QStringLiteral("patch://example") << abortedManifestEnd();
    QTest::newRow("refusing port") << QStringLiteral("http://127.0.0.1:1") << abortedManifestEnd();
    // A local file has been read before its reply is handed out; there is nothing to abort.
    QTest::newRow("missing folder") << QStringLiteral("file:///nonexistent") << cancelledEnd();
}

void TestPatchManagerControl::aSecondCheckAtOnceEndsTheFirst()
{
    QFETCH(const QString, baseUrl);
    QFETCH(const QString, firstEnd);
    const QStringList start = wholeRun().mid(0, 2);
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    manager->checkAndUpdate();
    QCOMPARE(log->lines(), start + start + QStringList(firstEnd));
    QVERIFY(waitForEnds(2));
    const QString secondEnd =
        QStringLiteral("finished false Nao foi possivel baixar manifest.json: ") +
        libraryError(QUrl(baseUrl + QStringLiteral("/manifest.json")));
    QCOMPARE(log->lines(), start + start + QStringList({firstEnd, secondEnd}));
    publishTwoFiles();
    manager->baseUrl = server->url();
    QVERIFY(runToEnd());
    QCOMPARE(log->linesOnce(), wholeRun());
}

void TestPatchManagerControl::anEmptyOrInvalidUrlEndsTheRunInFlightToo_data()
{
    QTest::addColumn<QString>("heldPath");
    QTest::addColumn<QString>("baseUrl");
    for (const char *path : {"manifest.json", "a"}) {
        QTest::addRow("%s, empty", path) << QString::fromLatin1(path) << QString();
        QTest::addRow("%s, invalid", path)
            << QString::fromLatin1(path) << QStringLiteral("http://[::1");
    }
}

void TestPatchManagerControl::anEmptyOrInvalidUrlEndsTheRunInFlightToo()
{
    QFETCH(const QString, heldPath);
    QFETCH(const QString, baseUrl);
    publishHeld(heldPath, 2);
    QVERIFY(startAndHold());
    log->clear();
    manager->baseUrl = baseUrl;
    manager->checkAndUpdate();
    server->resume();
    QVERIFY(settle());
    const QStringList ends = log->linesOf(QStringLiteral("finished"));
    QCOMPARE(ends.size(), 2);
    QVERIFY(ends.first().startsWith(u"finished false "));
    QVERIFY(ends.first().endsWith(abortedText()));
    QCOMPARE(ends.last(),
             baseUrl.isEmpty()
                 ? QStringLiteral("finished true Atualizacao desativada (URL de patch vazia).")
                 : QStringLiteral("finished false URL de patch invalida."));
    QCOMPARE(log->last(), ends.last());
    QVERIFY(clientTree().isEmpty());
}

/// Lets events in, as a modal box in a slot does.
void TestPatchManagerControl::spin()
{
    for (int round = 0; round < 3; ++round) {
        QEventLoop loop;
        QTimer::singleShot(2, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

/// Starts a run that counts.
void TestPatchManagerControl::check()
{
    ++started;
    manager->checkAndUpdate();
}

void TestPatchManagerControl::carryOut(Deed deed)
{
    switch (deed) {
    case Deed::Cancel:
        manager->cancel();
        break;
    case Deed::CancelTwice:
        manager->cancel();
        manager->cancel();
        break;
    case Deed::Check:
        check();
        break;
    case Deed::CheckTwice:
        check();
        check();
        break;
    case Deed::CancelAndCheck:
        manager->cancel();
        check();
        break;
    case Deed::CheckAndCancel:
        check();
        manager->cancel();
        break;
    case Deed::CheckWithoutUrl:
    case Deed::CheckWithInvalidUrl: {
        const QString before = std::exchange(manager->baseUrl, deed == Deed::CheckWithoutUrl
                                                                   ? QString()
                                                                   : QStringLiteral("http://[::1"));
        check();
        manager->baseUrl = before;
        break;
    }
    case Deed::Wait:
        spin();
        break;
    case Deed::CheckAndWait:
        check();
        spin();
        break;
    case Deed::CancelAndWait:
        manager->cancel();
        spin();
        break;
    }
}

void TestPatchManagerControl::everyRunEndsOnceWhateverASlotDoes_data()
{
    QTest::addColumn<Deed>("deed");
    QTest::newRow("cancel") << Deed::Cancel;
    QTest::newRow("cancel twice") << Deed::CancelTwice;
    QTest::newRow("check") << Deed::Check;
    QTest::newRow("check twice") << Deed::CheckTwice;
    QTest::newRow("cancel and check") << Deed::CancelAndCheck;
    QTest::newRow("check and cancel") << Deed::CheckAndCancel;
    QTest::newRow("check without URL") << Deed::CheckWithoutUrl;
    QTest::newRow("check with invalid URL") << Deed::CheckWithInvalidUrl;
    QTest::newRow("event loop") << Deed::Wait;
    QTest::newRow("check and event loop") << Deed::CheckAndWait;
    QTest::newRow("cancel and event loop") << Deed::CancelAndWait;
}

void TestPatchManagerControl::everyRunEndsOnceWhateverASlotDoes()
{
    QFETCH(const Deed, deed);
    publishTwoFiles();
    // The deed is done in one signal of the run, or in two neighbouring ones; the run has ten,
    // those of the progress inside a file among them.
    for (int moment = 0; moment < 12; ++moment) {
        for (int times = 1; times <= 2; ++times) {
            started = 0;
            int signal = 0;
            log->clear();
            QDir(clientPath({})).removeRecursively();
            log->onLine = [&](const QString &) {
                const int now = signal++;
                if (now >= moment && now < moment + times) {
                    carryOut(deed);
                }
            };
            // From inside the event loop, as a click would.
            QTimer::singleShot(0, manager.get(), [this] { check(); });
            QVERIFY(waitForEnds([this] { return std::max(started, 1); }));
            log->onLine = nullptr;
            QVERIFY2(log->last().startsWith(u"finished "), qPrintable(log->lines().join(u'\n')));
            if (log->lines().contains(completeEnd())) {
                QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content of a"));
                QCOMPARE(clientFile(QStringLiteral("b")), QByteArray("content of b"));
            }
            // What completes has said everything from its first file to its last since the run
            // before it ended or was given up.
            QVERIFY(log->linesOf(QStringLiteral("status"))
                        .count(QStringLiteral("status Baixando b (2/2)")) >=
                    log->lines().count(completeEnd()));
            QCOMPARE(server->requestsInFlight(), 0);
        }
    }
}

void TestPatchManagerControl::cancelInsideASignalEndsThatRun()
{
    publishTwoFiles();
    QVERIFY(runToEnd());
    const QStringList undisturbed = log->lines();
    const qsizetype decided = undisturbed.indexOf(QStringLiteral("progress 100"));
    for (qsizetype moment = 0; moment < undisturbed.size(); ++moment) {
        qsizetype signal = 0;
        qsizetype requests = 0;
        log->onLine = [&](const QString &) {
            if (signal++ == moment) {
                manager->cancel();
                requests = server->requests().size();
            }
        };
        LauncherSettings::instance().localVersion = QStringLiteral("1.0.0");
        QVERIFY(runToEnd());
        // With "progress 100" the run is over, whatever is still to be told.
        QCOMPARE(log->last(), moment < decided ? cancelledEnd() : completeEnd());
        QCOMPARE(LauncherSettings::instance().localVersion,
                 moment < decided ? QStringLiteral("1.0.0") : QStringLiteral("2"));
        QCOMPARE(server->requests().size(), requests);
    }
}

void TestPatchManagerControl::cancelBetweenRequestsEndsTheRunAtItsNextStep()
{
    publishTwoFiles();
    server->answer("/a", HttpAnswer::withLength(""));
    server->answer("/b", HttpAnswer::withLength(""));
    QVERIFY(runToEnd());
    const QStringList undisturbed = log->lines();
    QCOMPARE(undisturbed.size(), 9);
    // Where a step says two things, the second is still said.
    const QList<qsizetype> said = {2, 2, 3, 5, 5, 7, 7};
    for (qsizetype moment = 0; moment < said.size(); ++moment) {
        qsizetype signal = 0;
        log->onLine = [&](const QString &) {
            if (signal++ == moment) {
                manager->cancel();
            }
        };
        QVERIFY(runToEnd());
        QCOMPARE(log->lines(), undisturbed.mid(0, said.at(moment)) + QStringList(cancelledEnd()));
    }
}

void TestPatchManagerControl::checkInsideTheEndStartsTheNextRun()
{
    publishTwoFiles();
    int runs = 1;
    log->onLine = [&](const QString &line) {
        if (line.startsWith(u"finished ") && runs < 4) {
            ++runs;
            manager->checkAndUpdate();
        }
    };
    manager->checkAndUpdate();
    QVERIFY(waitForEnds(4));
    QCOMPARE(log->linesOnce(), wholeRun() + wholeRun() + wholeRun() + wholeRun());
    QCOMPARE(server->mostInFlight(), 1);

    // The end of a cancelled run may start the next one, which the cancel does not touch.
    publishHeld(QStringLiteral("a"), 2);
    log->clear();
    runs = 3;
    QVERIFY(startAndHold());
    publishTwoFiles();
    manager->cancel();
    QVERIFY(waitForEnds(2));
    QCOMPARE(log->linesOf(QStringLiteral("finished")),
             QStringList({cancelledEnd(), completeEnd()}));
}

void TestPatchManagerControl::anAnswerThatComesWhileTheNextRunBeginsIsNotUsed_data()
{
    QTest::addColumn<QString>("heldPath");
    QTest::newRow("manifest") << QStringLiteral("manifest.json");
    QTest::newRow("file") << QStringLiteral("a");
}

void TestPatchManagerControl::anAnswerThatComesWhileTheNextRunBeginsIsNotUsed()
{
    QFETCH(const QString, heldPath);
    publishHeld(heldPath, 2);
    QVERIFY(startAndHold());
    log->clear();
    publishTwoFiles();
    // A slot of the new run's first signal waits, as a modal box does, and the old answer comes.
    log->onLine = [this](const QString &line) {
        if (line == wholeRun().first()) {
            server->resume();
            QVERIFY(QTest::qWaitFor([this] { return log->finishedCount() == 1; }));
            QVERIFY(settle());
            QVERIFY(clientTree().isEmpty());
        }
    };
    manager->checkAndUpdate();
    QVERIFY(waitForEnds(2));
    QStringList lines = log->linesOnce();
    QCOMPARE(lines.takeAt(1), cancelledEnd());
    QCOMPARE(lines, wholeRun());
    QCOMPARE(clientFile(QStringLiteral("a")), QByteArray("content of a"));
}

void TestPatchManagerControl::destructionInMidRunSaysNothing_data()
{
    addMoments();
}

void TestPatchManagerControl::destructionInMidRunSaysNothing()
{
    QFETCH(const QString, heldPath);
    QFETCH(const int, position);
    publishHeld(heldPath, position);
    QVERIFY(startAndHold());
    const QStringList before = log->lines();
    manager.reset();
    QCOMPARE(log->lines(), before);
    server->resume();
    QVERIFY(settle());
    QCOMPARE(log->lines(), before);
    QVERIFY(!clientTree().contains(heldPath));
    QTRY_COMPARE(server->openConnections(), 0);

    for (const char *baseUrl : {"patch.example", "file:///nonexistent", "http://127.0.0.1:1"}) {
        auto other = std::make_unique<PatchManager>();
        SignalLog atOnce(other.get());
        other->baseUrl = QString::fromLatin1(baseUrl);
        other->checkAndUpdate();
        other.reset();
        QVERIFY(settle());
        QCOMPARE(atOnce.lines(), wholeRun().mid(0, 2));
    }
}

ZEL_TEST_MAIN(TestPatchManagerControl)

#include "tst_patchmanager_control.moc"
