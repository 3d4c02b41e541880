#include "PatchTest.h"

#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QSettings>
#include <QSignalSpy>

#include <algorithm>

#include "settings/LauncherSettings.h"
#include "support/Timeouts.h"

SignalLog::SignalLog(PatchManager *manager)
{
    connect(manager, &PatchManager::statusChanged, this,
            [this](const QString &message) { append(u"status "_s + message); });
    connect(manager, &PatchManager::progressChanged, this,
            [this](int percent) { append(u"progress %1"_s.arg(percent)); });
    connect(manager, &PatchManager::finished, this, [this](bool success, const QString &message) {
        append((success ? u"finished true "_s : u"finished false "_s) + message);
    });
}

void SignalLog::append(const QString &line)
{
    allLines.append(line);
    if (onLine) {
        onLine(line);
    }
}

QStringList SignalLog::linesOnce() const
{
    QStringList once = allLines;
    once.erase(std::unique(once.begin(), once.end()), once.end());
    return once;
}

QStringList SignalLog::linesOf(const QString &word) const
{
    QStringList chosen = allLines;
    chosen.removeIf([&](const QString &line) { return !line.startsWith(word + u' '); });
    return chosen;
}

void PatchTest::init()
{
    TestBase::init();
    LauncherSettings &settings = LauncherSettings::instance();
    settings.localVersion = u"1.0.0"_s;
    settings.serverName = u"saved"_s;
    settings.save();
    settings.serverName = u"never saved"_s;

    root = std::make_unique<QTemporaryDir>(Disk::memoryFolder() + u"/tst_patch-XXXXXX"_s);
    QVERIFY(QDir(root->path()).mkdir(u"client"_s));
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
        QJsonObject entry{{u"path"_s, file.path}};
        if (file.url) {
            entry.insert(u"url"_s, *file.url);
        }
        listed.append(entry);
    }
    const QJsonObject manifest{{u"version"_s, version}, {u"files"_s, listed}};
    publishText(QJsonDocument(manifest).toJson());
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
    publish(u"2"_s, listed);
}

void PatchTest::expectRecovery(const Files &left)
{
    const Files found = Disk::files(clientPath({}));
    QCOMPARE(found.keys(), left.keys());
    QVERIFY2(found == left, "a file has other content");
    QCOMPARE(LauncherSettings::instance().localVersion, u"1.0.0"_s);
    QCOMPARE(savedVersion(), u"1.0.0"_s);

    const Files fresh = {{u"a"_s, "a after the fault"}, {u"data/b"_s, QByteArray(100'000, 'b')}};
    manager->baseUrl = server->url();
    publishWhole(fresh);
    QCOMPARE(runToEnd(), complete());
    Files expected = left;
    expected.insert(fresh);
    QCOMPARE(Disk::files(clientPath({})), expected);
    QCOMPARE(savedVersion(), u"2"_s);
}

QString PatchTest::runToEnd()
{
    log->clear();
    manager->checkAndUpdate();
    const bool endedOnce = waitForEnds(1) && log->last().startsWith(u"finished ");
    return endedOnce ? log->last() : u"(not one end) "_s + log->lines().join(u'\n');
}

bool PatchTest::waitForEnds(int count)
{
    QSignalSpy ends(manager.get(), &PatchManager::finished);
    while (log->finishedCount() < count && ends.wait(Timeouts::replyMs)) {
    }
    return settle() && log->finishedCount() == count;
}

bool PatchTest::settle()
{
    return QTest::qWaitFor(
        [this] {
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            const int held = server->heldAnswers();
            return server->requestsInFlight() == held &&
                   (!manager || manager->findChildren<QNetworkReply *>().size() == held);
        },
        Timeouts::replyMs);
}

bool PatchTest::waitForHold(qint64 received)
{
    return QTest::qWaitFor(
        [&] {
            return server->heldAnswers() == 1 &&
                   (received <= 0 || (reply() != nullptr && reply()->bytesAvailable() == received));
        },
        Timeouts::replyMs);
}

bool PatchTest::startAndHold(qint64 received)
{
    manager->checkAndUpdate();
    return waitForHold(received);
}

QString PatchTest::resumeToEnd()
{
    server->resume();
    return waitForEnds(1) ? log->last() : u"(not one end)"_s;
}

QStringList PatchTest::wholeRun()
{
    return start() + QStringList{u"status Baixando 2 arquivo(s)..."_s,
                                 u"progress 0"_s,
                                 u"status Baixando a (1/2)"_s,
                                 u"progress 50"_s,
                                 u"status Baixando b (2/2)"_s,
                                 u"progress 99"_s,
                                 u"progress 100"_s,
                                 complete()};
}

QString PatchTest::libraryError(const QUrl &url)
{
    QNetworkAccessManager network;
    const QNetworkReply *answer = network.get(QNetworkRequest(url));
    QSignalSpy(answer, &QNetworkReply::finished).wait(Timeouts::replyMs);
    return answer->error() == QNetworkReply::NoError ? QString() : answer->errorString();
}

QString PatchTest::clientPath(const QString &name) const
{
    const QString client = root->filePath(u"client"_s);
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
    return file.value(u"patch/localVersion"_s, u"(none)"_s).toString();
}

QByteArray PatchTest::settingsBytes()
{
    return Disk::read(TestEnvironment::settingsFile());
}
