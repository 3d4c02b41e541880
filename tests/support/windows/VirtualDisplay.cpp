#include "support/windows/VirtualDisplay.h"

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QThread>

#include "support/Timeouts.h"

using namespace Qt::StringLiterals;

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
    // The server chooses a free display number and prints it. Without "-noreset" it would reset,
    // and refuse connections meanwhile, whenever its last client disconnects.
    server.setStandardErrorFile(QProcess::nullDevice());
    server.start(u"Xvfb"_s, {u"-displayfd"_s, u"1"_s, u"-noreset"_s, u"-screen"_s, u"0"_s,
                             u"%1x%2x24"_s.arg(digits(size.width()), digits(size.height())),
                             u"-nolisten"_s, u"tcp"_s});
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
    // xdotool waits long if the mouse is already in place: move it to the next pixel before.
    return !output(u"xdotool"_s, {u"mousemove"_s, u"--window"_s, window, digits(place.x() - 1),
                                  digits(place.y()), u"mousemove"_s, u"--sync"_s, u"--window"_s,
                                  window, digits(place.x()), digits(place.y()), u"click"_s, u"1"_s})
                .isNull();
}

bool VirtualDisplay::focus(const QString &window) const
{
    return !output(u"xdotool"_s, {u"windowfocus"_s, u"--sync"_s, window}).isNull();
}

bool VirtualDisplay::pressKey(const QString &window, const QString &key) const
{
    return focus(window) && !output(u"xdotool"_s, {u"key"_s, u"--clearmodifiers"_s, key}).isNull();
}

bool VirtualDisplay::closeByKey(const QString &window, const QString &key) const
{
    constexpr int secondPressMs = 500;
    const QDeadlineTimer deadline(Timeouts::programMs);
    while (!deadline.hasExpired()) {
        pressKey(window, key);
        const QDeadlineTimer closed(secondPressMs);
        while (!closed.hasExpired()) {
            if (!visibleWindows(u"."_s).contains(window)) {
                return true;
            }
            QThread::msleep(pollMs);
        }
    }
    return false;
}

QImage VirtualDisplay::imageOf(const QString &window) const
{
    return QImage::fromData(output(u"import"_s, {u"-window"_s, window, u"ppm:-"_s}));
}

QStringList VirtualDisplay::visibleWindows(const QString &pattern) const
{
    const QByteArray ids =
        output(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, pattern});
    return QString::fromLatin1(ids).split(u'\n', Qt::SkipEmptyParts);
}

/// The output of a program that exits with 0, else null.
QByteArray VirtualDisplay::output(const QString &program, const QStringList &arguments) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DISPLAY"_s, displayName);
    process.setProcessEnvironment(environment);
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(Timeouts::programMs)) {
        process.kill();
        process.waitForFinished();
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        return {};
    }
    const QByteArray bytes = process.readAllStandardOutput();
    return bytes.isNull() ? QByteArray("") : bytes;
}
