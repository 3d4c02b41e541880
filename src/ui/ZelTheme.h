#pragma once

#include <QString>

class QApplication;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QTextEdit;

/// The launcher's look: the widget style, the font and one global style sheet per mode, the names
/// that bind input widgets to rules of that sheet, and ready-made sheets for buttons and panels.
///
/// Nothing is cached: each sheet is built anew.
namespace ZelTheme
{

enum class Mode { Dark = 0, Light = 1 };

/// The looks of an input widget.
enum class InputStyle { Default = 0, Search = 1, Path = 2, Header = 3 };

// ZelTheme::Light is short for ZelTheme::Mode::Light, and so on.
using enum Mode;
using enum InputStyle;

/// The stored mode: Light when the store says "light" in just that spelling, else Dark.
///
/// The store is one of the theme's own, not the launcher's settings file.
Mode loadPreferredMode();
/// Stores @p mode for loadPreferredMode(); a mode shown already stays until apply().
void savePreferredMode(Mode mode);

/// Gives @p app the style, the font and the global style sheet of @p mode. Sets no palette: the
/// colours come from the style sheet alone.
void apply(QApplication &app, Mode mode);
/// The style sheet that apply() sets.
QString globalStyleSheet(Mode mode);

/// Names @p edit for the rules of @p style; a path also gets a clear button. A style that is none
/// of the four is Default. Does nothing without @p edit.
void styleLineEdit(QLineEdit *edit, InputStyle style = InputStyle::Default);
/// Names @p box for the rules of an input. Does nothing without @p box.
void styleSpinBox(QSpinBox *box);
/// Names @p box for the rules of an input; its frame stays. Does nothing without @p box.
void styleComboBox(QComboBox *box);
/// Names @p edit for the rules of a text area. Does nothing without @p edit.
void styleTextArea(QTextEdit *edit);

/// For a QPushButton that is an entry of a side bar.
QString sidebarButtonStyle(bool active, Mode mode);
/// For the main QPushButton of a view.
QString primaryButtonStyle(Mode mode);
/// For a QPushButton beside the primary one.
QString secondaryButtonStyle(Mode mode);
/// For a QPushButton that destroys something.
QString dangerButtonStyle(Mode mode);
/// For a panel named "Card".
QString cardStyle(Mode mode);
/// For a QTextEdit that shows a log, the same in both modes.
QString logViewStyle();

/// The colour "#rrggbb" that stands for @p type (its case counts), or the general accent.
QString accentForType(const QString &type);
/// For a QPushButton in @p color, hovered or not.
QString accentButtonStyle(const QString &color);
/// For a QLabel named "TypeBadge", in the accent of @p type.
QString typeBadgeStyle(const QString &type);
/// For a bar named "HeaderBar" that fades from @p from on its left to @p to on its right.
QString headerBarStyle(const QString &from, const QString &to);

} // namespace ZelTheme
