#pragma once

#include <QFileDialog>
#include <QList>
#include <QString>
#include <QStringList>

#include "support/windows/DialogUser.h"

/// Answers Qt's own file dialogs. During its lifetime, an unexpected file dialog or an unused
/// answer fails the test.
class FileChooserUser : public DialogUser<QFileDialog>
{
public:
    /// What a chooser showed.
    struct Chooser {
        QString title;
        QString folder; ///< Where it started.
        QString file;   ///< The name that was filled in.
        QStringList filters;
        QFileDialog::FileMode mode;
        bool foldersOnly;
        QWidget *parent;
    };

    FileChooserUser();
    ~FileChooserUser() override;

    /// Picks @p path in the next chooser.
    void pick(const QString &path) { answers << path; }
    /// Cancels the next chooser.
    void cancel() { answers << QString(); }

    /// The choosers so far.
    const QList<Chooser> &choosers() const { return seen; }

private:
    void answer(QFileDialog *dialog) override;

    QStringList answers;
    QList<Chooser> seen;
};
