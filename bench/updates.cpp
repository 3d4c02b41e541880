// Updates from a web server, compared with a bare loop over the same list.
//
//   updates SERVER FOLDER
//
// SERVER publishes small/ (2,000 files of 4 KiB), large/ (one file of 512 MiB) and many/ (a
// manifest of 100,000 entries); FOLDER is where the files are stored.

#include "support/Bench.h"
#include "support/Update.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QProcess>
#include <QRegularExpression>
#include <QSaveFile>
#include <QTemporaryDir>
#include <QUrl>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "patch/PatchManager.h"

using namespace Bench;

namespace
{

constexpr double ratioLimit = 1.05;
constexpr int smallCount = 2000;
constexpr double largeMiB = 512;
constexpr double memoryLimitMiB = 1.1 * largeMiB + 40;
constexpr double manifestLimitMs = 1000;

/// The floor: a loop that fetches files one by one and stores each atomically.
class BareLoop : public QObject
{
public:
    BareLoop(QString baseUrl, const QString &folder, int fileCount)
        : url(std::move(baseUrl))
        , target(folder)
        , count(fileCount)
    {
    }

    void next()
    {
        if (index == count) {
            QCoreApplication::quit();
            return;
        }
        QNetworkReply *reply = network.get(QNetworkRequest(QUrl(url + patchFileName(index))));
        connect(reply, &QNetworkReply::finished, this, [this, reply] {
            require(reply->error() == QNetworkReply::NoError, reply->errorString());
            const QByteArray body = reply->readAll();
            reply->deleteLater();
            QSaveFile file(target.filePath(patchFileName(index)));
            require(file.open(QIODevice::WriteOnly) && file.write(body) == body.size() &&
                        file.commit(),
                    file.errorString());
            ++index;
            next();
        });
    }

private:
    QNetworkAccessManager network;
    QString url;
    QDir target;
    int count;
    int index = 0;
};

double runBareLoop(const QString &url, const QString &folder, int count)
{
    BareLoop loop(url, folder, count);
    const Clock::time_point start = Clock::now();
    loop.next();
    QCoreApplication::exec();
    return millisecondsSince(start);
}

/// The time from the end of the manifest's reply to the request for the first file.
double runManifest(const QString &url, const QString &folder)
{
    PatchManager manager;
    manager.baseUrl = url;
    manager.clientDir = folder;
    auto *network = manager.findChild<QNetworkAccessManager *>();
    Clock::time_point start;
    double elapsed = 0;
    QObject::connect(
        network, &QNetworkAccessManager::finished, &manager,
        [&] {
            start = Clock::now();
            // The manager sends the first request before it returns to the event loop.
            QMetaObject::invokeMethod(
                &manager,
                [&] {
                    for (QNetworkReply *reply : network->findChildren<QNetworkReply *>()) {
                        QObject::connect(reply, &QNetworkReply::requestSent, &manager, [&] {
                            elapsed = millisecondsSince(start);
                            QCoreApplication::quit();
                        });
                    }
                },
                Qt::QueuedConnection);
        },
        Qt::SingleShotConnection);
    manager.checkAndUpdate();
    QCoreApplication::exec();
    return elapsed;
}

/// Parses the manifest and does nothing else.
double runJson(const QString &url)
{
    QNetworkAccessManager network;
    QNetworkReply *reply =
        network.get(QNetworkRequest(QUrl(url + QStringLiteral("manifest.json"))));
    QObject::connect(reply, &QNetworkReply::finished, &network, &QCoreApplication::quit);
    QCoreApplication::exec();
    const Clock::time_point start = Clock::now();
    const bool isObject = QJsonDocument::fromJson(reply->readAll()).isObject();
    const double elapsed = millisecondsSince(start);
    require(isObject, QStringLiteral("the manifest is no JSON object"));
    delete reply;
    return elapsed;
}

/// Peak memory of this process, in MiB.
double peakMemoryMiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    require(status.open(QIODevice::ReadOnly), status.errorString());
    static const QRegularExpression line(QStringLiteral("VmHWM:\\s*(\\d+) kB"));
    return line.match(QString::fromLatin1(status.readAll())).captured(1).toDouble() / 1024;
}

/// One measurement in its own process.
struct Run {
    double milliseconds = 0;
    double memoryMiB = 0;
};

/// Runs this program for one measurement in a new folder.
Run runInProcess(const QString &what, const QString &url, const QString &parent, int count)
{
    const QTemporaryDir folder(parent + QStringLiteral("/updates"));
    require(QDir(folder.path()).mkpath(QStringLiteral("data")), QStringLiteral("no folder"));
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(),
                  {what, url, folder.path(), QString::number(count)});
    process.waitForFinished(-1);
    const QList<QByteArray> words = process.readAllStandardOutput().trimmed().split(' ');
    require(process.exitCode() == 0 && words.size() == 2, what + QStringLiteral(" failed"));
    for (int index = 0; count > 1 && index < count; ++index) {
        require(QFile::exists(folder.filePath(patchFileName(index))),
                patchFileName(index) + QStringLiteral(" is missing"));
    }
    return {words[0].toDouble(), words[1].toDouble()};
}

int runOne(const QString &what, const QString &url, const QString &folder, int count)
{
    double elapsed = 0;
    if (what == u"patchmanager") {
        elapsed = runPatchManager(url, folder);
    } else if (what == u"bare") {
        elapsed = runBareLoop(url, folder, count);
    } else if (what == u"manifest") {
        elapsed = runManifest(url, folder);
    } else {
        elapsed = runJson(url);
    }
    std::printf("%f %f\n", elapsed, peakMemoryMiB());
    return EXIT_SUCCESS;
}

/// curl over one connection, then fsync and rename of each file.
double runCurl(const QString &url, const QString &parent)
{
    const QTemporaryDir folder(parent + QStringLiteral("/updates"));
    const QDir target(folder.path());
    target.mkpath(QStringLiteral("data"));
    QFile list(target.filePath(QStringLiteral("list")));
    require(list.open(QIODevice::WriteOnly), list.errorString());
    for (int index = 0; index < smallCount; ++index) {
        const QString name = patchFileName(index);
        list.write(QStringLiteral("url=\"%1\"\noutput=\"%2.part\"\n")
                       .arg(url + name, target.filePath(name))
                       .toUtf8());
    }
    list.close();

    const Clock::time_point start = Clock::now();
    const int status = QProcess::execute(QStringLiteral("curl"),
                                         {QStringLiteral("--silent"), QStringLiteral("--fail"),
                                          QStringLiteral("--config"), list.fileName()});
    require(status == 0, QStringLiteral("curl failed"));
    for (int index = 0; index < smallCount; ++index) {
        const QByteArray name = QFile::encodeName(target.filePath(patchFileName(index)));
        const QByteArray part = name + ".part";
        const int file = ::open(part.constData(), O_RDWR | O_CLOEXEC);
        const bool isSafe = file >= 0 && ::fsync(file) == 0 && ::close(file) == 0 &&
                            ::rename(part.constData(), name.constData()) == 0;
        require(isSafe, QStringLiteral("no ") + QFile::decodeName(name));
    }
    return millisecondsSince(start);
}

void measureSmallFiles(const QString &server, const QString &folder)
{
    const QString url = server + QStringLiteral("/small/");
    const auto patch = [&] {
        return runInProcess(QStringLiteral("patchmanager"), url, folder, smallCount).milliseconds;
    };
    const Medians time = alternate(
        21,
        [&] { return runInProcess(QStringLiteral("bare"), url, folder, smallCount).milliseconds; },
        patch);
    printRow(QStringLiteral("Update of 2,000 files of 4 KiB"),
             QStringLiteral("bare loop, ") + milliseconds(time.floor), milliseconds(time.measured),
             ratio(time.ratio()), ratio(ratioLimit), time.ratio() <= ratioLimit);

    const Medians curl = alternate(
        5, [&] { return runCurl(url, folder); }, patch);
    printRow(QStringLiteral("the same"),
             QStringLiteral("curl, fsync and rename, ") + milliseconds(curl.floor),
             milliseconds(curl.measured), ratio(curl.ratio()));
}

void measureLargeFile(const QString &server, const QString &folder)
{
    const QString url = server + QStringLiteral("/large/");
    std::vector<double> memory;
    const Medians time = alternate(
        7, [&] { return runInProcess(QStringLiteral("bare"), url, folder, 1).milliseconds; },
        [&] {
            const Run run = runInProcess(QStringLiteral("patchmanager"), url, folder, 1);
            memory.push_back(run.memoryMiB);
            return run.milliseconds;
        });
    printRow(QStringLiteral("Update of one file of 512 MiB"),
             QStringLiteral("bare loop, ") + milliseconds(time.floor), milliseconds(time.measured),
             ratio(time.ratio()), ratio(ratioLimit), time.ratio() <= ratioLimit);
    const double most = *std::max_element(memory.begin(), memory.end());
    const auto mebibytes = [](double value) {
        return QStringLiteral("%1 MiB").arg(value, 0, 'f', 1);
    };
    printRow(QStringLiteral("Its peak memory"), QStringLiteral("the file, 512 MiB"),
             mebibytes(most), ratio(most / largeMiB), mebibytes(memoryLimitMiB),
             most <= memoryLimitMiB);
}

void measureManifest(const QString &server, const QString &folder)
{
    const QString url = server + QStringLiteral("/many/");
    const Medians time = alternate(
        11, [&] { return runInProcess(QStringLiteral("json"), url, folder, 0).milliseconds; },
        [&] { return runInProcess(QStringLiteral("manifest"), url, folder, 0).milliseconds; });
    printRow(QStringLiteral("Manifest of 100,000 entries: from its last byte to the first request"),
             QStringLiteral("parsing the JSON, ") + milliseconds(time.floor),
             milliseconds(time.measured), ratio(time.ratio()), milliseconds(manifestLimitMs),
             time.measured <= manifestLimitMs);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication app(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() == 5) {
        return runOne(arguments[1], arguments[2], arguments[3], arguments[4].toInt());
    }
    require(arguments.size() == 3, QStringLiteral("updates SERVER FOLDER"));
    measureSmallFiles(arguments[1], arguments[2]);
    measureLargeFile(arguments[1], arguments[2]);
    measureManifest(arguments[1], arguments[2]);
    return exitStatus();
}
