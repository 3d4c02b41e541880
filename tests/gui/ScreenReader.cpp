#include "gui/ScreenReader.h"

#include <QTest>

#include "gui/RealLauncher.h"
#include "support/Timeouts.h"

ScreenReader::ScreenReader(RealLauncher &launcher)
    : displayName(launcher.display().name())
{
    bus.setStandardErrorFile(QProcess::nullDevice());
    bus.start(QStringLiteral("dbus-daemon"),
              {QStringLiteral("--session"), QStringLiteral("--nofork"),
               QStringLiteral("--nopidfile"), QStringLiteral("--print-address=1")},
              QIODevice::ReadOnly);
    QByteArray text;
    while (!text.endsWith('\n') && bus.waitForReadyRead(Timeouts::programMs)) {
        text += bus.readAllStandardOutput();
    }
    busAddress = QString::fromUtf8(text.trimmed());
    launcher.setVariable(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
    launcher.setVariable(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
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
    read({QStringLiteral("label"), pattern});
}

void ScreenReader::waitForFocus(const QString &role, const QString &name) const
{
    read({QStringLiteral("focused"), role, name});
}

QStringList ScreenReader::widgetsOf(const QString &title) const
{
    return read({QStringLiteral("widgets"), title}).split(u'\n');
}

/// The reader's answer, for which it waits.
QString ScreenReader::read(const QStringList &question) const
{
    if (QTest::currentTestFailed()) {
        return {};
    }
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
    environment.insert(QStringLiteral("DISPLAY"), displayName);
    QProcess reader;
    reader.setProcessEnvironment(environment);
    reader.setStandardErrorFile(QProcess::nullDevice());
    reader.start(QStringLiteral(ZEL_SCREEN_READER),
                 question + QStringList{QString::number(Timeouts::programMs / 1000)});
    if (!reader.waitForFinished(2 * Timeouts::programMs) ||
        reader.exitStatus() != QProcess::NormalExit || reader.exitCode() != 0) {
        reader.kill();
        reader.waitForFinished();
        const QString story = QStringLiteral("the window never told: ") + question.join(u' ');
        QTest::qFail(qPrintable(story), __FILE__, __LINE__);
        return {};
    }
    QString answer = QString::fromUtf8(reader.readAllStandardOutput());
    answer.chop(1); // the last line's end
    return answer;
}
