#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

/// One rule of a style sheet, in a spelling of its own: one blank after each comma, none doubled.
struct StyleRule {
    /// The selectors as the sheet lists them; empty for declarations outside a block.
    QString selector;
    QMap<QString, QString> properties;
};

/// A style sheet read rule by rule, so that tests need not care for its blanks and line breaks.
class StyleSheet
{
public:
    explicit StyleSheet(const QString &text);

    /// What is wrong with the text, a property named twice in a rule included; else empty.
    QString error;
    QList<StyleRule> rules;

    /// The selectors of all rules, in the order of the sheet.
    QStringList selectors() const;
    /// The properties that the rules with just @p selector set, the later rule winning.
    QMap<QString, QString> properties(const QString &selector) const;

private:
    void addRule(const QString &selector, const QString &block);
};
