#include "ui/MessageBox.h"

#include <QMessageBox>

namespace
{

int show(QMessageBox::Icon icon, const QString &title, const QString &text,
         QMessageBox::StandardButtons buttons, QWidget *parent)
{
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
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
