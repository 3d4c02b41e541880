#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QPointer>

/// Calls answer() for each @p Dialog that is shown, in the dialog's own event loop, like a user.
template<typename Dialog> class DialogUser : public QObject
{
public:
    DialogUser() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && qobject_cast<Dialog *>(watched) != nullptr) {
            const QPointer<Dialog> shown(static_cast<Dialog *>(watched));
            const auto answerShown = [this, shown] {
                if (shown) {
                    answer(shown);
                }
            };
            QMetaObject::invokeMethod(this, answerShown, Qt::QueuedConnection);
        }
        return false;
    }

protected:
    virtual void answer(Dialog *dialog) = 0;
};
