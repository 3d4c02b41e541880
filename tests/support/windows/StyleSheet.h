#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

/// One rule of a style sheet with normalised white space.
struct StyleRule {
    /// The selectors as the sheet lists them; empty for declarations outside a block.
    QString selector;
    QMap<QString, QString> properties;
};

/// A parsed style sheet, so that tests do not depend on its white space.
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
