#pragma once

#include <functional>

#include "support/files/Disk.h"

/// Adds rows of faults that stop the writing of the server files: the file "name" is a link to
/// "target"; "text" is the error, with %1 for the path; "filesWritten" files come before it.
inline void addServerFileFaults()
{
    using namespace Qt::StringLiterals;
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("filesWritten");
    const auto row = [](const char *title, const QString &name, const QString &target,
                        const QString &text, int filesWritten) {
        QTest::newRow(title) << name << target << text << filesWritten;
    };
    const QString notOpened = u"Nao foi possivel gravar %1"_s;
    row("the server list is a folder", u"serverlist.txt"_s, u"."_s, notOpened, 0);
    row("no room for the server list", u"serverlist.txt"_s, u"/dev/full"_s, u"Falha ao gravar %1"_s,
        0);
    row("the name file is a folder", u"sn.bin"_s, u"."_s, notOpened, 1);
    row("the address file is a folder", u"server.txt"_s, u"."_s,
        u"Nao foi possivel gravar server.txt"_s, 2);
}

/// Checks the results of @p write for paths where it cannot write @p content. @p folder is empty.
inline void
requireWriteFaults(const QString &folder, const QByteArray &content,
                   const std::function<bool(const QString &path, QString *error)> &write)
{
    using namespace Qt::StringLiterals;
    const auto requireFault = [&write](const QString &path, const QString &text) {
        QString error;
        QVERIFY(!write(path, &error));
        QCOMPARE(error, text + path);
        QVERIFY(!write(path, nullptr));
    };
    const QString notOpened = u"Nao foi possivel gravar "_s;
    const QString notWritten = u"Falha ao gravar "_s;
    const QString file = folder + u"/file"_s;

    requireFault(folder, notOpened);
    requireFault(folder + u"/nonexistent/%1 %2 %99"_s, notOpened);
    requireFault(u"/dev/null/file"_s, notOpened);
    requireFault(file + u"\0x"_s, notOpened);
    for (int call = 0; call < 2; ++call) {
        QTest::ignoreMessage(QtWarningMsg, "QFSFileEngine::open: No file name specified");
    }
    requireFault(QString(), notOpened);
    QCOMPARE(Disk::names(folder), QStringList());

    Disk::write(file, content + "and a long tail");
    {
        const Disk::SizeLimit limit(static_cast<rlim_t>(content.size() - 1));
        requireFault(file, notWritten);
    }
    QCOMPARE(Disk::read(file), content.chopped(1));
    QCOMPARE(Disk::names(folder), QStringList{u"file"_s});

    Disk::makeFull(folder + u"/full"_s);
    requireFault(folder + u"/full"_s, notWritten);
}
