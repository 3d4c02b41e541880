#pragma once

#include <QString>

class QWidget;

/// The launcher's modal boxes. Texts are plain: a path or a server's answer that looks like mark-up
/// is shown unchanged.
namespace MessageBox
{

/// Shows a warning with an OK button and returns when it is closed.
void warning(QWidget *parent, const QString &title, const QString &text);

/// Shows an information box with an OK button and returns when it is closed.
void information(QWidget *parent, const QString &title, const QString &text);

/// Asks a question with the buttons Yes and No; true when the answer is Yes.
bool ask(QWidget *parent, const QString &title, const QString &text);

/// A style sheet that removes the icons of standard buttons, which otherwise depend on the desktop.
/// Set it on a dialog before its buttons are created.
QString buttonSheet();

} // namespace MessageBox
