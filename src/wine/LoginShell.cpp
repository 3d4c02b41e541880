#include "wine/LoginShell.h"

namespace
{

constexpr int timeoutMs = 2000;
constexpr qsizetype outputLimit = 16'000'000;

} // namespace

LoginShell::LoginShell()
    : deadline(timeoutMs)
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
    QByteArray output;
    while (!deadline.hasExpired() && process.waitForReadyRead(int(deadline.remainingTime()))) {
        output += process.readAllStandardOutput();
        if (output.size() > 2 * outputLimit) {
            output = output.last(outputLimit);
        }
    }
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    if (process.error() == QProcess::FailedToStart) {
        return {};
    }
    return output + process.readAllStandardOutput();
}
