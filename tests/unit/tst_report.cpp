#include <QJsonArray>
#include <QJsonDocument>

#include <pwd.h>
#include <unistd.h>

#include "support/TestMain.h"
#include "zel-doctor/Report.h"

using namespace Qt::StringLiterals;

class TestReport : public TestBase
{
    Q_OBJECT

private slots:
    void aResultIsOneLine_data();
    void aResultIsOneLine();
    void theExitCodeIsTheWorstState();
    void theJsonHoldsEveryResult();
    void aResultSurvivesJson();
    void privateNamesAreReplaced_data();
    void privateNamesAreReplaced();
    void controlCharactersAreReplaced();
    void privateNamesAreReplacedInEveryText();
    void theOwnNamesAreThoseOfTheUser();

private:
    const Result ok{Result::Ok, u"a"_s, u"b."_s, {}};
    const Result warning{Result::Warning, u"c"_s, u"d."_s, u"e."_s};
    const Result error{Result::Error, u"f"_s, u"g."_s, u"h."_s};
};

void TestReport::aResultIsOneLine_data()
{
    QTest::addColumn<Result>("result");
    QTest::addColumn<QString>("line");
    QTest::newRow("ok") << ok << u"ok    a: b.\n"_s;
    QTest::newRow("warning") << warning << u"aviso c: d. e.\n"_s;
    QTest::newRow("error") << error << u"erro  f: g. h.\n"_s;
    Result log = ok;
    log.lines = QStringList{u"1"_s, u"2"_s};
    QTest::newRow("with a log") << log << u"ok    a: b.\n    1\n    2\n"_s;
}

void TestReport::aResultIsOneLine()
{
    QFETCH(const Result, result);
    QFETCH(const QString, line);
    QCOMPARE(Report({}).add(result), line);
}

void TestReport::theExitCodeIsTheWorstState()
{
    Report report({});
    QCOMPARE(report.exitCode(), 0);
    report.add(ok);
    QCOMPARE(report.exitCode(), 0);
    report.add(warning);
    QCOMPARE(report.exitCode(), 1);
    QCOMPARE(report.summary(), u"0 erro(s), 1 aviso(s)\n"_s);
    report.add(error);
    report.add(error);
    report.add(ok);
    QCOMPARE(report.exitCode(), 2);
    QCOMPARE(report.summary(), u"2 erro(s), 1 aviso(s)\n"_s);
}

void TestReport::theJsonHoldsEveryResult()
{
    Report report({});
    report.add(ok);
    report.add(error);
    const QJsonObject whole = QJsonDocument::fromJson(report.json()).object();
    QCOMPARE(whole.keys(), QStringList({u"checks"_s, u"exitCode"_s}));
    QCOMPARE(whole.value(u"exitCode"_s).toInt(), 2);
    const QJsonArray checks = whole.value(u"checks"_s).toArray();
    QCOMPARE(checks.size(), 2);
    QCOMPARE(checks.at(1).toObject(), QJsonObject({{u"state"_s, u"erro"_s},
                                                   {u"subject"_s, u"f"_s},
                                                   {u"text"_s, u"g."_s},
                                                   {u"remedy"_s, u"h."_s}}));
}

void TestReport::aResultSurvivesJson()
{
    Result log = warning;
    log.lines = QStringList{u"1"_s, u"2"_s};
    for (const Result &result : {ok, warning, error, log}) {
        QCOMPARE(Report::fromJson(Report::toJson(result)), result);
    }
}

void TestReport::privateNamesAreReplaced_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("the home folder") << u"em /data/ana: x"_s << u"em ~: x"_s;
    QTest::newRow("a file in it") << u"/data/ana/jogo/ZEL.exe."_s << u"~/jogo/ZEL.exe."_s;
    QTest::newRow("a home folder in it") << u"/data/ana/deep/x"_s << u"~/x"_s;
    QTest::newRow("Wine's spelling") << uR"(Z:\data\ana\jogo)"_s << uR"(Z:~\jogo)"_s;
    QTest::newRow("Wine's spelling, escaped")
        << uR"("Z:\\data\\ana\\jogo")"_s << uR"("Z:~\\jogo")"_s;
    QTest::newRow("another letter case") << uR"(z:\Data\Ana\jogo)"_s << uR"(z:~\jogo)"_s;
    QTest::newRow("a longer name") << u"/data/anabela/x"_s << u"/data/anabela/x"_s;
    QTest::newRow("the home folder of another user") << u"/home/rui/x /home/eva"_s << u"~/x ~"_s;
    QTest::newRow("another folder named home") << u"/mnt/home/rui/x"_s << u"/mnt/home/rui/x"_s;
    QTest::newRow("a home folder in Wine's spelling")
        << uR"(Z:\home\rui\x "/home/eva")"_s << uR"(Z:~\x "~")"_s;
    QTest::newRow("the user") << u"C:\\users\\ana\\x USER=ana ana: Ana"_s
                              << u"C:\\users\\~\\x USER=~ ~: ~"_s;
    QTest::newRow("the user in a longer word")
        << u"banana ana-b c-ana ana_ ana1"_s << u"banana ana-b c-ana ana_ ana1"_s;
    QTest::newRow("a user name with special characters") << u"a.b, axb"_s << u"~, axb"_s;
    QTest::newRow("nothing private") << u"/usr/bin/wine"_s << u"/usr/bin/wine"_s;
}

void TestReport::privateNamesAreReplaced()
{
    QFETCH(const QString, text);
    QFETCH(const QString, shown);
    const PrivateNames names{{u"/data/ana"_s, u"/data/ana/deep"_s}, {u"ana"_s, u"a.b"_s}};
    QCOMPARE(Report(names).shown(text), shown);
}

void TestReport::controlCharactersAreReplaced()
{
    QCOMPARE(Report({}).shown(u"a\x1b[2J\nb\tc\x7f"_s), u"a?[2J b\tc?"_s);
}

void TestReport::privateNamesAreReplacedInEveryText()
{
    Report report({{u"/data/ana"_s}, {}});
    Result result{Result::Error, u"s"_s, u"/data/ana/1"_s, u"/data/ana/2"_s};
    result.lines = QStringList{u"/data/ana/3"_s};
    QCOMPARE(report.add(result), u"erro  s: ~/1 ~/2\n    ~/3\n"_s);
    QVERIFY(!report.json().contains("ana"));
}

void TestReport::theOwnNamesAreThoseOfTheUser()
{
    qputenv("USER", "someone");
    qputenv("LOGNAME", "");
    PrivateNames names = PrivateNames::own();
    const QString own = QString::fromLocal8Bit(getpwuid(getuid())->pw_name);
    QCOMPARE(names.users, QStringList({u"someone"_s, own}));
    QVERIFY(names.homes.contains(TestEnvironment::home()));
    QVERIFY(names.homes.contains(QString::fromLocal8Bit(getpwuid(getuid())->pw_dir)));
    qputenv("LOGNAME", "other");
    qputenv("USER", own.toLocal8Bit());
    const QByteArray home = qgetenv("HOME");
    qputenv("HOME", "/");
    names = PrivateNames::own();
    qputenv("HOME", home);
    QCOMPARE(names.users, QStringList({own, u"other"_s}));
    QVERIFY(!names.homes.contains(u"/"_s));
}

ZEL_TEST_MAIN(TestReport)

#include "tst_report.moc"
