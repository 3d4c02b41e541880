#include "zel-manifest/Console.h"

#include <QStringDecoder>

#include <cstdio>
#include <unistd.h>

namespace
{

constexpr qint64 progressInterval = 100; // milliseconds

QString hexEscape(char32_t code)
{
    return QStringLiteral("\\x%1").arg(uint(code), 2, 16, QLatin1Char('0'));
}

void appendEscaped(QString *text, QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format: // among them those that turn the direction of writing
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        *text += hexEscape(c.unicode());
        return;
    default:
        if (c == u'\\' || c == u'"') {
            *text += u'\\';
        }
        *text += c;
    }
}

void writeToTerminal(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
    std::fflush(stderr);
}

} // namespace

QString quoted(const QByteArray &name)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    const QString text = decoder(name);
    if (!decoder.hasError()) {
        return quoted(text);
    }
    QString result(u'"');
    for (const char byte : name) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80) {
            appendEscaped(&result, QLatin1Char(byte));
        } else {
            result += hexEscape(code);
        }
    }
    return result + u'"';
}

QString quoted(const QString &name)
{
    QString result(u'"');
    for (const QChar c : name) {
        appendEscaped(&result, c);
    }
    return result + u'"';
}

QString sizeText(qint64 bytes)
{
    constexpr const char *units[] = {"KiB", "MiB", "GiB", "TiB"};
    if (bytes < 1024) {
        return bytes == 1 ? QStringLiteral("1 byte") : QStringLiteral("%1 bytes").arg(bytes);
    }
    double amount = double(bytes) / 1024;
    size_t unit = 0;
    while (amount >= 1024 && unit + 1 < std::size(units)) {
        amount /= 1024;
        ++unit;
    }
    return QStringLiteral("%1 %2").arg(QString::number(amount, 'f', 1), QLatin1String(units[unit]));
}

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

void Console::progress(const QString &activity, qint64 done, qint64 total, const QString &detail)
{
    if (quiet || ::isatty(STDERR_FILENO) == 0 ||
        (sinceShown.isValid() && sinceShown.elapsed() < progressInterval)) {
        return;
    }
    sinceShown.start();
    const qint64 percent = total > 0 ? done * 100 / total : 0;
    const QString line =
        QStringLiteral("%1 %2 %, %3").arg(activity, QString::number(percent), detail);
    // Blanks, not a control sequence: they clear the rest of an older line on every terminal.
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
