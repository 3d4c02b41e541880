#include "support/process/FakeClient.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "settings/LauncherSettings.h"
#include "support/files/Disk.h"
#include "support/files/Settings.h"

using namespace Qt::StringLiterals;

namespace
{

void require(bool condition, const QString &what)
{
    if (!condition) {
        qFatal("cannot prepare the test: %s", qPrintable(what));
    }
}

} // namespace

FakeClient::FakeClient(const QString &folderName)
    : folder(root.filePath(folderName))
{
    Disk::makeFolder(folder);
    QImage picture(96, 59, QImage::Format_RGB32);
    picture.fill(Qt::darkGreen);
    writePicture(picture);
    write(u"zel_login.ini"_s, "window=1\nserver_ip=10.9.9.9\nsound=0\n");
    write(u"ZEL.exe"_s, {});
}

QString FakeClient::filePath(const QString &name) const
{
    return QDir(folder).filePath(name);
}

void FakeClient::write(const QString &name, const QByteArray &content) const
{
    Disk::write(filePath(name), content);
}

QByteArray FakeClient::read(const QString &name) const
{
    QFile file(filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void FakeClient::writePicture(const QImage &picture) const
{
    const QString path = filePath(u"Launcher.bmp"_s);
    require(picture.save(path), path);
}

void FakeClient::useInLauncher() const
{
    resetFields();
    LauncherSettings::instance().clientDir = folder;
    LauncherSettings::instance().useWine = false;
}

FakeProgram::FakeProgram(const QString &path, const QByteArray &body)
    : script(path)
{
    const QByteArray ordersPath = QFile::encodeName(records.filePath(u"orders"_s));
    require(::mkfifo(ordersPath.constData(), S_IRUSR | S_IWUSR) == 0, path);
    orders = ::open(ordersPath.constData(), O_RDWR | O_CLOEXEC);
    require(orders >= 0, path);

    QByteArray text = R"(#!/bin/sh
record='@RECORDS@'
for word; do printf '%s\0' "$word"; done >"$record/arguments"
pwd -P >"$record/folder"
cat "/proc/$$/environ" >"$record/environment"
echo $$ >"$record/pid"
@BODY@
echo start >>"$record/starts"
read -r how number <"$record/orders"
case $how in
exit) exit "$number" ;;
signal) kill "-$number" $$ ;;
esac
)";
    text.replace("@RECORDS@", QFile::encodeName(records.path()));
    text.replace("@BODY@", body);
    Disk::writeExecutable(path, text);
}

FakeProgram::~FakeProgram()
{
    ::close(orders);
}

int FakeProgram::startCount() const
{
    return int(record(u"starts"_s).count('\n'));
}

QStringList FakeProgram::arguments() const
{
    QStringList words = QString::fromUtf8(record(u"arguments"_s)).split(QChar::Null);
    words.removeLast(); // empty, after the last terminator
    return words;
}

QString FakeProgram::workingFolder() const
{
    return QString::fromUtf8(record(u"folder"_s).chopped(1));
}

QProcessEnvironment FakeProgram::environment() const
{
    QProcessEnvironment environment;
    const QList<QByteArray> lines = record(u"environment"_s).split('\0');
    for (const QByteArray &line : lines) {
        const qsizetype equals = line.indexOf('=');
        if (equals > 0) {
            environment.insert(QString::fromUtf8(line.left(equals)),
                               QString::fromUtf8(line.mid(equals + 1)));
        }
    }
    return environment;
}

qint64 FakeProgram::pid() const
{
    return record(u"pid"_s).trimmed().toLongLong();
}

void FakeProgram::order(const char *what, int number)
{
    const QByteArray line = QByteArray(what) + ' ' + QByteArray::number(number) + '\n';
    require(::write(orders, line.constData(), size_t(line.size())) == line.size(), script);
}

QByteArray FakeProgram::record(const QString &name) const
{
    QFile file(records.filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
