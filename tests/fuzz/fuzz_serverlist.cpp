// The input is a "serverlist.txt". The detected server must survive a round trip.

#include <algorithm>

#include "FuzzTarget.h"
#include "client/ServerList.h"

using namespace Qt::StringLiterals;
using Fuzz::require;

void fuzzOne(const QByteArray &input)
{
    const QString path = Fuzz::file(u"serverlist.txt"_s, input);
    QList<ServerEntry> entries{ServerEntry{7, 7, u"stale"_s, {}}};
    QString error;
    require(ServerList::load(path, &entries, &error) && error.isNull(), "any text loads");
    for (const ServerEntry &entry : std::as_const(entries)) {
        require(!entry.ip.isEmpty() && !entry.ip.contains(u' ') && !entry.ip.contains(u'\n') &&
                    entry.ip != u"stale"_s && entry.name.isEmpty(),
                "a row has an address of one word from the file, and no name");
    }

    QString ip = u"untouched"_s;
    int channels = -7;
    if (!ServerList::detectPrimary(path, &ip, &channels)) {
        require(ip == u"untouched"_s && channels == -7, "without a server nothing is touched");
        return;
    }
    require(!ip.isEmpty() && channels >= 1, "a server has an address and a channel");

    if (!ServerList::writeMinimal(path, 0, ip, channels, &error)) {
        // White space beyond ASCII does not separate tokens, but is trimmed.
        require(ip.trimmed().isEmpty() && error == u"IP invalido."_s,
                "only an address of nothing but white space is refused");
        require(Disk::read(path) == input, "a refused address leaves the file untouched");
        return;
    }
    QString writtenIp;
    int writtenChannels = 0;
    require(ServerList::detectPrimary(path, &writtenIp, &writtenChannels), "a written list reads");
    require(writtenIp == ip.trimmed(), "a written address reads as it was");
    require(writtenChannels == std::clamp(channels, 1, 10), "the channels are limited to 1..10");
}
