#include "support/TestMain.h"

#include <QElapsedTimer>

#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include "zel-manifest/Console.h"

using namespace Qt::StringLiterals;

namespace
{

/// Redirects standard error to a terminal or a pipe during its lifetime.
class StandardError
{
public:
    enum Kind { Terminal, Pipe };

    explicit StandardError(Kind kind)
    {
        int ends[2] = {-1, -1};
        termios raw = {};
        ::cfmakeraw(&raw);
        const int result =
            kind == Pipe ? ::pipe(ends) : ::openpty(&ends[0], &ends[1], nullptr, &raw, nullptr);
        if (result != 0) {
            qFatal("cannot replace standard error");
        }
        readEnd = ends[0];
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[1]);
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
    void everyMessageIsALineAndQuietShowsNoNotes();
    void progressIsOneLine_data();
    void progressIsOneLine();
    void aShorterLineClearsALongerOne();
    void theEndOfTheProgressClearsTheLine();
    void progressIsShownTenTimesASecondAtMost();
    void progressNeedsATerminalAndNoQuiet();
};

void TestConsole::everyMessageIsALineAndQuietShowsNoNotes()
{
    const StandardError standardError(StandardError::Pipe);
    Console console;
    console.note(u"one ção"_s);
    console.setQuiet(true);
    console.note(u"two"_s);
    console.warning(u"three"_s);
    console.error(u"four"_s);
    console.setQuiet(false);
    console.note(u"five"_s);
    QCOMPARE(standardError.written(), u"zel-manifest: one ção\nzel-manifest: warning: three\n"
                                      "zel-manifest: error: four\nzel-manifest: five\n"_s);
}

void TestConsole::progressIsOneLine_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<qint64>("allBytes");
    QTest::addColumn<QString>("line");
    const auto row = [](const char *name, int files, qint64 bytes, qint64 allBytes,
                        const QString &line) {
        QTest::newRow(name) << files << bytes << allBytes << u"\rreading "_s + line;
    };
    row("at the start", 0, 0, 3, u"0 %, 0 bytes of 3 bytes, 0 of 2 files"_s);
    row("one third", 1, 1, 3, u"33 %, 1 byte of 3 bytes, 1 of 2 files"_s);
    row("at the end", 2, 3, 3, u"100 %, 3 bytes of 3 bytes, 2 of 2 files"_s);
    row("one byte", 2, 1, 1, u"100 %, 1 byte of 1 byte, 2 of 2 files"_s);
    row("no bytes", 1, 0, 0, u"0 %, 0 bytes of 0 bytes, 1 of 2 files"_s);
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
    console.note(u"done"_s); // a message ends it as well
    console.note(u"more"_s);
    QCOMPARE(standardError.written(),
             firstLine + cleared(firstLine) + u"zel-manifest: done\nzel-manifest: more\n"_s);
}

void TestConsole::progressIsShownTenTimesASecondAtMost()
{
    const StandardError standardError(StandardError::Terminal);
    Console console;
    QElapsedTimer timer;
    timer.start();
    QString written;
    QVERIFY(QTest::qWaitFor(
        [&] {
            showFirstLine(&console);
            written += standardError.written();
            return written.count(u'\r') >= 4;
        },
        60000));
    QVERIFY2(timer.elapsed() >= 300, qPrintable(QString::number(timer.elapsed())));
}

void TestConsole::progressNeedsATerminalAndNoQuiet()
{
    for (const auto kind : {StandardError::Terminal, StandardError::Pipe}) {
        for (const bool quiet : {false, true}) {
            const StandardError standardError(kind);
            Console console;
            console.setQuiet(quiet);
            showFirstLine(&console);
            QCOMPARE(standardError.written().isEmpty(), kind == StandardError::Pipe || quiet);
        }
    }
}

ZEL_TEST_MAIN(TestConsole)

#include "tst_console.moc"
