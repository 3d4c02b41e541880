#include "zel-manifest/Console.h"

#include <cstdio>
#include <unistd.h>

namespace
{

constexpr qint64 progressInterval = 100; // milliseconds

void writeToTerminal(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

} // namespace

void Console::note(const QString &text)
{
    if (!quiet) {
        print(text);
    }
}

void Console::warning(const QString &text)
{
    print(QStringLiteral("warning: ") + text);
}

void Console::error(const QString &text)
{
    print(QStringLiteral("error: ") + text);
}

void Console::progress(const QString &activity, const FileAmount &done, const FileAmount &all)
{
    if (quiet || ::isatty(STDERR_FILENO) == 0 ||
        (sinceShown.isValid() && sinceShown.elapsed() < progressInterval)) {
        return;
    }
    sinceShown.start();
    const qint64 percent = all.bytes > 0 ? done.bytes * 100 / all.bytes : 0;
    const QString line =
        QStringLiteral("%1 %2 %, %3 of %4, %5 of %6")
            .arg(activity, QString::number(percent), sizeText(done.bytes), sizeText(all.bytes),
                 QString::number(done.files), filesText(all.files));
    // Clear the rest of the previous line by spaces, which work on every terminal.
    writeToTerminal(QLatin1Char('\r') + line.leftJustified(shownLength));
    shownLength = line.size();
}

void Console::endProgress()
{
    if (shownLength > 0) {
        writeToTerminal(QLatin1Char('\r') + QString(shownLength, QLatin1Char(' ')) +
                        QLatin1Char('\r'));
        shownLength = 0;
    }
    sinceShown.invalidate();
}

void Console::print(const QString &text)
{
    endProgress();
    writeToTerminal(QStringLiteral("zel-manifest: ") + text + QLatin1Char('\n'));
}
