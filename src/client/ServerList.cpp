#include "client/ServerList.h"

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

#include "client/Files.h"

namespace
{

/// The entry of a line; nothing for an empty line, a comment or a line of two tokens.
std::optional<ServerEntry> parseLine(const QString &line)
{
    static const QRegularExpression whiteSpace(QStringLiteral("\\s+"));

    const QString text = line.trimmed();
    if (text.isEmpty() || text.startsWith(u'#')) {
        return std::nullopt;
    }
    const QStringList tokens = text.split(whiteSpace, Qt::SkipEmptyParts);
    ServerEntry entry;
    if (tokens.size() == 1) {
        entry.ip = tokens[0];
        return entry;
    }
    if (tokens.size() < 3) {
        return std::nullopt;
    }
    entry.group = tokens[0].toInt();
    entry.channel = tokens[1].toInt();
    entry.ip = tokens[2];
    return entry;
}

/// Group of the first row that satisfies @p isCandidate; nothing if there is none or its group is
/// negative.
template<typename Predicate>
std::optional<int> firstGroup(const QList<ServerEntry> &entries, Predicate isCandidate)
{
    const auto row = std::find_if(entries.cbegin(), entries.cend(), isCandidate);
    if (row == entries.cend() || row->group < 0) {
        return std::nullopt;
    }
    return row->group;
}

std::optional<int> primaryGroup(const QList<ServerEntry> &entries)
{
    const auto group = firstGroup(entries, [](const ServerEntry &e) { return e.channel == 0; });
    if (group) {
        return group;
    }
    return firstGroup(entries, [](const ServerEntry &e) { return e.channel >= 1; });
}

} // namespace

bool ServerList::load(const QString &path, QList<ServerEntry> *entries, QString *error)
{
    if (entries == nullptr) {
        return Files::fail(error, QStringLiteral("Lista invalida."));
    }
    entries->clear();
    if (!QFileInfo::exists(path)) {
        return true;
    }

    QFile file(path);
    if (!Files::open(file, QIODevice::ReadOnly | QIODevice::Text)) {
        return Files::fail(error, QStringLiteral("Nao foi possivel abrir %1").arg(path));
    }
    // Not until atEnd(): that is never true when reading fails.
    for (QByteArray line = file.readLine(); !line.isEmpty(); line = file.readLine()) {
        const auto entry = parseLine(QString::fromUtf8(line));
        if (entry && !entry->ip.isEmpty()) {
            entries->append(*entry);
        }
    }
    return true;
}

bool ServerList::detectPrimary(const QString &path, QString *ip, int *channelCount)
{
    if (ip == nullptr || channelCount == nullptr) {
        return false;
    }
    QList<ServerEntry> entries; // load() keeps only rows with an address
    if (!load(path, &entries, nullptr)) {
        return false;
    }
    const std::optional<int> group = primaryGroup(entries);
    if (!group) {
        return false;
    }

    QString mainIp;
    QString firstChannelIp;
    int highestChannel = 0;
    for (const ServerEntry &entry : std::as_const(entries)) {
        if (entry.group != *group) {
            continue;
        }
        if (entry.channel == 0) {
            mainIp = entry.ip; // the last main line of the group wins
        }
        highestChannel = std::max(highestChannel, entry.channel);
        if (entry.channel == 1 && firstChannelIp.isEmpty()) {
            firstChannelIp = entry.ip;
        }
    }

    const QString primaryIp = mainIp.isEmpty() ? firstChannelIp : mainIp;
    if (primaryIp.isEmpty()) {
        return false;
    }
    *ip = primaryIp;
    *channelCount = std::max(highestChannel, 1);
    return true;
}

bool ServerList::writeMinimal(const QString &path, int group, const QString &ip, int channelCount,
                              QString *error)
{
    if (group < 0 || group > 9) {
        return Files::fail(error, QStringLiteral("Grupo invalido: %1").arg(group));
    }
    const QString address = ip.trimmed();
    if (address.isEmpty() || address.contains(u' ')) {
        return Files::fail(error, QStringLiteral("IP invalido."));
    }

    QString text;
    const int lastChannel = std::clamp(channelCount, 1, 10);
    for (int channel = 0; channel <= lastChannel; ++channel) {
        text += QStringLiteral("%1 %2 %3\n")
                    .arg(QString::number(group), QString::number(channel), address);
    }
    return Files::write(path, text.toUtf8(), error);
}
