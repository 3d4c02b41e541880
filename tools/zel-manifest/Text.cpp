#include "zel-manifest/Text.h"

#include <QList>
#include <QStringDecoder>

namespace
{

QString hexEscape(char32_t code)
{
    return QStringLiteral("\\x%1").arg(uint(code), 2, 16, QLatin1Char('0'));
}

void appendEscaped(QString *text, QChar c)
{
    switch (c.category()) {
    case QChar::Other_Control:
    case QChar::Other_Format: // includes bidirectional overrides
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

} // namespace

std::optional<QString> textOf(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return text;
}

QString quoted(const QByteArray &name)
{
    if (const std::optional<QString> text = textOf(name)) {
        return quoted(*text);
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

QString withoutCase(const QString &text)
{
    QString result;
    const QList<uint> characters = text.toUcs4();
    for (const char32_t character : characters) {
        result += QChar::fromUcs4(QChar::toCaseFolded(character));
    }
    return result;
}

QByteArrayList pathsTo(const QByteArray &path)
{
    QByteArrayList paths;
    for (qsizetype end = path.indexOf('/'); end >= 0; end = path.indexOf('/', end + 1)) {
        paths.append(path.first(end));
    }
    paths.append(path);
    return paths;
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

QString filesText(qsizetype count)
{
    return count == 1 ? QStringLiteral("1 file") : QStringLiteral("%1 files").arg(count);
}
