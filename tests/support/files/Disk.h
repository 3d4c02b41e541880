#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

#include <sys/resource.h>

#include "support/TestMain.h"

/// The files that tests make, and the faults of the disk they are on. What fails here aborts the
/// test program.
namespace Disk
{

/// Makes a file at @p path that holds @p bytes; missing folders are created.
void write(const QString &path, const QByteArray &bytes);
/// Makes such a file that its owner may run.
void writeExecutable(const QString &path, const QByteArray &bytes);
/// The content of the file at @p path.
QByteArray read(const QString &path);
/// Makes a folder at @p path: where a file is expected it can be neither read nor written.
void makeFolder(const QString &path);
/// Makes a symbolic link to @p target at @p path.
void makeLink(const QString &path, const QString &target);
/// Makes @p path a file on a full disk: it can be opened, but every write fails.
void makeFull(const QString &path);
/// What is in the folder at @p path, hidden files included, sorted.
QStringList names(const QString &path);
/// Content of every file below the folder at @p path, hidden ones included, by the name relative to
/// it.
QMap<QString, QByteArray> files(const QString &path);

/// While it lives, no file of this process can grow beyond a size: a disk that fills up.
class SizeLimit
{
public:
    explicit SizeLimit(rlim_t bytes);
    ~SizeLimit();
    SizeLimit(const SizeLimit &) = delete;
    SizeLimit &operator=(const SizeLimit &) = delete;

private:
    rlimit before{};
};

/// While it lives, relative paths start at another folder.
class WorkingFolder
{
public:
    explicit WorkingFolder(const QString &path);
    ~WorkingFolder();
    WorkingFolder(const WorkingFolder &) = delete;
    WorkingFolder &operator=(const WorkingFolder &) = delete;

private:
    QString before;
};

} // namespace Disk

/// Base of a test class whose functions each find a new, empty folder. The functions that only
/// give the data have none.
class FolderTest : public TestBase
{
    Q_OBJECT

protected slots:
    void init();
    void cleanup();

protected:
    /// Path of that folder.
    QString folder() const;
    /// Path of @p name in that folder; no path without a name.
    QString at(const QString &name) const;

private:
    std::optional<QTemporaryDir> dir;
};
