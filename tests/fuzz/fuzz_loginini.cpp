// The first line of the input is a server address, the rest is a "zel_login.ini" that is pointed
// at it.

#include <QByteArrayList>
#include <QDir>
#include <QFile>

#include "FuzzTarget.h"
#include "client/ClientSync.h"
#include "client/ServerList.h"

using Fuzz::require;

namespace
{

/// @p text as Qt's text mode gives it to the launcher: without carriage returns.
QByteArray withoutReturns(QByteArray text)
{
    return text.replace('\r', QByteArray());
}

/// The file that @p text must become: each line that begins with the key holds the address, every
/// other byte is kept, a byte order mark in front of the first line too.
QByteArray pointedAt(const QByteArray &ip, const QByteArray &text)
{
    const QByteArray mark = text.startsWith("\xEF\xBB\xBF") ? text.first(3) : QByteArray();
    QByteArrayList lines = text.sliced(mark.size()).split('\n');
    for (QByteArray &line : lines) {
        if (line.startsWith("server_ip=")) {
            line = "server_ip=" + ip;
        }
    }
    return mark + lines.join('\n');
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    const qsizetype lineEnd = input.indexOf('\n');
    if (lineEnd < 0) {
        return;
    }
    const ServerProfile profile{QStringLiteral("Alpha"), QString::fromUtf8(input.first(lineEnd)),
                                3};
    const QByteArray text = input.sliced(lineEnd + 1);

    const QDir client(Fuzz::path(QStringLiteral("client")));
    client.mkpath(QStringLiteral("."));
    const QString loginIni = client.filePath(QStringLiteral("zel_login.ini"));
    const QString serverTxt = client.filePath(QStringLiteral("server.txt"));
    const QString patchedExe = client.filePath(QStringLiteral("ZEL_patched.exe"));
    Fuzz::writeFile(loginIni, text);
    Fuzz::writeFile(serverTxt, "old\n");
    Fuzz::writeFile(patchedExe, "stale");

    QString error;
    const bool written = ClientSync::writeServerFiles(client.path(), profile, &error);
    const QString ip = profile.ip.trimmed();
    require(written == !(ip.isEmpty() || ip.contains(u' ')), "an address is one word");
    if (!written) {
        require(error == QStringLiteral("Informe o IP do servidor."), "the error asks for one");
        require(Fuzz::readFile(loginIni) == text && Fuzz::readFile(serverTxt) == "old\n" &&
                    QFile::exists(patchedExe),
                "a refused address leaves the files untouched");
        return;
    }
    const QByteArray expected = pointedAt(ip.toUtf8(), withoutReturns(text));
    require(Fuzz::readFile(loginIni) == expected, "only the lines of the address change");
    require(Fuzz::readFile(serverTxt) == ip.toUtf8() + '\n', "server.txt holds the address");
    require(!QFile::exists(patchedExe), "a stale executable is removed");

    require(ClientSync::writeServerFiles(client.path(), profile, nullptr),
            "a second pass succeeds");
    require(Fuzz::readFile(loginIni) == expected, "a second pass changes nothing");
    require(QFile::remove(loginIni) &&
                ClientSync::writeServerFiles(client.path(), profile, nullptr) &&
                !QFile::exists(loginIni),
            "a missing file stays missing");
}
