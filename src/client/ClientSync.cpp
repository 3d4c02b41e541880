#include "client/ClientSync.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

#include "client/ConfigBin.h"
#include "client/Files.h"
#include "client/ServerList.h"
#include "client/SnBin.h"

namespace
{

// The client numbers its groups from 0 in "serverlist.txt" and from 1 in "sn.bin".
constexpr int serverListGroup = 0;
constexpr int snBinGroup = 1;

/// Returns false and sets @p error when @p clientDir is not an existing folder.
bool requireFolder(const QString &clientDir, QString *error)
{
    return QFileInfo(clientDir).isDir() ||
           Files::fail(error, QStringLiteral("Configure a pasta do cliente."));
}

bool writeServerTxt(const QDir &client, const QString &ip, QString *error)
{
    QFile file(client.filePath(QStringLiteral("server.txt")));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        return Files::fail(error, QStringLiteral("Nao foi possivel gravar server.txt"));
    }
    file.write(ip.toUtf8());
    file.write("\n");
    return true;
}

/// True when the file at @p path is valid and its display name is @p name in any letter case.
bool carriesName(const QString &path, const QString &name)
{
    QString old;
    return SnBin::isValid(path) && SnBin::loadDisplayName(path, &old) &&
           old.trimmed().compare(name.trimmed(), Qt::CaseInsensitive) == 0;
}

/// @p text with @p ip in every "server_ip=" line. Decoded as Latin-1: UTF-8 would replace bytes
/// that are not valid.
QByteArray withServerIp(const QByteArray &text, const QString &ip)
{
    static const QRegularExpression serverIpLine(QStringLiteral("^server_ip=.*$"),
                                                 QRegularExpression::MultilineOption);
    static const QByteArray byteOrderMark("\xEF\xBB\xBF");

    // Skip the byte order mark: "^" would not match the first line behind it.
    const qsizetype start = text.startsWith(byteOrderMark) ? byteOrderMark.size() : 0;
    QString latin1 = QString::fromLatin1(text.sliced(start));
    latin1.replace(serverIpLine, QLatin1String("server_ip=") + QString::fromLatin1(ip.toUtf8()));
    return text.first(start) + latin1.toLatin1();
}

void updateLoginIni(const QDir &client, const QString &ip)
{
    const QString path = client.filePath(QStringLiteral("zel_login.ini"));
    QFile file(path);
    // ReadWrite would create a missing file.
    if (!QFileInfo::exists(path) || !file.open(QIODevice::ReadWrite | QIODevice::Text)) {
        return;
    }
    const QByteArray text = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        return; // writing back a partial read would truncate the file
    }
    file.resize(0); // also moves the position to 0
    file.write(withServerIp(text, ip));
}

void removePatchedExe(const QDir &client)
{
    const QString path = client.filePath(QStringLiteral("ZEL_patched.exe"));
    if (QFileInfo::exists(path)) {
        QFile::remove(path);
    }
}

} // namespace

int ClientSync::clampChannelCount(int n)
{
    return std::clamp(n, 1, 10);
}

bool ClientSync::writeGameConfig(const QString &clientDir, const ClientConfig &cfg, QString *error)
{
    if (!requireFolder(clientDir, error)) {
        return false;
    }
    return ConfigBin::save(QDir(clientDir).filePath(QStringLiteral("Config.bin")), cfg, error);
}

bool ClientSync::writeServerFiles(const QString &clientDir, const ServerProfile &profile,
                                  QString *error)
{
    if (!requireFolder(clientDir, error)) {
        return false;
    }
    const QString ip = profile.ip.trimmed();
    if (ip.isEmpty() || ip.contains(u' ')) {
        return Files::fail(error, QStringLiteral("Informe o IP do servidor."));
    }
    const QString name = SnBin::preparedName(profile.name);
    const int channels = clampChannelCount(profile.channelCount);
    const QDir client(clientDir);

    if (!ServerList::writeMinimal(client.filePath(QStringLiteral("serverlist.txt")),
                                  serverListGroup, ip, channels, error)) {
        return false;
    }
    const QString snPath = SnBin::pathIn(clientDir);
    if (!carriesName(snPath, name) && !SnBin::writeMainGroup(snPath, snBinGroup, name, error)) {
        return false;
    }
    if (!writeServerTxt(client, ip, error)) {
        return false;
    }
    updateLoginIni(client, ip);
    removePatchedExe(client);
    return true;
}
