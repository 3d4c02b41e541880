#pragma once

#include <QTranslator>

/// Portuguese translations of Qt's own texts that the launcher can show: the file dialog, and the
/// context menus of line edits, spin boxes, scroll bars and message texts. The texts of standard
/// buttons are set by StandardLook.
///
/// Translates nothing else; network, file and process errors keep Qt's texts.
class StandardTexts : public QTranslator
{
public:
    using QTranslator::QTranslator;

    /// The translation of @p sourceText in @p context, or a null string. Thread-safe.
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override;
    /// Always false.
    bool isEmpty() const override;
};
