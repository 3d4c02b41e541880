#include "support/windows/StyleSheet.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace
{

/// @p text without comments, line breaks and redundant white space.
QString tidied(QString text)
{
    static const QRegularExpression comment(uR"(/\*.*?\*/)"_s,
                                            QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression comma(uR"(\s*,\s*)"_s);
    static const QRegularExpression bracket(uR"((?<=\()\s+|\s+(?=\)))"_s);
    return text.remove(comment).simplified().replace(comma, u", "_s).remove(bracket);
}

} // namespace

StyleSheet::StyleSheet(const QString &text)
{
    const QString sheet = tidied(text);
    if (!sheet.contains(u'{')) {
        addRule(QString(), sheet);
        return;
    }
    qsizetype position = 0;
    while (position < sheet.size()) {
        const qsizetype open = sheet.indexOf(u'{', position);
        const qsizetype close = sheet.indexOf(u'}', position);
        if (open < 0 || close < open) {
            error = u"no block after: "_s + sheet.mid(position);
            return;
        }
        const QString selector = sheet.mid(position, open - position).trimmed();
        const QString block = sheet.mid(open + 1, close - open - 1);
        if (selector.isEmpty() || block.contains(u'{')) {
            error = u"no rule: "_s + sheet.mid(position, close + 1 - position);
            return;
        }
        addRule(selector, block);
        position = close + 1;
    }
}

QStringList StyleSheet::selectors() const
{
    QStringList selectors;
    for (const StyleRule &rule : rules) {
        selectors.append(rule.selector);
    }
    return selectors;
}

QMap<QString, QString> StyleSheet::properties(const QString &selector) const
{
    QMap<QString, QString> properties;
    for (const StyleRule &rule : rules) {
        if (rule.selector == selector) {
            properties.insert(rule.properties);
        }
    }
    return properties;
}

void StyleSheet::addRule(const QString &selector, const QString &block)
{
    StyleRule rule{selector, {}};
    for (const QString &declaration : block.split(u';')) {
        if (declaration.trimmed().isEmpty()) {
            continue;
        }
        const QString name = declaration.section(u':', 0, 0).trimmed();
        const QString value = declaration.section(u':', 1).trimmed();
        if (name.isEmpty() || value.isEmpty() || rule.properties.contains(name)) {
            error = u"bad declaration in %1: %2"_s.arg(selector, declaration);
        }
        rule.properties.insert(name, value);
    }
    rules.append(rule);
}
