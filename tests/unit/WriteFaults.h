#pragma once

#include <functional>

#include "support/files/Disk.h"

/// Checks the answers of @p write where it cannot write @p content. The @p folder is empty.
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
