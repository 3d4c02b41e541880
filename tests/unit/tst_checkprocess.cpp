#include <QElapsedTimer>

#include <sys/stat.h>

#include "support/Timeouts.h"
#include "support/files/Disk.h"
#include "support/process/ProcessTable.h"
#include "zel-doctor/CheckProcess.h"

using namespace Qt::StringLiterals;

class TestCheckProcess : public FolderTest
{
    Q_OBJECT

private slots:
    void theOutputIsReadToItsEnd();
    void standardErrorIsDropped();
    void standardInputIsEmpty();
    void aProgramThatIsMissingHasNoOutput();
    void aCheckWithoutResultsIsAWarning();
    void aChildHasNoTerminal();
    void aChildThatHangsTimesOut();
    void aChildThatPrintsForeverTimesOut();
    void processesStartedByAChildAreKilled_data();
    void processesStartedByAChildAreKilled();
    void theTableOfChecksIsConsistent();
};

namespace
{

CheckProcess::Outcome shell(const QByteArray &script, int limitMs = Timeouts::programMs)
{
    return CheckProcess::outputOf("/bin/sh", {"-c", script}, limitMs);
}

} // namespace

void TestCheckProcess::theOutputIsReadToItsEnd()
{
    const qsizetype open = ProcessTable::openDescriptors();
    CheckProcess::Outcome outcome = shell("printf a; sleep 0.1; printf b");
    QCOMPARE(ProcessTable::openDescriptors(), open);
    QVERIFY(outcome.isInTime);
    QCOMPARE(outcome.output, "ab"_ba);
    outcome = shell("head -c 1000000 /dev/zero");
    QCOMPARE(outcome.output.size(), 1000000);
}

void TestCheckProcess::standardErrorIsDropped()
{
    QCOMPARE(shell("echo x >&2; readlink /proc/self/fd/2").output, "/dev/null\n"_ba);
}

void TestCheckProcess::standardInputIsEmpty()
{
    QCOMPARE(shell("wc -c").output, "0\n"_ba);
}

void TestCheckProcess::aProgramThatIsMissingHasNoOutput()
{
    const CheckProcess::Outcome outcome = CheckProcess::outputOf("/none", {}, Timeouts::programMs);
    QVERIFY(outcome.isInTime);
    QCOMPARE(outcome.output, ""_ba);
}

void TestCheckProcess::aCheckWithoutResultsIsAWarning()
{
    // This program does not know the check.
    QCOMPARE(CheckProcess::run({"x", Timeouts::programMs, nullptr}),
             Results{Result::warning(u"x"_s, u"a verificacao terminou sem resultado."_s,
                                     u"Execute o zel-doctor de novo."_s)});
}

void TestCheckProcess::aChildHasNoTerminal()
{
    // It is the leader of its session.
    const QByteArrayList numbers =
        shell("echo $$; cut -d ' ' -f 6 /proc/$$/stat").output.split('\n');
    QCOMPARE(numbers.value(0), numbers.value(1));
}

void TestCheckProcess::aChildThatHangsTimesOut()
{
    QElapsedTimer timer;
    timer.start();
    const CheckProcess::Outcome outcome = shell("printf a; exec sleep 1000", 300);
    QVERIFY(!outcome.isInTime);
    QVERIFY(timer.elapsed() >= 300);
}

void TestCheckProcess::aChildThatPrintsForeverTimesOut()
{
    QVERIFY(!shell("while :; do echo; done", 300).isInTime);
}

void TestCheckProcess::processesStartedByAChildAreKilled_data()
{
    QTest::addColumn<bool>("hangs");
    QTest::newRow("it hangs") << true;
    QTest::newRow("it ends") << false;
}

void TestCheckProcess::processesStartedByAChildAreKilled()
{
    QFETCH(const bool, hangs);
    const QByteArray file = at(u"pid"_s).toUtf8();
    const QByteArray wait = hangs ? "exec cat '" + at(u"fifo"_s).toUtf8() + "'"_ba : "exit"_ba;
    QCOMPARE(::mkfifo(qPrintable(at(u"fifo"_s)), 0600), 0);
    // The limit is long enough for the shell to write the file.
    const CheckProcess::Outcome outcome =
        shell("sleep 1000 >/dev/null & echo $! >'" + file + "'; " + wait,
              hangs ? 3000 : Timeouts::programMs);
    QCOMPARE(outcome.isInTime, !hangs);
    const int pid = Disk::read(at(u"pid"_s)).trimmed().toInt();
    QVERIFY(pid > 0);
    const auto isGone = [pid] {
        QFile status(u"/proc/%1/stat"_s.arg(pid));
        return !status.open(QIODevice::ReadOnly) || status.readAll().contains(") Z ");
    };
    QTRY_VERIFY_WITH_TIMEOUT(isGone(), Timeouts::programMs);
}

void TestCheckProcess::theTableOfChecksIsConsistent()
{
    int sum = 0;
    QStringList names;
    for (const Check &check : Checks::all()) {
        QVERIFY(check.limitMs >= 1000);
        QVERIFY(check.run != nullptr);
        sum += check.limitMs;
        names.append(QString::fromLatin1(check.name));
        QCOMPARE(Checks::find(names.constLast()), &check);
    }
    QCOMPARE(Checks::totalLimitMs(), sum);
    QCOMPARE(names,
             QStringList({u"configuracoes"_s, u"pasta do cliente"_s, u"espaco em disco"_s,
                          u"executavel"_s, u"wine"_s, u"prefixo do wine"_s, u"perfil do bash"_s,
                          u"nomes de arquivos"_s, u"Config.bin"_s, u"serverlist.txt"_s, u"sn.bin"_s,
                          u"server.txt"_s, u"zel_login.ini"_s, u"servidor de atualizacoes"_s,
                          u"tela"_s, u"versoes"_s, u"registro"_s}));
    QCOMPARE(Checks::find(u"none"_s), nullptr);
}

ZEL_TEST_MAIN(TestCheckProcess)

#include "tst_checkprocess.moc"
