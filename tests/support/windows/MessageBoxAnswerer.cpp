#include "support/windows/MessageBoxAnswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QEvent>
#include <QPointer>
#include <QTest>

#include <utility>

namespace
{

void fail(const QString &what)
{
    QTest::qFail(qPrintable(what), __FILE__, __LINE__);
}

} // namespace

MessageBoxAnswerer::MessageBoxAnswerer()
{
    QApplication::instance()->installEventFilter(this);
}

MessageBoxAnswerer::~MessageBoxAnswerer()
{
    if (!expected.isEmpty()) {
        fail(QStringLiteral("%1 expected message box(es) did not come").arg(expected.size()));
    }
}

void MessageBoxAnswerer::expect(QMessageBox::StandardButton button, Look look)
{
    expected.append({button, std::move(look)});
}

bool MessageBoxAnswerer::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show) {
        if (auto *box = qobject_cast<QMessageBox *>(watched)) {
            // The box is answered from inside its own event loop, like by a user.
            QMetaObject::invokeMethod(
                this,
                [this, shown = QPointer<QMessageBox>(box)] {
                    if (shown) {
                        answer(shown);
                    }
                },
                Qt::QueuedConnection);
        }
    }
    return QObject::eventFilter(watched, event);
}

void MessageBoxAnswerer::answer(QMessageBox *box)
{
    ++open;
    connect(box, &QMessageBox::finished, this, [this] { --open; });
    seen.append({box->windowTitle(), box->text(), box->icon(), box->standardButtons(),
                 box->isModal(), box->parentWidget()});
    if (expected.isEmpty()) {
        fail(QStringLiteral("unexpected message box \"%1\": %2")
                 .arg(box->windowTitle(), box->text()));
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
        fail(isOpen ? QStringLiteral("the message box was left open")
                    : QStringLiteral("the message box was closed before its answer"));
    }
    if (!isOpen) {
        return;
    }
    QAbstractButton *button = guard->button(next.button);
    if (button == nullptr) {
        fail(QStringLiteral("no button %1 in the message box \"%2\"")
                 .arg(QString::number(next.button), guard->text()));
        guard->reject();
        return;
    }
    QTest::mouseClick(button, Qt::LeftButton);
}
