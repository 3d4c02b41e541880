#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <optional>

#include <sys/resource.h>

#include "support/TestMain.h"

/// Files for tests, and disk faults. A failure aborts the test program.
namespace Disk
{

/// Creates a file at @p path with the content @p bytes, and missing folders.
void write(const QString &path, const QByteArray &bytes);
/// Like write(); the file is executable by its owner.
void writeExecutable(const QString &path, const QByteArray &bytes);
/// The content of the file at @p path.
QByteArray read(const QString &path);
/// Creates a folder at @p path. In place of a file it can be neither read nor written.
void makeFolder(const QString &path);
/// Creates a symbolic link to @p target at @p path.
void makeLink(const QString &path, const QString &target);
/// The parent of temporary folders: in memory if possible, because QSaveFile syncs each file.
QString memoryFolder();
/// Makes @p path behave like a file on a full disk: it can be opened, but every write fails.
void makeFull(const QString &path);
/// The names in the folder at @p path, hidden ones included, sorted.
QStringList names(const QString &path);
/// The content of every file below the folder at @p path, hidden ones included, by relative path.
QMap<QString, QByteArray> files(const QString &path);

/// Limits the size of the files that this process writes during its lifetime, like a full disk.
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

/// Changes the working directory during its lifetime.
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

/// Base of a test class with a new, empty folder for each test function (not for data functions).
class FolderTest : public TestBase
{
    Q_OBJECT

protected slots:
    void init();
    void cleanup();

protected:
    /// Path of that folder.
    QString folder() const;
    /// Path of @p name in that folder; empty for an empty name.
    QString at(const QString &name) const;

private:
    std::optional<QTemporaryDir> dir;
};
