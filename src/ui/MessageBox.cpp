#include "ui/MessageBox.h"

#include <QMessageBox>

namespace
{

int show(QMessageBox::Icon icon, const QString &title, const QString &text,
         QMessageBox::StandardButtons buttons, QWidget *parent)
{
    QMessageBox box(parent);
    box.setStyleSheet(MessageBox::buttonSheet());
    box.ensurePolished(); // otherwise the buttons are created before the style sheet applies
    box.setWindowTitle(title);
    box.setIcon(icon);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setStandardButtons(buttons);
    return box.exec();
}

} // namespace

void MessageBox::warning(QWidget *parent, const QString &title, const QString &text)
{
    show(QMessageBox::Warning, title, text, QMessageBox::Ok, parent);
}

void MessageBox::information(QWidget *parent, const QString &title, const QString &text)
{
    show(QMessageBox::Information, title, text, QMessageBox::Ok, parent);
}

bool MessageBox::ask(QWidget *parent, const QString &title, const QString &text)
{
    return show(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent) ==
           QMessageBox::Yes;
}

QString MessageBox::buttonSheet()
{
    return QStringLiteral("QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; }");
}
