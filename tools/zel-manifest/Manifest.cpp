#include "zel-manifest/Manifest.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <unistd.h>

namespace
{

/// @p text as a JSON string.
QByteArray jsonString(const QString &text)
{
    // QJsonDocument cannot write a bare string: write an array of one string and strip the
    // brackets.
    QByteArray json = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    json = json.mid(1, json.size() - 2);
    // QJsonDocument, by which the launcher reads the manifest, drops this character at the start of
    // a string unless it is escaped.
    const QByteArray byteOrderMark("\"\xEF\xBB\xBF");
    if (json.startsWith(byteOrderMark)) {
        json.replace(0, byteOrderMark.size(), "\"\\ufeff");
    }
    return json;
}

QByteArray jsonLine(const ManifestEntry &entry)
{
    return "{\"path\": " + jsonString(entry.path) + ", \"url\": " + jsonString(entry.url) +
           ", \"size\": " + QByteArray::number(entry.size) +
           ", \"sha256\": " + jsonString(entry.sha256) + '}';
}

} // namespace

FileAmount Manifest::amount() const
{
    FileAmount amount{files.size()};
    for (const ManifestEntry &entry : files) {
        amount.bytes += std::max<qint64>(entry.size, 0);
    }
    return amount;
}

QByteArray Manifest::toJson() const
{
    QByteArray json = "{\n\"version\": " + jsonString(version) + ",\n\"files\": [";
    const char *separator = "\n";
    for (const ManifestEntry &entry : files) {
        json += separator + jsonLine(entry);
        separator = ",\n";
    }
    return json + "\n]\n}\n";
}

bool Manifest::fromJson(const QByteArray &json, Manifest *manifest)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) {
        return false;
    }
    const QJsonObject object = document.object();
    manifest->version = object.value(u"version").toString();
    manifest->files.clear();
    const QJsonArray listed = object.value(u"files").toArray();
    for (const auto &value : listed) {
        const QJsonObject file = value.toObject();
        ManifestEntry entry;
        entry.path = file.value(u"path").toString();
        entry.url = file.value(u"url").toString(entry.path);
        entry.size = file.value(u"size").toInteger(-1);
        entry.sha256 = file.value(u"sha256").toString();
        if (!entry.path.isEmpty()) {
            manifest->files.append(entry);
        }
    }
    return true;
}

QString Manifest::urlOf(const QByteArray &path)
{
    return QString::fromLatin1(path.toPercentEncoding("/"));
}

std::optional<QByteArray> readWhole(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = file.errorString();
        return std::nullopt;
    }
    QByteArray content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        *error = file.errorString();
        return std::nullopt;
    }
    return content;
}

bool writeWhole(const QString &target, const QByteArray &content, QString *error)
{
    QSaveFile file(target);
    // QSaveFile would commit a short write.
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size() ||
        !file.flush()) {
        *error = file.errorString();
        return false;
    }
    // Some file systems report a full disk only here, and QSaveFile ignores it.
    if (::fsync(file.handle()) != 0) {
        *error = QString::fromStdString(std::generic_category().message(errno));
        return false;
    }
    if (!file.commit()) {
        *error = file.errorString();
        return false;
    }
    return true;
}
