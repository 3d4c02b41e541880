#include "support/files/Disk.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>

#include <algorithm>
#include <memory>
#include <vector>

#include "Outcome.h"
#include "patch/PatchManager.h"
#include "support/Timeouts.h"
#include "support/network/NginxServer.h"

using namespace Qt::StringLiterals;

namespace
{

using Files = QMap<QString, QByteArray>;

constexpr int fileCount = 30;
constexpr int baseFileCount = 24;

/// nginx sends the first bytes of an answer, this many, immediately, and the rest a second later.
constexpr int bytesPerSecond = 2000;

/// The content number @p kind of the file number @p index. File 0 is so large that it is sent
/// slowly: an update lasts longer than a publication.
QByteArray content(int index, int kind)
{
    const int size = index == 0 ? bytesPerSecond : 10 * index;
    return QByteArray(size, char('a' + index)) + QByteArray::number(kind);
}

QString fileName(int index)
{
    return u"data %1/%2.pak"_s.arg(index % 3).arg(index);
}

void writeAll(const QString &folder, const Files &files)
{
    QDir(folder).removeRecursively();
    Disk::makeFolder(folder);
    for (auto file = files.begin(); file != files.end(); ++file) {
        Disk::write(QDir(folder).filePath(file.key()), file.value());
    }
}

/// A player with a launcher.
struct Player {
    PatchManager launcher;
    bool isUpdating = false;
    int publicationAtStart = 0;
    int nextPublication = 0; ///< The next update begins after this many publications.
    QStringList results;
};

} // namespace

/// Launchers update from a real nginx again and again while zel-publish runs. With ZEL_TEST_FULL in
/// the environment there are more launchers and more publications.
class TestZelPublish : public TestBase
{
    Q_OBJECT

private slots:
    void initTestCase();
    void playersAlwaysGetAWholeRelease();

private:
    Files randomRelease();
    void publish(const QStringList &arguments);
    void update(Player *player);
    void finishUpdates();

    QTemporaryDir dir{Disk::memoryFolder() + u"/zel-publish-XXXXXX"_s};
    NginxServer nginx;
    QRandomGenerator random{QRandomGenerator::global()->generate()};
    std::vector<std::unique_ptr<Player>> players;
    int publications = 0;
    int updates = 0;
    int overtaken = 0; ///< Updates during which another manifest was published.
};

void TestZelPublish::initTestCase()
{
    if (NginxServer::program().isEmpty()) {
        QSKIP("nginx is not installed");
    }
    qputenv("PATH",
            QFileInfo(QStringLiteral(ZEL_MANIFEST)).path().toLocal8Bit() + ':' + qgetenv("PATH"));
}

/// Each file has one of three contents, one of which is that of the base, or is missing: files
/// change, change back, disappear and return.
Files TestZelPublish::randomRelease()
{
    Files files;
    for (int index = 0; index < fileCount; ++index) {
        if (const int kind = random.bounded(4); kind < 3) {
            files.insert(fileName(index), content(index, kind));
        }
    }
    return files;
}

/// Runs zel-publish to its end, while the players update.
void TestZelPublish::publish(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(ZEL_PUBLISH),
                  QStringList{u"--root"_s, dir.filePath(u"root"_s)} + arguments);
    const bool hasEnded = QTest::qWaitFor(
        [&] {
            for (const auto &player : players) {
                if (!player->isUpdating && player->nextPublication <= publications) {
                    update(player.get());
                }
            }
            return process.state() == QProcess::NotRunning;
        },
        Timeouts::programMs);
    QVERIFY(hasEnded);
    QVERIFY2(process.exitCode() == 0, process.readAll().constData());
    ++publications;
}

void TestZelPublish::update(Player *player)
{
    player->isUpdating = true;
    player->publicationAtStart = publications;
    player->launcher.checkAndUpdate();
}

void TestZelPublish::finishUpdates()
{
    QTRY_VERIFY_WITH_TIMEOUT(std::none_of(players.begin(), players.end(),
                                          [](const auto &player) { return player->isUpdating; }),
                             Timeouts::programMs);
}

void TestZelPublish::playersAlwaysGetAWholeRelease()
{
    const bool isFull = qEnvironmentVariableIsSet("ZEL_TEST_FULL");
    const int playerCount = isFull ? 50 : 20;
    int releasesLeft = isFull ? 20 : 6;
    int rollbacksLeft = isFull ? 10 : 3;

    Files base;
    for (int index = 0; index < baseFileCount; ++index) {
        base.insert(fileName(index), content(index, 0));
    }
    writeAll(dir.filePath(u"base"_s), base);
    Disk::makeFolder(dir.filePath(u"root"_s));
    nginx.setRate(bytesPerSecond);
    QString error;
    QVERIFY2(nginx.start(dir.filePath(u"root"_s), &error), qPrintable(error));

    QList<Files> releases;
    QList<int> history; // the current release and those that a rollback leads to, as indexes
    while (releasesLeft + rollbacksLeft > 0) {
        const bool isRollback =
            history.size() > 1 && random.bounded(releasesLeft + rollbacksLeft) < rollbacksLeft;
        if (isRollback) {
            --rollbacksLeft;
            publish({u"--rollback"_s});
            history.removeLast();
        } else {
            --releasesLeft;
            history.append(int(releases.size()));
            releases.append(randomRelease());
            writeAll(dir.filePath(u"client"_s), releases.constLast());
            publish({u"--version"_s, u"1.%1"_s.arg(releases.size()), u"--base"_s,
                     dir.filePath(u"base"_s), u"--keep"_s, u"1"_s, dir.filePath(u"client"_s)});
        }
        if (QTest::currentTestFailed()) {
            return;
        }
        while (int(players.size()) < playerCount) {
            players.push_back(std::make_unique<Player>());
            Player *player = players.back().get();
            player->launcher.clientDir = dir.filePath(u"player %1"_s.arg(players.size()));
            player->launcher.baseUrl = nginx.url();
            writeAll(player->launcher.clientDir, base);
            connect(&player->launcher, &PatchManager::finished, this,
                    [this, player](bool, const QString &message) {
                        player->isUpdating = false;
                        player->nextPublication = publications + random.bounded(3);
                        player->results.append(message);
                        ++updates;
                        overtaken += player->publicationAtStart < publications ? 1 : 0;
                    });
        }
    }
    finishUpdates();
    QVERIFY(overtaken > 0);
    for (const auto &player : players) {
        update(player.get());
    }
    finishUpdates();

    Files expected = base; // for files that the current release does not have
    expected.insert(releases.at(history.constLast()));
    for (const auto &player : players) {
        player->results.removeDuplicates();
        QCOMPARE(player->results, QStringList{u"Atualizacao concluida."_s});
        const Files files = Disk::files(player->launcher.clientDir);
        for (auto file = expected.cbegin(); file != expected.cend(); ++file) {
            QVERIFY2(files.value(file.key()) == file.value(), qPrintable(file.key()));
        }
    }
    qInfo("%d publications, %d updates, of which %d were overtaken", publications, updates,
          overtaken);
}

ZEL_TEST_MAIN(TestZelPublish)

#include "tst_zelpublish.moc"
