#include "support/files/Disk.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <csignal>
#include <filesystem>
#include <system_error>

using namespace Qt::StringLiterals;

namespace
{

void require(bool done, const char *what, const QString &path)
{
    if (!done) {
        qFatal("%s: %s", what, qPrintable(path));
    }
}

} // namespace

void Disk::write(const QString &path, const QByteArray &bytes)
{
    makeFolder(QFileInfo(path).path());
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush(),
            "cannot write", path);
}

void Disk::writeExecutable(const QString &path, const QByteArray &bytes)
{
    write(path, bytes);
    require(QFile::setPermissions(path, QFile::permissions(path) | QFile::ExeOwner),
            "cannot make executable", path);
}

QByteArray Disk::read(const QString &path)
{
    QFile file(path);
    require(file.open(QIODevice::ReadOnly), "cannot read", path);
    return file.readAll();
}

void Disk::makeFolder(const QString &path)
{
    require(QDir().mkpath(path), "cannot make the folder", path);
}

void Disk::makeLink(const QString &path, const QString &target)
{
    require(QFile::link(target, path), "cannot make the link", path);
}

QString Disk::memoryFolder()
{
    const QFileInfo memory(u"/dev/shm"_s);
    return memory.isWritable() ? memory.filePath() : QDir::tempPath();
}

void Disk::makeFull(const QString &path)
{
    makeLink(path, u"/dev/full"_s);
}

QStringList Disk::names(const QString &path)
{
    // QDir of Qt 6.8 leaves out the entry after one whose name is not UTF-8.
    QStringList names;
    std::error_code unreadable;
    for (const auto &entry : std::filesystem::directory_iterator(path.toStdString(), unreadable)) {
        names << QString::fromStdString(entry.path().filename().string());
    }
    names.sort();
    return names;
}

QMap<QString, QByteArray> Disk::files(const QString &path)
{
    QMap<QString, QByteArray> contents;
    const QDir folder(path);
    QDirIterator files(path, QDir::Files | QDir::Hidden | QDir::System,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        contents.insert(folder.relativeFilePath(file), read(file));
    }
    return contents;
}

Disk::SizeLimit::SizeLimit(rlim_t bytes)
{
    // Without the signal, which would end the program, the write fails.
    std::signal(SIGXFSZ, SIG_IGN);
    require(getrlimit(RLIMIT_FSIZE, &before) == 0, "cannot read the limit of", u"files"_s);
    rlimit limit = before;
    limit.rlim_cur = bytes;
    require(setrlimit(RLIMIT_FSIZE, &limit) == 0, "cannot set the limit of", u"files"_s);
}

Disk::SizeLimit::~SizeLimit()
{
    setrlimit(RLIMIT_FSIZE, &before);
}

Disk::WorkingFolder::WorkingFolder(const QString &path)
    : before(QDir::currentPath())
{
    require(QDir::setCurrent(path), "cannot work in", path);
}

Disk::WorkingFolder::~WorkingFolder()
{
    QDir::setCurrent(before);
}

void FolderTest::init()
{
    TestBase::init();
    dir.emplace();
    QVERIFY(dir->isValid());
}

void FolderTest::cleanup()
{
    dir.reset();
}

QString FolderTest::folder() const
{
    return dir.value().path();
}

QString FolderTest::at(const QString &name) const
{
    return name.isEmpty() ? name : QDir(folder()).filePath(name);
}
