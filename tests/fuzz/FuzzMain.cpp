#include "FuzzTarget.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

int reportFd = STDERR_FILENO; ///< Where findings are reported.
int printedFd = -1;           ///< Receives the output of the launcher's code, which must be empty.

[[noreturn]] void fail(const QByteArray &finding)
{
    dprintf(reportFd, "\nFINDING: %s\n", finding.constData());
    std::abort();
}

/// Drops Qt's messages like the launcher's main(), but aborts on a fatal one.
void failOnFatal(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type == QtFatalMsg) {
        fail("Qt printed: " + text.toUtf8());
    }
}

/// Redirects standard output and error. libFuzzer has moved its own output to another descriptor.
void catchPrinted()
{
    printedFd = memfd_create("printed", MFD_CLOEXEC);
    dup2(printedFd, STDOUT_FILENO);
    dup2(printedFd, STDERR_FILENO);
    setvbuf(stdout, nullptr, _IONBF, 0);
}

void requireNothingPrinted()
{
    struct stat printed = {};
    if (fstat(printedFd, &printed) != 0) {
        fail("the catch of printed output is gone");
    }
    if (printed.st_size == 0) {
        return;
    }
    QByteArray text(printed.st_size, Qt::Uninitialized);
    text.truncate(pread(printedFd, text.data(), std::size_t(text.size()), 0));
    fail("printed: " + text);
}

QTemporaryDir *folder = nullptr;

} // namespace

void Fuzz::require(bool holds, const char *property)
{
    if (!holds) {
        fail(property);
    }
}

QString Fuzz::path(const QString &name)
{
    return folder->filePath(name);
}

QString Fuzz::file(const QString &name, const QByteArray &bytes)
{
    Disk::write(path(name), bytes);
    return path(name);
}

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Keep libFuzzer's own output off the two standard descriptors.
    static char moveOutput[] = "-close_fd_mask=3";
    static std::vector<char *> arguments(*argv, *argv + *argc);
    arguments.push_back(moveOutput);
    *argc = int(arguments.size());
    arguments.push_back(nullptr);
    *argv = arguments.data();
    reportFd = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);

    static TestEnvironment environment;
    static QTemporaryDir ownFolder;
    folder = &ownFolder;
    static int appArgc = 1;
    // Never destroyed: at exit, objects that Qt's network library needs for that may be gone.
    static const QCoreApplication &app = *new QCoreApplication(appArgc, *argv);
    Q_UNUSED(app)
    TestEnvironment::nameApplication();
    qInstallMessageHandler(failOnFatal);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (printedFd < 0) {
        catchPrinted();
    }
    fuzzOne(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    requireNothingPrinted();
    return 0;
}
