// The input is a "sn.bin" to read; its first byte and the rest are also a group and a name to
// write.

#include <QByteArrayList>

#include <algorithm>

#include "FuzzTarget.h"
#include "client/SnBin.h"

using Fuzz::require;

namespace
{

QString readName(const QString &path)
{
    QString name;
    require(SnBin::loadDisplayName(path, &name), "any file that opens has a display name");
    require(!name.isEmpty() && !name.contains(u'\n') && !name.contains(QStringLiteral("  ")),
            "a display name is not empty, is one line and has single blanks");
    return name;
}

/// Name that reads from a file written with @p name.
QString writtenAndRead(const QString &path, int group, const QString &name)
{
    QString error;
    require(SnBin::writeMainGroup(path, group, name, &error) && error.isNull(), "a write succeeds");
    require(SnBin::isValid(path), "a written file is valid");
    return readName(path);
}

/// True for a line of visible ASCII characters and blanks.
bool isPlain(const QByteArray &line)
{
    return std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

void requireWritten(const QString &path, int group, const QString &name)
{
    const QByteArray before = Fuzz::readFile(path);
    if (group < 1 || group > 10) {
        QString error;
        require(!SnBin::writeMainGroup(path, group, name, &error), "a group is 1 to 10");
        require(error == QStringLiteral("ID de grupo invalido para sn.bin: %1").arg(group),
                "the error names the group");
        require(Fuzz::readFile(path) == before, "a refused group leaves the file untouched");
        return;
    }

    const QString prepared = SnBin::preparedName(name);
    require(!prepared.isEmpty() && prepared.size() <= 15 && !prepared.contains(u'\n') &&
                !prepared.contains(u'\r'),
            "a written name has 1 to 15 characters on one line");
    const QString read = writtenAndRead(path, group, name);
    require(Fuzz::readFile(path) == QByteArray::number(group) + ' ' + prepared.toUtf8() +
                                        "\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n",
            "a file is the group, the name and ten lines of 0");
    require(read.size() <= 15, "a name does not grow on its way through the file");
    require(writtenAndRead(path, group, read) == read, "a second round trip changes nothing");
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    const QString path = Fuzz::path(QStringLiteral("sn.bin"));
    Fuzz::writeFile(path, input);
    readName(path);
    const QByteArray line = input.split('\n').first();
    if (isPlain(line)) {
        const int group = line.simplified().split(' ').first().toInt();
        require(SnBin::isValid(path) == (group >= 1 && group <= 10),
                "a file is valid exactly with a group of 1 to 10");
    }
    if (!input.isEmpty()) {
        requireWritten(path, int(qint8(input.front())), QString::fromUtf8(input.sliced(1)));
    }
}
