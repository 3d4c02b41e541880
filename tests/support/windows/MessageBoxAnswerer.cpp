#include "support/windows/MessageBoxAnswerer.h"

#include <QAbstractButton>
#include <QTest>

#include <utility>

using namespace Qt::StringLiterals;

namespace
{

void fail(const QString &what)
{
    QTest::qFail(qPrintable(what), __FILE__, __LINE__);
}

} // namespace

MessageBoxAnswerer::~MessageBoxAnswerer()
{
    if (!expected.isEmpty()) {
        fail(u"%1 expected message box(es) did not come"_s.arg(expected.size()));
    }
}

void MessageBoxAnswerer::expect(QMessageBox::StandardButton button, Look look)
{
    expected.append({button, std::move(look)});
}

void MessageBoxAnswerer::answer(QMessageBox *box)
{
    ++open;
    connect(box, &QMessageBox::finished, this, [this] { --open; });
    seen.append({box->windowTitle(), box->text(), box->icon(), box->standardButtons(),
                 box->isModal(), box->parentWidget(), box->textFormat()});
    if (expected.isEmpty()) {
        fail(u"unexpected message box \"%1\": %2"_s.arg(box->windowTitle(), box->text()));
        box->reject();
        return;
    }

    const Answer next = expected.takeFirst();
    const QPointer<QMessageBox> guard(box);
    if (next.look) {
        next.look(*box);
    }
    const bool isOpen = guard && guard->isVisible();
    if (isOpen == (next.button == QMessageBox::NoButton)) {
        fail(isOpen ? u"the message box was left open"_s
                    : u"the message box was closed before its answer"_s);
    }
    if (!isOpen) {
        return;
    }
    QAbstractButton *button = guard->button(next.button);
    if (button == nullptr) {
        fail(u"no button %1 in the message box \"%2\""_s.arg(QString::number(next.button),
                                                             guard->text()));
        guard->reject();
        return;
    }
    QTest::mouseClick(button, Qt::LeftButton);
}

MessageBoxAnswerer::Box messageBox(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                   const QString &text)
{
    const QMessageBox::StandardButtons buttons =
        icon == QMessageBox::Question ? QMessageBox::Yes | QMessageBox::No
                                      : QMessageBox::StandardButtons(QMessageBox::Ok);
    return {title, text, icon, buttons, true, parent, Qt::PlainText};
}

char *toString(const MessageBoxAnswerer::Box &box)
{
    const QString text =
        u"\"%1\", \"%2\", icon %3, buttons %4, modal %5, parent %6, format %7"_s.arg(
            box.title, box.text, QString::number(box.icon), QString::number(box.buttons.toInt()),
            QString::number(int(box.isModal)), QString::number(quintptr(box.parent), 16),
            QString::number(box.format));
    return qstrdup(qPrintable(text));
}
