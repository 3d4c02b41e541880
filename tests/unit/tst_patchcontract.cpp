#include "support/TestMain.h"

#include <QNetworkReply>

#include "patch/PatchContract.h"

using namespace Qt::StringLiterals;

namespace
{

/// A reply that has headers and nothing else.
class HeaderReply : public QNetworkReply
{
public:
    explicit HeaderReply(const QList<RawHeaderPair> &headers)
    {
        for (const auto &[name, value] : headers) {
            setRawHeader(name, value);
        }
    }

    void abort() override {}

protected:
    qint64 readData(char *, qint64) override { return -1; }
};

} // namespace

class TestPatchContract : public TestBase
{
    Q_OBJECT

private slots:
    void theBaseUrlIsTrimmedAndEndsWithASlash_data();
    void theBaseUrlIsTrimmedAndEndsWithASlash();
    void onlyTheLengthOfTheBodyItselfIsPromised_data();
    void onlyTheLengthOfTheBodyItselfIsPromised();
};

void TestPatchContract::theBaseUrlIsTrimmedAndEndsWithASlash_data()
{
    QTest::addColumn<QString>("entered");
    QTest::addColumn<QString>("used");
    QTest::newRow("empty") << u""_s << u""_s;
    QTest::newRow("white space only") << u" \t\n"_s << u""_s;
    QTest::newRow("no slash at the end") << u"http://host/x"_s << u"http://host/x/"_s;
    QTest::newRow("a slash at the end") << u"http://host/x/"_s << u"http://host/x/"_s;
    QTest::newRow("two slashes at the end") << u"http://host//"_s << u"http://host//"_s;
    QTest::newRow("white space around") << u" \thttp://host \n"_s << u"http://host/"_s;
    QTest::newRow("white space after a slash") << u"http://host/ "_s << u"http://host/"_s;
    QTest::newRow("a space inside") << u"http://host/x y"_s << u"http://host/x y/"_s;
    QTest::newRow("a query") << u"http://host/x?y"_s << u"http://host/x?y/"_s;
    QTest::newRow("not a URL") << u"x"_s << u"x/"_s;
}

void TestPatchContract::theBaseUrlIsTrimmedAndEndsWithASlash()
{
    QFETCH(const QString, entered);
    QFETCH(const QString, used);
    QCOMPARE(PatchContract::normalizedBaseUrl(entered), used);
}

void TestPatchContract::onlyTheLengthOfTheBodyItselfIsPromised_data()
{
    using Headers = QList<QNetworkReply::RawHeaderPair>;
    QTest::addColumn<Headers>("headers");
    QTest::addColumn<qint64>("size");
    const QNetworkReply::RawHeaderPair length{"Content-Length", "300"};
    const auto row = [](const char *name, const Headers &headers, qint64 size) {
        QTest::newRow(name) << headers << size;
    };
    row("no header", {}, 0);
    row("a length", {length}, 300);
    row("beyond 32 bits", {{"Content-Length", "5000000000"}}, 5000000000);
    row("not a number", {{"Content-Length", "x"}}, 0);
    row("chunked", {length, {"Transfer-Encoding", "gzip, Chunked"}}, 0);
    row("another encoding", {length, {"Transfer-Encoding", "identity"}}, 300);
    row("the length of a redirect alone", {length, {"Location", "/x"}}, 0);
    row("the length of a redirect before the body's own",
        {{"Content-Length", "300, 5"}, {"Location", "/x"}}, 5);
    row("two lengths", {{"Content-Length", "300, 5"}}, 5);
}

void TestPatchContract::onlyTheLengthOfTheBodyItselfIsPromised()
{
    QFETCH(const QList<QNetworkReply::RawHeaderPair>, headers);
    QFETCH(const qint64, size);
    QCOMPARE(PatchContract::promisedSize(HeaderReply(headers)), size);
}

ZEL_TEST_MAIN(TestPatchContract)

#include "tst_patchcontract.moc"
