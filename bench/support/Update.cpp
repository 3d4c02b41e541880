#include "support/Update.h"

#include "support/Bench.h"

#include <QCoreApplication>

#include "patch/PatchManager.h"

double Bench::runPatchManager(const QString &url, const QString &folder)
{
    PatchManager manager;
    manager.baseUrl = url;
    manager.clientDir = folder;
    QObject::connect(&manager, &PatchManager::finished, &manager,
                     [](bool success, const QString &message) {
                         require(success, message);
                         QCoreApplication::quit();
                     });
    const Clock::time_point start = Clock::now();
    // Queued: the event loop must run before quit().
    QMetaObject::invokeMethod(&manager, &PatchManager::checkAndUpdate, Qt::QueuedConnection);
    QCoreApplication::exec();
    return millisecondsSince(start);
}

QString Bench::patchFileName(int index)
{
    return QStringLiteral("data/%1.bin").arg(index, 4, 10, QLatin1Char('0'));
}
