#include "support/windows/FileChooserUser.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

FileChooserUser::FileChooserUser()
{
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

FileChooserUser::~FileChooserUser()
{
    if (!answers.isEmpty()) {
        QTest::qFail("an expected file chooser did not come", __FILE__, __LINE__);
    }
}

void FileChooserUser::answer(QFileDialog *dialog)
{
    auto *edit = dialog->findChild<QLineEdit *>(u"fileNameEdit"_s);
    auto *buttons = dialog->findChild<QDialogButtonBox *>();
    seen.append({dialog->windowTitle(), dialog->directory().absolutePath(), edit->text(),
                 dialog->nameFilters(), dialog->fileMode(),
                 dialog->testOption(QFileDialog::ShowDirsOnly), dialog->parentWidget()});
    if (answers.isEmpty()) {
        QTest::qFail("unexpected file chooser", __FILE__, __LINE__);
        dialog->reject();
        return;
    }
    const QString path = answers.takeFirst();
    if (path.isEmpty()) {
        QTest::mouseClick(buttons->button(QDialogButtonBox::Cancel), Qt::LeftButton);
        return;
    }
    dialog->activateWindow();
    if (!QTest::qWaitForWindowActive(dialog)) {
        QTest::qFail("the file chooser does not become active", __FILE__, __LINE__);
    }
    edit->setCompleter(nullptr); // no list opens over the buttons
    edit->setFocus();            // otherwise the dialog changes the name
    edit->selectAll();
    QTest::keyClicks(edit, path);
    QTest::mouseClick(buttons->button(QDialogButtonBox::Open), Qt::LeftButton);
    if (dialog->isVisible()) {
        QTest::qFail(qPrintable(u"the chooser does not take "_s + path), __FILE__, __LINE__);
        dialog->reject();
    }
}
