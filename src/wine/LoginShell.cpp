#include "wine/LoginShell.h"

#include <algorithm>

namespace
{

constexpr int timeoutMs = 2000;
/// Enough to read what a shell that has ended already left behind.
constexpr qint64 leastWaitMs = 100;
constexpr qsizetype outputLimit = 16'000'000;

} // namespace

LoginShell::LoginShell()
    : end(timeoutMs)
{
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral("bash"),
                  {QStringLiteral("-lc"), QStringLiteral("command -v wine64; command -v wine")});
}

LoginShell::~LoginShell()
{
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished(); // an object destroyed with its child running would complain
    }
}

QByteArray LoginShell::output()
{
    // Read as it comes: waiting for the end alone would never time out, nor stop to gather,
    // while the shell keeps printing.
    const QDeadlineTimer deadline(std::max(end.remainingTime(), leastWaitMs));
    QByteArray output;
    while (!deadline.hasExpired() && process.waitForReadyRead(int(deadline.remainingTime()))) {
        output += process.readAllStandardOutput();
        if (output.size() > 2 * outputLimit) {
            output = output.last(outputLimit);
        }
    }
    if (process.state() != QProcess::NotRunning || process.error() == QProcess::FailedToStart) {
        return {};
    }
    return output + process.readAllStandardOutput();
}
