#include <QJsonArray>
#include <QJsonDocument>

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
    QCOMPARE(Report().add(result), line);
}

void TestReport::theExitCodeIsTheWorstState()
{
    Report report;
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
    Report report;
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

ZEL_TEST_MAIN(TestReport)

#include "tst_report.moc"
