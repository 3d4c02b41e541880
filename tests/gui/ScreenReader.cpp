#include "gui/ScreenReader.h"

#include <QTest>

#include "gui/RealLauncher.h"
#include "support/Timeouts.h"

using namespace Qt::StringLiterals;

ScreenReader::ScreenReader(RealLauncher &launcher)
    : displayName(launcher.display().name())
{
    bus.setStandardErrorFile(QProcess::nullDevice());
    bus.start(u"dbus-daemon"_s,
              {u"--session"_s, u"--nofork"_s, u"--nopidfile"_s, u"--print-address=1"_s},
              QIODevice::ReadOnly);
    QByteArray text;
    while (!text.endsWith('\n') && bus.waitForReadyRead(Timeouts::programMs)) {
        text += bus.readAllStandardOutput();
    }
    busAddress = QString::fromUtf8(text.trimmed());
    if (busAddress.isEmpty()) {
        qFatal("dbus-daemon does not start");
    }
    launcher.setVariable(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress);
    launcher.setVariable(u"QT_LINUX_ACCESSIBILITY_ALWAYS_ON"_s, u"1"_s);
}

ScreenReader::~ScreenReader()
{
    bus.terminate();
    if (!bus.waitForFinished(Timeouts::programMs)) {
        bus.kill();
        bus.waitForFinished();
    }
}

void ScreenReader::waitForLabel(const QString &pattern) const
{
    read({u"label"_s, pattern});
}

void ScreenReader::waitForFocus(const QString &role, const QString &name) const
{
    read({u"focused"_s, role, name});
}

QStringList ScreenReader::widgetsOf(const QString &title) const
{
    return read({u"widgets"_s, title}).split(u'\n');
}

/// Waits for the reader and returns its output.
QString ScreenReader::read(const QStringList &question) const
{
    if (QTest::currentTestFailed()) {
        return {};
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, busAddress);
    environment.insert(u"DISPLAY"_s, displayName);
    QProcess reader;
    reader.setProcessEnvironment(environment);
    reader.setStandardErrorFile(QProcess::nullDevice());
    reader.start(QStringLiteral(ZEL_SCREEN_READER),
                 question + QStringList{QString::number(Timeouts::programMs / 1000)});
    if (!reader.waitForFinished(2 * Timeouts::programMs) ||
        reader.exitStatus() != QProcess::NormalExit || reader.exitCode() != 0) {
        reader.kill();
        reader.waitForFinished();
        QTest::qFail(qPrintable(u"the window did not show: "_s + question.join(u' ')), __FILE__,
                     __LINE__);
        return {};
    }
    QString answer = QString::fromUtf8(reader.readAllStandardOutput());
    answer.chop(1); // the final line break
    return answer;
}
