#pragma once

#include <QEventLoop>
#include <QObject>
#include <QPoint>
#include <QRandomGenerator>
#include <QString>

#include <functional>
#include <iterator>

class QWindow;

/// A user who does whatever comes to mind, by mouse and keyboard, to the program's foremost
/// window: clicks, drags, turns the wheel, presses keys, types, resizes and closes.
///
/// Every act comes from the event loop that runs at its time, so that message boxes, dialogs and
/// lists that run one of their own are used like the rest.
class RandomUser : public QObject
{
    Q_OBJECT

public:
    explicit RandomUser(quint32 seed);

    /// Acts @p count times, then closes whatever is open besides the main window, or opens yet,
    /// until isAtRest().
    void act(int count);

    /// Runs before each act. @p isOutermost is false while an event loop of the program runs, that
    /// of a dialog for one.
    std::function<void(bool isOutermost)> beforeAct;
    /// Runs after each act and all that the program does at once.
    std::function<void()> afterAct;
    /// Whether the program has nothing more to do by itself.
    std::function<bool()> isAtRest;

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    void actOnce();
    bool closeForemost(bool isOutermost);
    void useMouse(QWindow *window);
    void turnWheel(QWindow *window);
    void pressKey(QWindow *window);
    void type(QWindow *window);
    void changeWindow(QWindow *window);
    QPoint place(QWindow *window);
    QString text();
    bool chance(int percent) { return random.bounded(100) < percent; }
    template<typename List> auto oneOf(const List &list)
    {
        return *std::next(list.begin(), random.bounded(int(list.size())));
    }

    QRandomGenerator random;
    int left = 0;
    int timer = 0;
    int outermostLevel = 0;
    int actingLevel = 0; // which event loop the innermost act under way came from
    QEventLoop loop;
};
