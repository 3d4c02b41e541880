#include "zel-doctor/DesktopChecks.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QScreen>
#include <QSysInfo>

namespace
{

/// The launcher's window, in device-independent pixels.
constexpr QSize windowSize(960, 724);

QString sizeTextOf(QSize size)
{
    return QStringLiteral("%1 x %2").arg(size.width()).arg(size.height());
}

Result screenResult()
{
    const QString subject = QStringLiteral("tela");
    const QScreen *const screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return Result::error(subject, QStringLiteral("nenhuma tela foi encontrada."),
                             QStringLiteral("Conecte um monitor."));
    }
    const QString text = QStringLiteral("%1, %2, escala %3")
                             .arg(QGuiApplication::platformName(), sizeTextOf(screen->size()),
                                  QString::number(screen->devicePixelRatio()).replace(u'.', u','));
    const QSize room = screen->availableSize();
    if (room.width() < windowSize.width() || room.height() < windowSize.height()) {
        return Result::warning(subject,
                               QStringLiteral("%1; a janela do launcher precisa de %2.")
                                   .arg(text, sizeTextOf(windowSize)),
                               QStringLiteral("Escolha uma resolucao maior ou uma escala menor."));
    }
    return Result::ok(subject, text + u'.');
}

Result fontResult()
{
    const QString subject = QStringLiteral("fontes");
    const QStringList families = QFontDatabase::families();
    QStringList missing;
    for (const QString &family : {QStringLiteral("Inter"), QStringLiteral("JetBrains Mono")}) {
        if (!families.contains(family, Qt::CaseInsensitive)) {
            missing.append(family);
        }
    }
    if (missing.isEmpty()) {
        return Result::ok(subject, QStringLiteral("Inter e JetBrains Mono."));
    }
    return Result::warning(
        subject,
        QStringLiteral("sem %1; o launcher usa outra fonte.")
            .arg(missing.join(QLatin1String(" e "))),
        QStringLiteral("Debian e Ubuntu: sudo apt install fonts-inter fonts-jetbrains-mono"));
}

} // namespace

Results DesktopChecks::display()
{
    return {screenResult(), fontResult()};
}

QStringList DesktopChecks::graphicsDrivers(const QString &sys)
{
    QStringList drivers;
    const QDir cards(sys + QStringLiteral("/class/drm"));
    const QStringList names = cards.entryList({QStringLiteral("card*")}, QDir::Dirs);
    for (const QString &name : names) {
        const QFileInfo driver(cards.filePath(name + QStringLiteral("/device/driver")));
        if (!driver.exists()) {
            continue; // a connector of a card
        }
        QString text = QFileInfo(driver.canonicalFilePath()).fileName();
        QFile version(QStringLiteral("%1/module/%2/version").arg(sys, text));
        if (version.open(QIODevice::ReadOnly)) {
            text += u' ' + QString::fromUtf8(version.readLine()).trimmed();
        }
        drivers.append(text);
    }
    drivers.removeDuplicates();
    return drivers;
}

Results DesktopChecks::versions()
{
    const QStringList drivers = graphicsDrivers(QStringLiteral("/sys"));
    return {Result::ok(QStringLiteral("versoes"),
                       QStringLiteral("launcher %1; Qt %2; %3; Linux %4; driver grafico: %5.")
                           .arg(QStringLiteral(ZEL_VERSION), QLatin1String(qVersion()),
                                QSysInfo::prettyProductName(), QSysInfo::kernelVersion(),
                                drivers.isEmpty() ? QStringLiteral("desconhecido")
                                                  : drivers.join(QStringLiteral(", "))))};
}
