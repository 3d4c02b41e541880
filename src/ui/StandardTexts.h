#pragma once

#include <QTranslator>

/// The launcher's Portuguese for the texts of Qt's own widgets that its windows can show: the
/// choosers of a file and of a folder, and the context menus of line edits, spin boxes, scroll bars
/// and the texts of message boxes. StandardLook names the buttons of dialogs.
///
/// Translates nothing else; errors of the network, files and processes keep Qt's texts.
class StandardTexts : public QTranslator
{
public:
    using QTranslator::QTranslator;

    /// The Portuguese for @p sourceText in @p context, or a null text. From any thread.
    QString translate(const char *context, const char *sourceText, const char *disambiguation,
                      int n) const override;
    /// Always false.
    bool isEmpty() const override;
};
