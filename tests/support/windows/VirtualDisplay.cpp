#include "support/windows/VirtualDisplay.h"

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QThread>

#include "support/Timeouts.h"

namespace
{

constexpr int pollMs = 20;

QString digits(int number)
{
    return QString::number(number);
}

} // namespace

VirtualDisplay::VirtualDisplay(QSize size)
{
    // The server takes a free number and tells it on its standard output. Without "-noreset" it
    // would begin anew, and turn clients away meanwhile, whenever its last client goes.
    server.setStandardErrorFile(QProcess::nullDevice());
    server.start(QStringLiteral("Xvfb"),
                 {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-noreset"),
                  QStringLiteral("-screen"), QStringLiteral("0"),
                  QStringLiteral("%1x%2x24").arg(digits(size.width()), digits(size.height())),
                  QStringLiteral("-nolisten"), QStringLiteral("tcp")});
    QByteArray number;
    while (!number.endsWith('\n') && server.waitForReadyRead(Timeouts::programMs)) {
        number += server.readAll();
    }
    if (number.endsWith('\n')) {
        displayName = u':' + QString::fromLatin1(number.trimmed());
    }
}

VirtualDisplay::~VirtualDisplay()
{
    server.terminate();
    if (!server.waitForFinished(Timeouts::programMs)) {
        server.kill();
        server.waitForFinished();
    }
}

QString VirtualDisplay::waitForWindow(const QString &title, const QStringList &known) const
{
    const QString pattern = u'^' + QRegularExpression::escape(title) + u'$';
    const QDeadlineTimer deadline(Timeouts::programMs);
    while (!deadline.hasExpired()) {
        const QStringList windows = visibleWindows(pattern);
        for (const QString &window : windows) {
            if (!known.contains(window)) {
                return window;
            }
        }
        QThread::msleep(pollMs);
    }
    return {};
}

bool VirtualDisplay::click(const QString &window, QPoint place) const
{
    // From the pixel beside it: the wait for a mouse that is there already would be a long one.
    return !output(QStringLiteral("xdotool"),
                   {QStringLiteral("mousemove"), QStringLiteral("--window"), window,
                    digits(place.x() - 1), digits(place.y()), QStringLiteral("mousemove"),
                    QStringLiteral("--sync"), QStringLiteral("--window"), window, digits(place.x()),
                    digits(place.y()), QStringLiteral("click"), QStringLiteral("1")})
                .isNull();
}

bool VirtualDisplay::focus(const QString &window) const
{
    return !output(QStringLiteral("xdotool"),
                   {QStringLiteral("windowfocus"), QStringLiteral("--sync"), window})
                .isNull();
}

bool VirtualDisplay::pressKey(const QString &window, const QString &key) const
{
    return !output(QStringLiteral("xdotool"),
                   {QStringLiteral("windowfocus"), QStringLiteral("--sync"), window,
                    QStringLiteral("key"), QStringLiteral("--clearmodifiers"), key})
                .isNull();
}

bool VirtualDisplay::closeByKey(const QString &window, const QString &key) const
{
    constexpr int secondPressMs = 500;
    const QDeadlineTimer deadline(Timeouts::programMs);
    while (!deadline.hasExpired()) {
        pressKey(window, key);
        const QDeadlineTimer closed(secondPressMs);
        while (!closed.hasExpired()) {
            if (!visibleWindows(QStringLiteral(".")).contains(window)) {
                return true;
            }
            QThread::msleep(pollMs);
        }
    }
    return false;
}

QColor VirtualDisplay::colorAt(const QString &window, QPoint place) const
{
    const QString pixel =
        output(QStringLiteral("import"),
               {QStringLiteral("-window"), window, QStringLiteral("-crop"),
                QStringLiteral("1x1+%1+%2").arg(digits(place.x()), digits(place.y())),
                QStringLiteral("-depth"), QStringLiteral("8"), QStringLiteral("txt:-")});
    static const QRegularExpression hex(QStringLiteral("#[0-9A-Fa-f]{6}"));
    return QColor(hex.match(pixel).captured());
}

QImage VirtualDisplay::imageOf(const QString &window) const
{
    return QImage::fromData(rawOutput(
        QStringLiteral("import"), {QStringLiteral("-window"), window, QStringLiteral("ppm:-")}));
}

QStringList VirtualDisplay::visibleWindows(const QString &pattern) const
{
    return output(QStringLiteral("xdotool"),
                  {QStringLiteral("search"), QStringLiteral("--onlyvisible"),
                   QStringLiteral("--name"), pattern})
        .split(u'\n', Qt::SkipEmptyParts);
}

/// What a program prints when it ends well, else null.
QByteArray VirtualDisplay::rawOutput(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), displayName);
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(Timeouts::programMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return {};
    }
    const QByteArray bytes = process.readAllStandardOutput();
    return bytes.isNull() ? QByteArray("") : bytes;
}

/// The same as one trimmed text.
QString VirtualDisplay::output(const QString &program, const QStringList &arguments) const
{
    const QByteArray bytes = rawOutput(program, arguments);
    if (bytes.isNull()) {
        return {};
    }
    const QString text = QString::fromUtf8(bytes).trimmed();
    return text.isNull() ? QLatin1String("") : text;
}
