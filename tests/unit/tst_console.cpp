#include "support/TestMain.h"

#include <QElapsedTimer>
#include <QScopeGuard>

#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include "zel-manifest/Console.h"

using namespace Qt::StringLiterals;

namespace
{

/// While it lives, standard error is a terminal or a pipe, and what is written there can be read.
class StandardError
{
public:
    enum Kind { Terminal, Pipe };

    explicit StandardError(Kind kind)
    {
        if (kind == Pipe) {
            int ends[2];
            const bool made = ::pipe(ends) == 0;
            Q_ASSERT(made);
            readEnd = ends[0];
            replaceBy(ends[1]);
            return;
        }
        readEnd = ::posix_openpt(O_RDWR | O_NOCTTY);
        ::grantpt(readEnd);
        ::unlockpt(readEnd);
        const int terminal = ::open(::ptsname(readEnd), O_RDWR | O_NOCTTY);
        termios mode = {};
        ::tcgetattr(terminal, &mode);
        ::cfmakeraw(&mode);
        ::tcsetattr(terminal, TCSANOW, &mode);
        replaceBy(terminal);
    }

    ~StandardError()
    {
        ::dup2(before, STDERR_FILENO);
        ::close(before);
        ::close(readEnd);
    }
    Q_DISABLE_COPY_MOVE(StandardError)

    /// What was written since the last call.
    QString written() const
    {
        // A terminal passes bytes on with a delay; this one comes after all of them.
        constexpr char last = '\x04';
        if (::write(STDERR_FILENO, &last, 1) != 1) {
            return u"cannot write"_s;
        }
        QByteArray bytes;
        char byte = 0;
        while (::read(readEnd, &byte, 1) == 1 && byte != last) {
            bytes += byte;
        }
        return QString::fromUtf8(bytes);
    }

private:
    void replaceBy(int descriptor)
    {
        ::dup2(descriptor, STDERR_FILENO);
        ::close(descriptor);
    }

    const int before = ::dup(STDERR_FILENO);
    int readEnd = -1;
};

const QString firstLine = u"\rreading 50 %, 1.0 KiB of 2.0 KiB, 1 of 3 files"_s;

void showFirstLine(Console *console)
{
    console->progress(u"reading"_s, {1, 1024}, {3, 2048});
}

QString cleared(const QString &line)
{
    return u'\r' + QString(line.size() - 1, u' ') + u'\r';
}

} // namespace

class TestConsole : public TestBase
{
    Q_OBJECT

private slots:
    void everyMessageIsALine();
    void aQuietConsoleShowsWarningsAndErrors();
    void progressIsOneLine_data();
    void progressIsOneLine();
    void aMessageReplacesTheProgress();
    void aShorterLineClearsALongerOne();
    void theEndOfTheProgressClearsTheLine();
    void progressIsShownTenTimesASecondAtMost();
    void withoutATerminalThereIsNoProgress();
    void aQuietConsoleShowsNoProgress();
};

void TestConsole::everyMessageIsALine()
{
    const StandardError standardError(StandardError::Pipe);
    Console console;
    console.note(u"one ção"_s);
    console.warning(u"two"_s);
    console.error(u"three"_s);
    QCOMPARE(standardError.written(), u"zel-manifest: one ção\nzel-manifest: warning: two\n"
                                      "zel-manifest: error: three\n"_s);
}

void TestConsole::aQuietConsoleShowsWarningsAndErrors()
{
    const StandardError standardError(StandardError::Pipe);
    Console console;
    console.setQuiet(true);
    console.note(u"one"_s);
    console.warning(u"two"_s);
    console.error(u"three"_s);
    console.setQuiet(false);
    console.note(u"four"_s);
    QCOMPARE(standardError.written(), u"zel-manifest: warning: two\nzel-manifest: error: three\n"
                                      "zel-manifest: four\n"_s);
}

void TestConsole::progressIsOneLine_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<qint64>("allBytes");
    QTest::addColumn<QString>("line");
    QTest::newRow("at the start") << 0 << qint64(0) << qint64(3)
                                  << u"\rreading 0 %, 0 bytes of 3 bytes, 0 of 2 files"_s;
    QTest::newRow("one third") << 1 << qint64(1) << qint64(3)
                               << u"\rreading 33 %, 1 byte of 3 bytes, 1 of 2 files"_s;
    QTest::newRow("at the end") << 2 << qint64(3) << qint64(3)
                                << u"\rreading 100 %, 3 bytes of 3 bytes, 2 of 2 files"_s;
    QTest::newRow("one byte") << 2 << qint64(1) << qint64(1)
                              << u"\rreading 100 %, 1 byte of 1 byte, 2 of 2 files"_s;
    QTest::newRow("no bytes") << 1 << qint64(0) << qint64(0)
                              << u"\rreading 0 %, 0 bytes of 0 bytes, 1 of 2 files"_s;
}

void TestConsole::progressIsOneLine()
{
    QFETCH(const int, files);
    QFETCH(const qint64, bytes);
    QFETCH(const qint64, allBytes);
    QFETCH(const QString, line);
    const StandardError standardError(StandardError::Terminal);
    Console().progress(u"reading"_s, {files, bytes}, {2, allBytes});
    QCOMPARE(standardError.written(), line);
}

void TestConsole::aMessageReplacesTheProgress()
{
    const StandardError standardError(StandardError::Terminal);
    Console console;
    showFirstLine(&console);
    console.note(u"done"_s);
    console.note(u"more"_s);
    QCOMPARE(standardError.written(),
             firstLine + cleared(firstLine) + u"zel-manifest: done\nzel-manifest: more\n"_s);
}

void TestConsole::aShorterLineClearsALongerOne()
{
    const StandardError standardError(StandardError::Terminal);
    Console console;
    showFirstLine(&console);
    QCOMPARE(standardError.written(), firstLine);
    QString next;
    QVERIFY(QTest::qWaitFor([&] {
        console.progress(u"x"_s, {}, {});
        next = standardError.written();
        return !next.isEmpty();
    }));
    const QString shorter = u"\rx 0 %, 0 bytes of 0 bytes, 0 of 0 files"_s;
    QCOMPARE(next, shorter.leftJustified(firstLine.size()));
    console.endProgress();
    QCOMPARE(standardError.written(), cleared(shorter));
}

void TestConsole::theEndOfTheProgressClearsTheLine()
{
    const StandardError standardError(StandardError::Terminal);
    Console console;
    console.endProgress();
    QCOMPARE(standardError.written(), QString());
    showFirstLine(&console);
    console.endProgress();
    console.endProgress();
    QCOMPARE(standardError.written(), firstLine + cleared(firstLine));
    showFirstLine(&console); // the next one need not wait
    QCOMPARE(standardError.written(), firstLine);
}

void TestConsole::progressIsShownTenTimesASecondAtMost()
{
    const StandardError standardError(StandardError::Terminal);
    Console console;
    QElapsedTimer timer;
    timer.start();
    QString written;
    while (written.count(u'\r') < 4) {
        showFirstLine(&console);
        written += standardError.written();
    }
    QVERIFY2(timer.elapsed() >= 300, qPrintable(QString::number(timer.elapsed())));
}

void TestConsole::withoutATerminalThereIsNoProgress()
{
    const StandardError standardError(StandardError::Pipe);
    Console console;
    showFirstLine(&console);
    console.endProgress();
    QCOMPARE(standardError.written(), QString());
}

void TestConsole::aQuietConsoleShowsNoProgress()
{
    const StandardError standardError(StandardError::Terminal);
    Console console;
    console.setQuiet(true);
    showFirstLine(&console);
    console.endProgress();
    QCOMPARE(standardError.written(), QString());
}

ZEL_TEST_MAIN(TestConsole)

#include "tst_console.moc"
