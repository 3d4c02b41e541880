#pragma once

#include <QString>

class QApplication;
class QComboBox;
class QLineEdit;
class QSpinBox;
class QTextEdit;

/// The launcher's theme: the widget style, the font and one global style sheet per mode, the object
/// names that its rules for input widgets select, and style sheets for buttons and panels.
///
/// Nothing is cached: each call builds its style sheet.
namespace ZelTheme
{

enum class Mode { Dark = 0, Light = 1 };

/// The variants of an input widget.
enum class InputStyle { Default = 0, Search = 1, Path = 2, Header = 3 };

// ZelTheme::Light is short for ZelTheme::Mode::Light, and so on.
using enum Mode;
using enum InputStyle;

/// The stored mode: Light if the stored text is exactly "light", else Dark. Stored in "ZEL.conf",
/// not in the launcher's settings file.
Mode loadPreferredMode();
/// Stores @p mode for loadPreferredMode(). Does not apply it. A failure is silent.
void savePreferredMode(Mode mode);

/// Sets the widget style, the font and the global style sheet of @p mode on @p app. Sets no
/// palette: the colours come from the style sheet.
void apply(QApplication &app, Mode mode);
/// The style sheet that apply() sets.
QString globalStyleSheet(Mode mode);

/// Sets the object name for the rules of @p style (Default for an unknown value) and removes the
/// frame; Path also adds a clear button. Does nothing if @p edit is null.
void styleLineEdit(QLineEdit *edit, InputStyle style = InputStyle::Default);
/// Sets the object name for the rules of inputs and removes the frame. Does nothing if @p box is
/// null.
void styleSpinBox(QSpinBox *box);
/// Sets the object name for the rules of inputs. Does nothing if @p box is null.
void styleComboBox(QComboBox *box);
/// Sets the object name for the rules of text areas. Does nothing if @p edit is null.
void styleTextArea(QTextEdit *edit);

/// Style sheet for a QPushButton in a side bar.
QString sidebarButtonStyle(bool active, Mode mode);
/// Style sheet for the main QPushButton of a view.
QString primaryButtonStyle(Mode mode);
/// Style sheet for a QPushButton beside the primary one.
QString secondaryButtonStyle(Mode mode);
/// Style sheet for a QPushButton with a destructive action.
QString dangerButtonStyle(Mode mode);
/// Style sheet for a panel with the object name "Card".
QString cardStyle(Mode mode);
/// Style sheet for a QTextEdit that shows a log; the same in both modes.
QString logViewStyle();

/// The accent "#rrggbb" of @p type (case-sensitive), or the general accent if it is unknown.
QString accentForType(const QString &type);
/// Style sheet for a QPushButton in @p color, hovered or not.
QString accentButtonStyle(const QString &color);
/// Style sheet for a QLabel with the object name "TypeBadge", in the accent of @p type.
QString typeBadgeStyle(const QString &type);
/// Style sheet for a QWidget with the object name "HeaderBar": a horizontal gradient from @p from
/// to @p to.
QString headerBarStyle(const QString &from, const QString &to);

} // namespace ZelTheme
