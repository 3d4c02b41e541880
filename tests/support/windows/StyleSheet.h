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

    /// Why the text is not valid, such as a property that a rule sets twice; empty if it is valid.
    QString error;
    QList<StyleRule> rules;

    /// The selectors of all rules, in the order of the sheet.
    QStringList selectors() const;
    /// The properties set by the rules whose only selector is @p selector; later rules override
    /// earlier ones.
    QMap<QString, QString> properties(const QString &selector) const;

private:
    void addRule(const QString &selector, const QString &block);
};
