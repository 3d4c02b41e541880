#include <pwd.h>
#include <unistd.h>

#include "support/files/Disk.h"
#include "zel-doctor/PrivateNames.h"

using namespace Qt::StringLiterals;

class TestPrivateNames : public FolderTest
{
    Q_OBJECT

private slots:
    void privateNamesAreReplaced_data();
    void privateNamesAreReplaced();
    void controlCharactersAreReplaced();
    void emptyNamesAndTheRootFolderAreIgnored();
    void everyTextOfAResultIsChanged();
    void theOwnNamesAreThoseOfTheUser();
};

void TestPrivateNames::privateNamesAreReplaced_data()
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
    QTest::newRow("a longer name")
        << u"/data/anabela/x /data/anaé"_s << u"/data/anabela/x /data/anaé"_s;
    QTest::newRow("the home folder of another user") << u"/home/rui/x /home/eva"_s << u"~/x ~"_s;
    QTest::newRow("another folder named home")
        << u"/mnt/home/rui/x ../home/a -/home/a"_s << u"/mnt/home/rui/x ../home/a -/home/a"_s;
    QTest::newRow("home folders in a list")
        << u"'/home/rui':/home/eva;/home/ana,/home/b"_s << u"'~':~;~,~"_s;
    QTest::newRow("a home folder in Wine's spelling")
        << uR"(Z:\home\rui\x "/home/eva")"_s << uR"(Z:~\x "~")"_s;
    QTest::newRow("the user") << u"C:\\users\\ana\\x USER=ana ana: Ana"_s
                              << u"C:\\users\\~\\x USER=~ ~: ~"_s;
    QTest::newRow("the user in a longer word")
        << u"banana ana-b c-ana ana_ ana1 anaé"_s << u"banana ana-b c-ana ana_ ana1 anaé"_s;
    QTest::newRow("a user name with special characters") << u"a.b, axb"_s << u"~, axb"_s;
    QTest::newRow("nothing private") << u"/usr/bin/wine"_s << u"/usr/bin/wine"_s;
}

void TestPrivateNames::privateNamesAreReplaced()
{
    QFETCH(const QString, text);
    QFETCH(const QString, shown);
    const PrivateNames names({u"/data/ana"_s, u"/data/ana/deep"_s}, {u"ana"_s, u"a.b"_s});
    QCOMPARE(names.hiddenIn(text), shown);
}

void TestPrivateNames::controlCharactersAreReplaced()
{
    QCOMPARE(PrivateNames({}, {}).hiddenIn(u"a\x1b[2J\nb\tc\x7f"_s), u"a?[2J b\tc?"_s);
}

void TestPrivateNames::emptyNamesAndTheRootFolderAreIgnored()
{
    const PrivateNames names({u"/"_s, QString()}, {QString()});
    QCOMPARE(names.hiddenIn(u"/usr/bin/wine of x"_s), u"/usr/bin/wine of x"_s);
}

void TestPrivateNames::everyTextOfAResultIsChanged()
{
    const PrivateNames names({u"/data/ana"_s}, {});
    Result result = Result::error(u"s"_s, u"/data/ana/1"_s, u"/data/ana/2"_s);
    result.lines = QStringList{u"/data/ana/3"_s};
    Result hidden = Result::error(u"s"_s, u"~/1"_s, u"~/2"_s);
    hidden.lines = QStringList{u"~/3"_s};
    QCOMPARE(names.hiddenIn(result), hidden);
}

void TestPrivateNames::theOwnNamesAreThoseOfTheUser()
{
    const passwd *entry = getpwuid(getuid());
    const QString user = QString::fromLocal8Bit(entry->pw_name);
    Disk::makeLink(at(u"link"_s), TestEnvironment::home());
    const QByteArray home = qgetenv("HOME");
    qputenv("USER", "someone");
    qputenv("LOGNAME", "other");
    qputenv("HOME", at(u"link"_s).toUtf8());
    const PrivateNames names = PrivateNames::own();
    qputenv("HOME", home);
    for (const QString &name :
         {at(u"link"_s), TestEnvironment::home(), QString::fromLocal8Bit(entry->pw_dir), user,
          u"someone"_s, u"other"_s}) {
        QCOMPARE(names.hiddenIn(u"(%1)"_s.arg(name)), u"(~)"_s);
    }
}

ZEL_TEST_MAIN(TestPrivateNames)

#include "tst_privatenames.moc"
