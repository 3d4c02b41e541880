#include "DoctorTest.h"
#include "zel-doctor/ProgramFile.h"

using namespace Qt::StringLiterals;

class TestProgramFile : public DoctorTest
{
    Q_OBJECT

private slots:
    void theKindComesFromTheHeader_data();
    void theKindComesFromTheHeader();
    void aMissingFileOrAFolderIsUnreadable();
};

void TestProgramFile::theKindComesFromTheHeader_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<ProgramKind>("kind");
    QTest::newRow("32 bits") << program32() << ProgramKind::Bits32;
    QTest::newRow("64 bits") << program64() << ProgramKind::Bits64;
    QTest::newRow("another machine") << windowsProgram(0xAA64) << ProgramKind::Foreign;
    QTest::newRow("empty") << QByteArray() << ProgramKind::Foreign;
    QTest::newRow("no MZ") << "XX"_ba + program32().sliced(2) << ProgramKind::Foreign;
    QTest::newRow("no PE") << program32().replace("PE", "NE") << ProgramKind::Foreign;
    QTest::newRow("truncated in its PE header") << program32().chopped(1) << ProgramKind::Foreign;
    QTest::newRow("truncated before the offset of the header")
        << program32().first(0x3F) << ProgramKind::Foreign;
    QTest::newRow("truncated after the offset of the header")
        << program32().first(0x40) << ProgramKind::Foreign;
    QTest::newRow("a script") << "#!/bin/sh\n"_ba + QByteArray(100, '\n') << ProgramKind::Foreign;
}

void TestProgramFile::theKindComesFromTheHeader()
{
    QFETCH(const QByteArray, bytes);
    QFETCH(const ProgramKind, kind);
    Disk::write(at(u"x.exe"_s), bytes);
    QCOMPARE(programKind(at(u"x.exe"_s)), kind);
}

void TestProgramFile::aMissingFileOrAFolderIsUnreadable()
{
    QCOMPARE(programKind(at(u"none"_s)), ProgramKind::Unreadable);
    QCOMPARE(programKind(client()), ProgramKind::Unreadable);
    QCOMPARE(programKind(u"/dev/zero"_s), ProgramKind::Unreadable);
}

ZEL_TEST_MAIN(TestProgramFile)

#include "tst_programfile.moc"
