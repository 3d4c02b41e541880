// The input is read as a "sn.bin"; its first byte and the rest are also written as group and name.

#include <QByteArrayList>

#include <algorithm>

#include "FuzzTarget.h"
#include "client/SnBin.h"

using namespace Qt::StringLiterals;
using Fuzz::require;

namespace
{

QString readName(const QString &path)
{
    QString name;
    require(SnBin::loadDisplayName(path, &name), "any file that opens has a display name");
    require(!name.isEmpty() && !name.contains(u'\n') && !name.contains(u"  "_s),
            "a display name is not empty, is one line and has single blanks");
    return name;
}

void requireWritten(const QString &path, int group, const QString &name)
{
    const QByteArray before = Disk::read(path);
    QString error;
    if (!SnBin::writeMainGroup(path, group, name, &error)) {
        require(group < 1 || group > 10, "a group is 1 to 10");
        require(error == u"ID de grupo invalido para sn.bin: %1"_s.arg(group),
                "the error names the group");
        require(Disk::read(path) == before, "a refused group leaves the file untouched");
        return;
    }
    require(group >= 1 && group <= 10 && error.isNull(), "a group is 1 to 10");
    require(SnBin::isValid(path), "a written file is valid");

    const QString prepared = SnBin::preparedName(name);
    require(!prepared.isEmpty() && prepared.size() <= 15 && !prepared.contains(u'\n') &&
                !prepared.contains(u'\r'),
            "a written name has 1 to 15 characters on one line");
    require(Disk::read(path) == QByteArray::number(group) + ' ' + prepared.toUtf8() + '\n' +
                                    QByteArray("0\n").repeated(10),
            "a file is the group, the name and ten lines of 0");
    const QString read = readName(path);
    require(read.size() <= 15, "a name does not grow on its way through the file");
    require(SnBin::writeMainGroup(path, group, read) && readName(path) == read,
            "a second round trip changes nothing");
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    const QString path = Fuzz::file(u"sn.bin"_s, input);
    readName(path);
    const QByteArray line = input.split('\n').first();
    if (std::all_of(line.begin(), line.end(), [](char c) { return c >= ' ' && c <= '~'; })) {
        const int group = line.simplified().split(' ').first().toInt();
        require(SnBin::isValid(path) == (group >= 1 && group <= 10),
                "a file is valid exactly with a group of 1 to 10");
    }
    if (!input.isEmpty()) {
        requireWritten(path, int(qint8(input.front())), QString::fromUtf8(input.sliced(1)));
    }
}
