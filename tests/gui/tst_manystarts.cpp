#include "support/TestMain.h"

#include <QFile>
#include <QSignalSpy>

#include <malloc.h>

#include <optional>

#include "gui/LauncherWindow.h"
#include "settings/LauncherSettings.h"
#include "support/process/FakeClient.h"
#include "support/process/ProcessTable.h"

using namespace Qt::StringLiterals;

#ifdef __SANITIZE_ADDRESS__
extern "C" size_t __sanitizer_get_current_allocated_bytes(); // NOLINT(bugprone-reserved-identifier)
#endif

namespace
{

constexpr int startCount = 300;
/// After these starts, everything that is allocated only once has been allocated.
constexpr int warmUpCount = 50;
/// The heap may grow by 64 bytes per start; a larger growth is a leak.
constexpr qint64 allowedBytes = 64 * startCount;

qint64 allocatedBytes()
{
#ifdef __SANITIZE_ADDRESS__
    return qint64(__sanitizer_get_current_allocated_bytes());
#else
    return qint64(mallinfo2().uordblks);
#endif
}

/// Resources that a start could leak.
struct Holdings {
    qint64 heapBytes = allocatedBytes();
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

    void manyStartsLeaveNothingBehind();
    void failedStartsLeaveNoProcessBehind();

private:
    static void startAndEnd(LauncherWindow &launcher);
    static void runStarts(LauncherWindow &launcher, int count);
    static qint64 growthWithoutLauncher();

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

/// The growth of the heap by as many starts of a bare QProcess.
qint64 TestManyStarts::growthWithoutLauncher()
{
    QProcess process;
    qint64 before = 0;
    for (int run = 0; run < warmUpCount + startCount; ++run) {
        if (run == warmUpCount) {
            before = allocatedBytes();
        }
        process.start(u"/bin/true"_s);
        process.waitForFinished();
    }
    return allocatedBytes() - before;
}

void TestManyStarts::manyStartsLeaveNothingBehind()
{
    QVERIFY(QFile::remove(client->filePath(u"ZEL.exe"_s)));
    QVERIFY(QFile::link(u"/bin/true"_s, client->filePath(u"ZEL.exe"_s)));
    const qint64 ofLibraries = growthWithoutLauncher();
    LauncherWindow launcher;
    runStarts(launcher, warmUpCount);
    const Holdings before;
    runStarts(launcher, startCount);
    const Holdings after;

    const qint64 growth = after.heapBytes - before.heapBytes;
    QVERIFY2(growth <= ofLibraries + allowedBytes,
             qPrintable(u"%1 bytes more, %2 without the launcher"_s.arg(growth).arg(ofLibraries)));
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
