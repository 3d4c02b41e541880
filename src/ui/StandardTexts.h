#pragma once

#include <QTranslator>

/// The texts that Qt's own widgets bring along, in the launcher's Portuguese: the buttons of
/// message and dialog boxes, the file chooser, and the context menus of text fields, spin boxes
/// and scroll bars.
///
/// Every other text stays as it is, the errors of the network, files and processes included.
class StandardTexts : public QTranslator
{
public:
    using QTranslator::QTranslator;

    /// The Portuguese for @p sourceText in @p context, or a null text. From any thread.
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override;
    /// False: there is always something to translate.
    bool isEmpty() const override;
};
