#pragma once

#include <QString>

class QWidget;

/// The launcher's modal boxes. Texts are shown as they stand: a path or a server's answer that
/// looks like mark-up is no mark-up.
namespace MessageBox
{

/// Shows a warning with an OK button and returns when it is closed.
void warning(QWidget *parent, const QString &title, const QString &text);

/// Shows an information with an OK button and returns when it is closed.
void information(QWidget *parent, const QString &title, const QString &text);

/// Asks a question with the buttons Yes and No; true when the answer is Yes.
bool ask(QWidget *parent, const QString &title, const QString &text);

/// The style sheet that leaves the pictures off the standard buttons of a box or dialog, set before
/// these are made. Their words say enough, and the window opens sooner.
QString buttonSheet();

} // namespace MessageBox
