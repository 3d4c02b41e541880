// The first line of the input is a server address, the rest a "zel_login.ini" to write it to.

#include <QByteArrayList>
#include <QFile>
#include <QFileInfo>

#include "FuzzTarget.h"
#include "client/ClientSync.h"

using namespace Qt::StringLiterals;
using Fuzz::require;

namespace
{

/// The expected file: each line that begins with the key has the address; all other bytes but
/// carriage returns are kept, including a byte order mark.
QByteArray withAddress(const QByteArray &ip, QByteArray text)
{
    text.replace('\r', QByteArray());
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
    const ServerProfile profile{u"Alpha"_s, QString::fromUtf8(input.first(lineEnd)), 3};
    const QByteArray text = input.sliced(lineEnd + 1);
    const QString loginIni = Fuzz::file(u"client/zel_login.ini"_s, text);
    const QString serverTxt = Fuzz::file(u"client/server.txt"_s, "old\n");
    const QString patchedExe = Fuzz::file(u"client/ZEL_patched.exe"_s, "stale");
    const QString client = QFileInfo(loginIni).path();

    QString error;
    const bool written = ClientSync::writeServerFiles(client, profile, &error);
    const QString ip = profile.ip.trimmed();
    require(written == !(ip.isEmpty() || ip.contains(u' ')), "an address is one word");
    if (!written) {
        require(error == u"Informe o IP do servidor."_s, "the error asks for one");
        require(Disk::read(loginIni) == text && Disk::read(serverTxt) == "old\n" &&
                    QFile::exists(patchedExe),
                "a refused address leaves the files untouched");
        return;
    }
    const QByteArray expected = withAddress(ip.toUtf8(), text);
    require(Disk::read(loginIni) == expected, "only the lines of the address change");
    require(Disk::read(serverTxt) == ip.toUtf8() + '\n', "server.txt holds the address");
    require(!QFile::exists(patchedExe), "a stale executable is removed");

    require(ClientSync::writeServerFiles(client, profile), "a second pass succeeds");
    require(Disk::read(loginIni) == expected, "a second pass changes nothing");
    require(QFile::remove(loginIni) && ClientSync::writeServerFiles(client, profile) &&
                !QFile::exists(loginIni),
            "a missing file stays missing");
}
