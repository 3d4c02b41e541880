#include "support/TestMain.h"

#include "zel-manifest/Text.h"

using namespace Qt::StringLiterals;

class TestText : public TestBase
{
    Q_OBJECT

private slots:
    void quotedNamesCannotControlTheTerminal_data();
    void quotedNamesCannotControlTheTerminal();
    void sizesAreReadable_data();
    void sizesAreReadable();
    void oneFileIsSingular();
    void aPathHasItsFoldersBeforeIt();
};

void TestText::quotedNamesCannotControlTheTerminal_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << "a b"_ba << u"\"a b\""_s;
    QTest::newRow("accents") << "\xC3\xA7\xC3\xA3o"_ba << u"\"ção\""_s;
    QTest::newRow("beyond 16 bits") << "\xF0\x9F\x98\x80"_ba << u"\"😀\""_s;
    QTest::newRow("escape sequence") << "\x1b[2J"_ba << u"\"\\x1b[2J\""_s;
    QTest::newRow("line break") << "a\n"_ba << u"\"a\\x0a\""_s;
    QTest::newRow("a C1 control character") << "\xC2\x9B"_ba << u"\"\\x9b\""_s;
    QTest::newRow("writing direction") << "\xE2\x80\xAE"_ba << u"\"\\x202e\""_s;
    QTest::newRow("Unicode's line break") << "\xE2\x80\xA8"_ba << u"\"\\x2028\""_s;
    QTest::newRow("Unicode's paragraph end") << "\xE2\x80\xA9"_ba << u"\"\\x2029\""_s;
    QTest::newRow("byte order mark") << "\xEF\xBB\xBFx"_ba << u"\"\\xfeffx\""_s;
    QTest::newRow("quote and backslash") << "\"\\x41"_ba << u"\"\\\"\\\\x41\""_s;
    QTest::newRow("not UTF-8") << "a\\\xFF\x1b\x80"_ba << u"\"a\\\\\\xff\\x1b\\x80\""_s;
    QTest::newRow("not UTF-8, with the last ASCII character")
        << "\x7f\xFF"_ba << u"\"\\x7f\\xff\""_s;
}

void TestText::quotedNamesCannotControlTheTerminal()
{
    QFETCH(const QByteArray, name);
    QFETCH(const QString, shown);
    QCOMPARE(quoted(name), shown);
}

void TestText::sizesAreReadable_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("shown");
    const auto row = [](qint64 bytes, const char *shown) {
        QTest::newRow(shown) << bytes << QString::fromLatin1(shown);
    };
    row(0, "0 bytes");
    row(1, "1 byte");
    row(1023, "1023 bytes");
    row(1024, "1.0 KiB");
    row(1536 * 1024, "1.5 MiB");
    row(qint64(1) << 30, "1.0 GiB");
    row(qint64(5) << 40, "5.0 TiB");
    row(qint64(5000) << 40, "5000.0 TiB");
}

void TestText::sizesAreReadable()
{
    QFETCH(const qint64, bytes);
    QFETCH(const QString, shown);
    QCOMPARE(sizeText(bytes), shown);
}

void TestText::oneFileIsSingular()
{
    QCOMPARE(filesText(0), u"0 files"_s);
    QCOMPARE(filesText(1), u"1 file"_s);
    QCOMPARE(filesText(2), u"2 files"_s);
}

void TestText::aPathHasItsFoldersBeforeIt()
{
    QCOMPARE(pathsTo("a"), QByteArrayList{"a"});
    QCOMPARE(pathsTo("a/b c/d"), QByteArrayList({"a", "a/b c", "a/b c/d"}));
}

ZEL_TEST_MAIN(TestText)

#include "tst_text.moc"
