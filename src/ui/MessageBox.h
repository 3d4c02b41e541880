#pragma once

#include <QString>

class QWidget;

/// The launcher's modal boxes. Texts are plain: a path or a server's answer that looks like mark-up
/// is shown unchanged.
namespace MessageBox
{

/// Shows a warning with an OK button and returns when it is closed.
void warning(QWidget *parent, const QString &title, const QString &text);

/// Shows an information with an OK button and returns when it is closed.
void information(QWidget *parent, const QString &title, const QString &text);

/// Asks a question with the buttons Yes and No; true when the answer is Yes.
bool ask(QWidget *parent, const QString &title, const QString &text);

/// A style sheet that removes the icons of a box's or dialog's standard buttons, to be set before
/// these are made. Whether there are any would else depend on the desktop.
QString buttonSheet();

} // namespace MessageBox
