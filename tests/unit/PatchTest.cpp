#include "PatchTest.h"

#include <QDirIterator>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>
#include <QThread>
#include <QTimer>

#include "settings/LauncherSettings.h"
#include "support/Timeouts.h"

namespace
{

/// A folder in memory where the machine has one: each file stored is synced to its disk.
std::unique_ptr<QTemporaryDir> makeRoot()
{
    const QFileInfo memory(QStringLiteral("/dev/shm"));
    const QString parent = memory.isWritable() ? memory.filePath() : QDir::tempPath();
    return std::make_unique<QTemporaryDir>(parent + QStringLiteral("/tst_patch-XXXXXX"));
}

} // namespace

SignalLog::SignalLog(PatchManager *manager)
{
    connect(manager, &PatchManager::statusChanged, this,
            [this](const QString &message) { append(QStringLiteral("status ") + message); });
    connect(manager, &PatchManager::progressChanged, this,
            [this](int percent) { append(QStringLiteral("progress %1").arg(percent)); });
    connect(manager, &PatchManager::finished, this, [this](bool success, const QString &message) {
        append(QStringLiteral("finished %1 %2")
                   .arg(success ? QStringLiteral("true") : QStringLiteral("false"), message));
    });
}

void SignalLog::append(const QString &line)
{
    heard.append(line);
    if (onLine) {
        onLine(line);
    }
}

QStringList SignalLog::linesOnce() const
{
    QStringList once;
    for (const QString &line : heard) {
        if (once.isEmpty() || once.last() != line) {
            once.append(line);
        }
    }
    return once;
}

QStringList SignalLog::linesOf(const QString &word) const
{
    QStringList chosen;
    for (const QString &line : heard) {
        if (line.startsWith(word + u' ')) {
            chosen.append(line);
        }
    }
    return chosen;
}

void PatchTest::initTestCase()
{
    for (const char *name : {"http_proxy", "https_proxy", "all_proxy", "no_proxy"}) {
        qunsetenv(name);
        qunsetenv(QByteArray(name).toUpper().constData());
    }
}

void PatchTest::init()
{
    TestBase::init();
    LauncherSettings &settings = LauncherSettings::instance();
    settings.localVersion = QStringLiteral("1.0.0");
    settings.serverName = QStringLiteral("saved");
    settings.save();
    settings.serverName = QStringLiteral("never saved");

    root = makeRoot();
    QVERIFY(QDir(root->path()).mkdir(QStringLiteral("client")));
    server = std::make_unique<HttpServer>();
    manager = std::make_unique<PatchManager>();
    manager->clientDir = clientPath({});
    manager->baseUrl = server->url();
    log = std::make_unique<SignalLog>(manager.get());
}

void PatchTest::cleanup()
{
    manager.reset();
    log.reset();
    server.reset();
    root.reset();
}

void PatchTest::publish(const QString &version, const QList<Listed> &files)
{
    QJsonArray listed;
    for (const Listed &file : files) {
        QJsonObject entry{{QStringLiteral("path"), file.path}};
        if (file.url) {
            entry.insert(QStringLiteral("url"), *file.url);
        }
        listed.append(entry);
    }
    publishText(QJsonDocument(QJsonObject{{QStringLiteral("version"), version},
                                          {QStringLiteral("files"), listed}})
                    .toJson());
}

void PatchTest::publishText(const QByteArray &body)
{
    server->answer("/manifest.json", HttpAnswer::withLength(body));
}

void PatchTest::publishWhole(const Files &files)
{
    QList<Listed> listed;
    for (auto file = files.begin(); file != files.end(); ++file) {
        listed.append({file.key(), {}});
        server->answer('/' + file.key().toUtf8(), HttpAnswer::withLength(file.value()));
    }
    publish(QStringLiteral("2"), listed);
}

void PatchTest::expectRecovery(const Files &left)
{
    const Files found = Disk::files(clientPath({}));
    QCOMPARE(found.keys(), left.keys());
    QVERIFY2(found == left, "a file is not as it should be");
    QCOMPARE(LauncherSettings::instance().localVersion, QStringLiteral("1.0.0"));
    QCOMPARE(savedVersion(), QStringLiteral("1.0.0"));

    const Files fresh = {{QStringLiteral("a"), "a after the fault"},
                         {QStringLiteral("data/b"), QByteArray(100'000, 'b')}};
    manager->baseUrl = server->url();
    publishWhole(fresh);
    QVERIFY(runToEnd());
    QCOMPARE(log->last(), QStringLiteral("finished true Atualizacao concluida."));
    Files expected = left;
    expected.insert(fresh);
    QCOMPARE(Disk::files(clientPath({})), expected);
    QCOMPARE(savedVersion(), QStringLiteral("2"));
}

bool PatchTest::runToEnd()
{
    log->clear();
    manager->checkAndUpdate();
    return waitForEnds(1) && log->last().startsWith(u"finished ");
}

bool PatchTest::waitForEnds(const std::function<int()> &count)
{
    QTimer patience;
    patience.setSingleShot(true);
    patience.start(Timeouts::replyMs);
    // A run may begin after an end that seemed the last.
    while (log->finishedCount() < count() && patience.isActive()) {
        QEventLoop loop;
        connect(manager.get(), &PatchManager::finished, &loop, &QEventLoop::quit);
        connect(&patience, &QTimer::timeout, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return settle() && log->finishedCount() == count();
}

bool PatchTest::waitForEnds(int count)
{
    return waitForEnds([count] { return count; });
}

bool PatchTest::settle()
{
    // A held answer stays; any other is on its way.
    const bool isQuiet = QTest::qWaitFor(
        [&] { return server->requestsInFlight() == server->heldAnswers(); }, Timeouts::replyMs);
    for (int round = 0; round < 5; ++round) {
        QThread::msleep(1); // for the network thread
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return isQuiet;
}

bool PatchTest::waitForHold()
{
    return QTest::qWaitFor([&] { return server->heldAnswers() == 1; }, Timeouts::replyMs) &&
           settle();
}

QString PatchTest::libraryError(const QUrl &url)
{
    QNetworkAccessManager network;
    QNetworkReply *reply = network.get(QNetworkRequest(url));
    QEventLoop loop;
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(Timeouts::replyMs, &loop, &QEventLoop::quit);
    loop.exec();
    return reply->error() == QNetworkReply::NoError ? QString() : reply->errorString();
}

QString PatchTest::clientPath(const QString &name) const
{
    const QString client = root->filePath(QStringLiteral("client"));
    return name.isEmpty() ? client : QDir(client).filePath(name);
}

QByteArray PatchTest::clientFile(const QString &name) const
{
    QFile file(clientPath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
}

QStringList PatchTest::clientTree() const
{
    const QDir client(clientPath({}));
    QStringList names;
    QDirIterator entries(client.path(), QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        names.append(client.relativeFilePath(entries.next()));
    }
    names.sort();
    return names;
}

QString PatchTest::savedVersion()
{
    const QSettings file(TestEnvironment::settingsFile(), QSettings::IniFormat);
    return file.value(QStringLiteral("patch/localVersion"), QStringLiteral("(none)")).toString();
}

QByteArray PatchTest::settingsBytes()
{
    QFile file(TestEnvironment::settingsFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
}
