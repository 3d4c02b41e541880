#pragma once

#include <QList>
#include <QMessageBox>
#include <QString>

#include <functional>

#include "support/windows/DialogUser.h"

/// Answers message boxes. During its lifetime, an unexpected box, or an expected one that does not
/// appear or is not closed, fails the test.
class MessageBoxAnswerer : public DialogUser<QMessageBox>
{
public:
    /// What a box showed.
    struct Box {
        QString title;
        QString text;
        QMessageBox::Icon icon;
        QMessageBox::StandardButtons buttons;
        bool isModal;
        QWidget *parent;
        Qt::TextFormat format;

        bool operator==(const Box &other) const = default;
    };
    /// Called while the box is open.
    using Look = std::function<void(QMessageBox &)>;

    ~MessageBoxAnswerer() override;

    /// Answers one more box: calls @p look, if given, and clicks @p button. Boxes are answered in
    /// the order of these calls. With QMessageBox::NoButton, @p look must close the box.
    void expect(QMessageBox::StandardButton button, Look look = {});

    /// The boxes so far.
    const QList<Box> &boxes() const { return seen; }
    /// The last box so far. Precondition: there was one.
    const Box &last() const { return seen.last(); }
    /// True when every expected box was answered and is closed.
    bool isDone() const { return expected.isEmpty() && open == 0; }

private:
    struct Answer {
        QMessageBox::StandardButton button;
        Look look;
    };

    void answer(QMessageBox *box) override;

    QList<Answer> expected;
    QList<Box> seen;
    int open = 0;
};

/// A modal box of plain text as the launcher shows it: with Yes and No for a question, with OK
/// otherwise.
MessageBoxAnswerer::Box messageBox(QWidget *parent, QMessageBox::Icon icon, const QString &title,
                                   const QString &text);

/// For the message of QCOMPARE().
char *toString(const MessageBoxAnswerer::Box &box);
