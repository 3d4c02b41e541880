// Many launchers that update at once: their updates per second, and the processor time of launcher
// and web server for each.
//
//   fleet SERVER CERTIFICATE PID FOLDER
//
// SERVER publishes none/ (no file), few/ (10 files of 1 MiB) and small/ (2,000 files of 4 KiB); PID
// is its process. Launchers trust CERTIFICATE if SERVER begins with https. FOLDER is where they
// store files and settings.

#include "support/Bench.h"
#include "support/Update.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTemporaryDir>

#include <cstdio>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

using namespace Bench;

namespace
{

/// A launcher starts no further update after this time.
constexpr double roundMs = 2000;
constexpr int mostLaunchers = 256;
/// A number of launchers is skipped if one update of each would take longer.
constexpr double longestRoundSeconds = 20;
constexpr unsigned alarmSeconds = 120;

struct Patch {
    QString name;
    QString folder;
    int count;
    qint64 size; ///< of each file

    double bytes() const { return double(count) * double(size); }
};

/// The server's processor time, in milliseconds.
double serverTime(const QString &pid)
{
    QFile file(QStringLiteral("/proc/%1/stat").arg(pid));
    require(file.open(QIODevice::ReadOnly), file.errorString());
    const QByteArray line = file.readAll();
    // After the name of the program, which is in parentheses: state, ..., utime, stime.
    const QList<QByteArray> fields = line.mid(line.lastIndexOf(')') + 2).split(' ');
    require(fields.size() > 12, QStringLiteral("no processor time"));
    return (fields[11].toDouble() + fields[12].toDouble()) * 1000 / double(::sysconf(_SC_CLK_TCK));
}

/// This process's processor time, in milliseconds.
double ownTime()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto toMs = [](const timeval &time) {
        return double(time.tv_sec) * 1000 + double(time.tv_usec) / 1000;
    };
    return toMs(usage.ru_utime) + toMs(usage.ru_stime);
}

/// One launcher: updates again and again, each time as a new PatchManager with a new connection.
int runLauncher(const QString &url, const QString &certificate, const QString &folder)
{
    ::alarm(alarmSeconds); // ends the process if an update does not end
    QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromPath(certificate));
    QSslConfiguration::setDefaultConfiguration(configuration);

    std::puts("ready");
    std::fflush(stdout);
    require(std::getchar() != EOF, QStringLiteral("not started"));

    const double before = ownTime();
    const Clock::time_point start = Clock::now();
    int updates = 0;
    do {
        runPatchManager(url, folder);
        ++updates;
    } while (millisecondsSince(start) < roundMs);
    std::printf("%d %f\n", updates, ownTime() - before);
    return EXIT_SUCCESS;
}

/// The result for a number of launchers that update at once.
struct Result {
    int launchers = 0;
    double updatesPerSecond = 0;
    double serverMs = 0;   ///< processor time of the server per update
    double launcherMs = 0; ///< processor time of the launcher per update
};

class Fleet
{
public:
    Fleet(QString server, QString certificate, QString pid, QString folder)
        : url(std::move(server))
        , trusted(std::move(certificate))
        , serverPid(std::move(pid))
        , parent(std::move(folder))
    {
    }

    /// Quadruples the number of launchers until that gains less than 5 % in updates per second.
    Result findBest(const Patch &patch) const
    {
        Result best = run(patch, 1);
        for (int launchers = 4;
             launchers <= mostLaunchers && launchers < best.updatesPerSecond * longestRoundSeconds;
             launchers *= 4) {
            const Result result = run(patch, launchers);
            if (result.updatesPerSecond < best.updatesPerSecond * 1.05) {
                break;
            }
            best = result;
        }
        return best;
    }

private:
    Result run(const Patch &patch, int launchers) const
    {
        const QTemporaryDir folder(parent + QStringLiteral("/fleet"));
        std::vector<std::unique_ptr<QProcess>> processes;
        for (int index = 0; index < launchers; ++index) {
            const QString client = folder.filePath(QString::number(index));
            auto process = std::make_unique<QProcess>();
            QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
            environment.insert(QStringLiteral("XDG_CONFIG_HOME"),
                               client + QStringLiteral("/settings"));
            process->setProcessEnvironment(environment);
            process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
            process->start(QCoreApplication::applicationFilePath(),
                           {url + patch.folder, trusted, client});
            processes.push_back(std::move(process));
        }
        for (const auto &process : processes) {
            require(process->waitForReadyRead(-1) && process->readLine() == "ready\n",
                    QStringLiteral("a launcher is not ready"));
        }

        const double before = serverTime(serverPid);
        const Clock::time_point start = Clock::now();
        for (const auto &process : processes) {
            process->write("\n");
            process->waitForBytesWritten(-1);
        }
        int updates = 0;
        double launcherTime = 0;
        for (const auto &process : processes) {
            process->waitForFinished(-1);
            const QList<QByteArray> words = process->readAll().trimmed().split(' ');
            require(process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0 &&
                        words.size() == 2,
                    QStringLiteral("a launcher failed"));
            updates += words[0].toInt();
            launcherTime += words[1].toDouble();
        }
        const double seconds = millisecondsSince(start) / 1000;
        const double serverMs = serverTime(serverPid) - before;
        for (int index = 0; index < launchers; ++index) {
            requireFiles(patch, folder.filePath(QString::number(index)));
        }
        return {launchers, updates / seconds, serverMs / updates, launcherTime / updates};
    }

    static void requireFiles(const Patch &patch, const QString &client)
    {
        for (int index = 0; index < patch.count; ++index) {
            const QFileInfo file(QDir(client).filePath(patchFileName(index)));
            require(file.size() == patch.size, file.filePath() + QStringLiteral(" is wrong"));
        }
    }

    QString url;
    QString trusted;
    QString serverPid;
    QString parent;
};

void printRow(const QString &scheme, const Patch &patch, const Result &result)
{
    const auto text = [](double value, int digits) { return QString::number(value, 'f', digits); };
    const auto dataRate = [&](double value, int digits) {
        return patch.count == 0 ? QStringLiteral("-") : text(value, digits);
    };
    const double updatesPerCore = 1000 / result.serverMs;
    const QStringList cells = {
        patch.name + QStringLiteral(", ") + scheme,
        QString::number(result.launchers),
        text(result.updatesPerSecond, 1),
        dataRate(patch.bytes() * result.updatesPerSecond / 1e6, 0),
        text(result.launcherMs, 2) + QStringLiteral(" ms"),
        text(result.serverMs, 2) + QStringLiteral(" ms"),
        text(updatesPerCore, 0),
        dataRate(patch.bytes() * 8 * updatesPerCore / 1e9, 2),
    };
    std::printf("| %s |\n", qPrintable(cells.join(QStringLiteral(" | "))));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 4) {
        return runLauncher(arguments[1], arguments[2], arguments[3]);
    }
    require(arguments.size() == 5, QStringLiteral("fleet SERVER CERTIFICATE PID FOLDER"));
    const Fleet fleet(arguments[1], arguments[2], arguments[3], arguments[4]);
    const QString scheme = arguments[1].section(QLatin1Char(':'), 0, 0);
    const Patch patches[] = {
        {QStringLiteral("no file"), QStringLiteral("/none/"), 0, 0},
        {QStringLiteral("10 files of 1 MiB"), QStringLiteral("/few/"), 10, 1 << 20},
        {QStringLiteral("2,000 files of 4 KiB"), QStringLiteral("/small/"), 2000, 4096},
    };
    for (const Patch &patch : patches) {
        printRow(scheme, patch, fleet.findBest(patch));
    }
    return EXIT_SUCCESS;
}
