#include "support/TestMain.h"

#include <QFile>
#include <QSignalSpy>

#include <optional>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/process/FakeClient.h"
#include "support/process/ProcessTable.h"

using namespace Qt::StringLiterals;

// By default the address sanitizer keeps up to 256 MB of freed memory, which would hide a leak.
extern "C" const char *__asan_default_options(); // NOLINT(bugprone-reserved-identifier)
extern "C" const char *__asan_default_options()  // NOLINT(bugprone-reserved-identifier)
{
    return "quarantine_size_mb=0:thread_local_quarantine_size_kb=0";
}

namespace
{

constexpr int startCount = 1000;
/// Starts until everything that is allocated once is allocated.
constexpr int warmUpCount = 100;
/// For what allocators keep. A leak of one kilobyte per start exceeds it.
constexpr qint64 allowedKb = 768;

/// Resources that a start could leak.
struct Holdings {
    qint64 residentKb = ProcessTable::memory("VmRSS");
    qsizetype descriptors = ProcessTable::openDescriptors();
    QList<qint64> children = ProcessTable::children();
};

} // namespace

/// Many starts of the game in one window.
class TestManyStarts : public TestBase
{
    Q_OBJECT

private slots:
    void init();

    void aThousandStartsLeaveNothingBehind();
    void failedStartsLeaveNoProcessBehind();

private:
    static void startAndEnd(LauncherWindow &launcher);
    static void runStarts(LauncherWindow &launcher, int count);

    std::optional<FakeClient> client;
};

void TestManyStarts::init()
{
    TestBase::init();
    client.emplace();
    client->useInLauncher();
    LauncherSettings::instance().winePath = u"/bin/true"_s;
}

void TestManyStarts::startAndEnd(LauncherWindow &launcher)
{
    QSignalSpy end(launcher.process, &QProcess::finished);
    LauncherWindow::click(launcher.play);
    QVERIFY(launcher.isBusy());
    QCOMPARE(launcher.status->text(), u"Jogo em execucao..."_s);
    QVERIFY(!end.isEmpty() || end.wait());
    QCOMPARE(launcher.status->text(), u"Jogo encerrado (codigo 0)."_s);
    QVERIFY(launcher.isIdle());
}

/// Every tenth start is through the shell; the others are without Wine, which is faster.
void TestManyStarts::runStarts(LauncherWindow &launcher, int count)
{
    for (int run = 0; run < count && !QTest::currentTestFailed(); ++run) {
        LauncherSettings::instance().useWine = run % 10 == 0;
        startAndEnd(launcher);
    }
}

void TestManyStarts::aThousandStartsLeaveNothingBehind()
{
    QVERIFY(QFile::remove(client->filePath(u"ZEL.exe"_s)));
    QVERIFY(QFile::link(u"/bin/true"_s, client->filePath(u"ZEL.exe"_s)));
    LauncherWindow launcher;
    runStarts(launcher, warmUpCount);
    const Holdings before;
    runStarts(launcher, startCount);
    const Holdings after;

    QVERIFY(before.residentKb > 0);
    const qint64 growthKb = after.residentKb - before.residentKb;
    QVERIFY2(growthKb <= allowedKb, qPrintable(u"%1 kB more"_s.arg(growthKb)));
    QCOMPARE(after.descriptors, before.descriptors);
    QCOMPARE(before.children, QList<qint64>());
    QCOMPARE(after.children, QList<qint64>());
}

void TestManyStarts::failedStartsLeaveNoProcessBehind()
{
    constexpr int failureCount = 50;
    LauncherWindow launcher;
    const Holdings before;
    for (int run = 0; run < failureCount; ++run) {
        launcher.boxAfterPlay();
        QCOMPARE(launcher.status->text(), u"Falha ao iniciar o jogo."_s);
    }
    const Holdings after;
    QCOMPARE(after.children, QList<qint64>());
    // QProcess of Qt 6.4 leaks one descriptor per failed start.
    const qsizetype allowed =
        before.descriptors + failureCount + 1; // and one that is allocated once
    QVERIFY2(after.descriptors <= allowed, qPrintable(QString::number(after.descriptors)));
}

ZEL_GUI_TEST_MAIN(TestManyStarts)

#include "tst_manystarts.moc"
