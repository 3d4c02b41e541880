#include "support/TestMain.h"

#include "support/windows/Contrast.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "support/windows/StyleSheet.h"
#include "ui/MessageBox.h"
#include "ui/ZelPalette.h"
#include "ui/ZelTheme.h"

#include <QAbstractButton>
#include <QColor>
#include <QComboBox>
#include <QFile>
#include <QFileDialog>
#include <QGroupBox>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QTemporaryDir>
#include <QToolTip>
#include <QTreeView>
#include <QVBoxLayout>

#include <memory>

using ZelTheme::Mode;

namespace
{

double buttonContrast(QAbstractButton *button)
{
    button->setIcon(QIcon());
    return measuredContrast(inside(button));
}

} // namespace

class TestZelPalette : public TestBase
{
    Q_OBJECT

private slots:
    void everyTextOfThePaletteIsReadable_data();
    void everyTextOfThePaletteIsReadable();
    void thePaletteAgreesWithTheSheet_data();
    void thePaletteAgreesWithTheSheet();
    void anUnknownModeIsDark();

    void withoutThePaletteAButtonIsUnreadable();
    void aMessageBoxIsReadable_data();
    void aMessageBoxIsReadable();
    void theDesktopDoesNotShowInAMessageBox_data();
    void theDesktopDoesNotShowInAMessageBox();
    void aDesktopThatColorsSingleClassesDoesNotShow();
    void aFileChooserIsReadable_data();
    void aFileChooserIsReadable();
    void aFileChooserListIsReadable_data();
    void aFileChooserListIsReadable();
    void aContextMenuIsReadable_data();
    void aContextMenuIsReadable();
    void aToolTipIsReadable_data();
    void aToolTipIsReadable();
    void theGroundAroundAGroupIsTheDialogs_data();
    void theGroundAroundAGroupIsTheDialogs();

private:
    static std::unique_ptr<QFileDialog> openChooser(const QString &folder);
};

void TestZelPalette::everyTextOfThePaletteIsReadable_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QPalette::ColorGroup>("group");
    QTest::addColumn<QPalette::ColorRole>("text");
    QTest::addColumn<QPalette::ColorRole>("ground");
    QTest::addColumn<double>("enough");

    struct Pair {
        const char *name;
        QPalette::ColorRole text;
        QPalette::ColorRole ground;
    };
    const QList<Pair> pairs{
        {"window text", QPalette::WindowText, QPalette::Window},
        {"text", QPalette::Text, QPalette::Base},
        {"text in every other row", QPalette::Text, QPalette::AlternateBase},
        {"button text", QPalette::ButtonText, QPalette::Button},
        {"selected text", QPalette::HighlightedText, QPalette::Highlight},
        {"placeholder", QPalette::PlaceholderText, QPalette::Base},
        {"tool tip", QPalette::ToolTipText, QPalette::ToolTipBase},
        {"link", QPalette::Link, QPalette::Window},
        {"link in a field", QPalette::Link, QPalette::Base},
        {"visited link", QPalette::LinkVisited, QPalette::Window},
    };
    for (const Mode mode : {Mode::Dark, Mode::Light}) {
        const char *const modeName = mode == Mode::Dark ? "dark" : "light";
        for (const Pair &pair : pairs) {
            QTest::addRow("%s %s, active", modeName, pair.name)
                << mode << QPalette::Active << pair.text << pair.ground << readable;
            QTest::addRow("%s %s, inactive", modeName, pair.name)
                << mode << QPalette::Inactive << pair.text << pair.ground << readable;
            QTest::addRow("%s %s, disabled", modeName, pair.name)
                << mode << QPalette::Disabled << pair.text << pair.ground << readableWhenDisabled;
        }
    }
}

void TestZelPalette::everyTextOfThePaletteIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette::ColorGroup, group);
    QFETCH(const QPalette::ColorRole, text);
    QFETCH(const QPalette::ColorRole, ground);
    QFETCH(const double, enough);

    const QPalette palette = ZelPalette::forMode(mode);
    QCOMPARE_GE(contrast(palette.color(group, text), palette.color(group, ground)), enough);
}

void TestZelPalette::thePaletteAgreesWithTheSheet_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::newRow("dark") << Mode::Dark;
    QTest::newRow("light") << Mode::Light;
}

void TestZelPalette::thePaletteAgreesWithTheSheet()
{
    QFETCH(const Mode, mode);

    const StyleSheet sheet(ZelTheme::globalStyleSheet(mode));
    const auto color = [&sheet](const char *selector, const char *property) {
        return QColor(sheet.properties(QLatin1String(selector)).value(QLatin1String(property)));
    };
    const QPalette palette = ZelPalette::forMode(mode);
    QCOMPARE(palette.color(QPalette::Window), color("QMainWindow, QDialog", "background"));
    QCOMPARE(palette.color(QPalette::Window), color("QScrollArea", "background"));
    QCOMPARE(palette.color(QPalette::WindowText), color("QWidget", "color"));
    QCOMPARE(palette.color(QPalette::Text), color("QWidget", "color"));
    QCOMPARE(palette.color(QPalette::ButtonText), color("QWidget", "color"));
    QCOMPARE(palette.color(QPalette::Base),
             color("QLineEdit#ZelInput, QSpinBox#ZelInput, QComboBox#ZelInput", "background"));
    QCOMPARE(palette.color(QPalette::AlternateBase),
             color("QTableView, QTreeWidget, QListWidget", "alternate-background-color"));
    if (mode == Mode::Dark) {
        QCOMPARE(palette.color(QPalette::ToolTipBase), color("QToolTip", "background"));
        QCOMPARE(palette.color(QPalette::Highlight), color("QMenu::item:selected", "background"));
        QCOMPARE(palette.color(QPalette::Disabled, QPalette::Text),
                 color("QLineEdit#ZelInput:disabled, QSpinBox#ZelInput:disabled", "color"));
    }
}

void TestZelPalette::anUnknownModeIsDark()
{
    QCOMPARE(ZelPalette::forMode(static_cast<Mode>(2)), ZelPalette::forMode(Mode::Dark));
    QVERIFY(ZelPalette::forMode(Mode::Light) != ZelPalette::forMode(Mode::Dark));
}

void TestZelPalette::withoutThePaletteAButtonIsUnreadable()
{
    qApp->setStyleSheet(QString());
    QApplication::setPalette(desktop("#efefef"));
    ZelTheme::apply(*qApp, Mode::Dark);

    QPushButton button(QStringLiteral("Cancelar"));
    button.resize(100, 40);
    QCOMPARE_LT(buttonContrast(&button), 2.0);
}

void TestZelPalette::aMessageBoxIsReadable_data()
{
    addModesAndDesktops();
}

void TestZelPalette::aMessageBoxIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    const auto look = startUp(mode, desktopPalette);

    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No, [mode](const QMessageBox &box) {
        auto *label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"));
        QVERIFY(label != nullptr);
        QCOMPARE_GE(measuredContrast(picture(label, label->rect())), readable);
        QCOMPARE_GE(buttonContrast(box.button(QMessageBox::Yes)), readable);
        QCOMPARE_GE(buttonContrast(box.button(QMessageBox::No)), readable);
        box.button(QMessageBox::Yes)->setEnabled(false);
        QCOMPARE_GE(buttonContrast(box.button(QMessageBox::Yes)), readableWhenDisabled);
        QCOMPARE(picture(&box, box.rect()).pixelColor(1, 1),
                 ZelPalette::forMode(mode).color(QPalette::Window));
    });
    QVERIFY(!MessageBox::ask(nullptr, QStringLiteral("ZEL Launcher"),
                             QStringLiteral("Deseja encerrar o launcher?")));
}

void TestZelPalette::theDesktopDoesNotShowInAMessageBox_data()
{
    thePaletteAgreesWithTheSheet_data();
}

void TestZelPalette::theDesktopDoesNotShowInAMessageBox()
{
    QFETCH(const Mode, mode);

    QList<QImage> pictures;
    for (const char *const color : {"#efefef", "#303030"}) {
        const auto look = startUp(mode, desktop(color));
        MessageBoxAnswerer answerer;
        answerer.expect(QMessageBox::Ok,
                        [&pictures](QMessageBox &box) { pictures.append(box.grab().toImage()); });
        MessageBox::warning(nullptr, QStringLiteral("ZEL Launcher"), QStringLiteral("Texto"));
    }
    QCOMPARE(pictures.size(), 2);
    QCOMPARE(pictures.first(), pictures.last());
}

void TestZelPalette::aDesktopThatColorsSingleClassesDoesNotShow()
{
    qApp->setStyleSheet(QString());
    QPalette garish;
    garish.setColor(QPalette::All, QPalette::Button, Qt::magenta);
    garish.setColor(QPalette::All, QPalette::Base, Qt::magenta);
    garish.setColor(QPalette::All, QPalette::ToolTipBase, Qt::magenta);
    for (const char *const name : {"QAbstractButton", "QLineEdit", "QMenu", "QTipLabel"}) {
        QApplication::setPalette(garish, name);
    }
    QPushButton before;
    before.ensurePolished();
    QCOMPARE(before.palette().color(QPalette::Button), QColor(Qt::magenta));

    const auto look = startUp(Mode::Light, garish);
    const QPalette palette = ZelPalette::forMode(Mode::Light);
    QPushButton button;
    button.ensurePolished();
    QCOMPARE(button.palette().color(QPalette::Button), palette.color(QPalette::Button));
    QLineEdit edit;
    edit.ensurePolished();
    QCOMPARE(edit.palette().color(QPalette::Base), palette.color(QPalette::Base));
    QMenu menu;
    menu.ensurePolished();
    QCOMPARE(menu.palette().color(QPalette::Base), palette.color(QPalette::Base));
    QCOMPARE(QToolTip::palette().color(QPalette::ToolTipBase),
             palette.color(QPalette::ToolTipBase));
}

std::unique_ptr<QFileDialog> TestZelPalette::openChooser(const QString &folder)
{
    auto chooser = std::make_unique<QFileDialog>(nullptr, QStringLiteral("Executavel do jogo"),
                                                 folder, QStringLiteral("Todos (*)"));
    chooser->setOption(QFileDialog::DontUseNativeDialog);
    chooser->setViewMode(QFileDialog::Detail);
    chooser->show();
    return chooser;
}

void TestZelPalette::aFileChooserIsReadable_data()
{
    addModesAndDesktops();
}

void TestZelPalette::aFileChooserIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    const auto look = startUp(mode, desktopPalette);

    const QTemporaryDir folder;
    const auto chooser = openChooser(folder.path());
    QVERIFY(QTest::qWaitForWindowExposed(chooser.get()));

    for (const char *const name : {"lookInLabel", "fileNameLabel", "fileTypeLabel"}) {
        auto *label = chooser->findChild<QLabel *>(QLatin1String(name));
        QVERIFY2(label != nullptr, name);
        QCOMPARE_GE(measuredContrast(picture(label, label->rect())), readable);
    }
    QCOMPARE_GE(
        measuredContrast(inside(chooser->findChild<QComboBox *>(QStringLiteral("fileTypeCombo")))),
        readable);

    const auto buttons = chooser->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 2);
    for (QPushButton *button : buttons) {
        button->setEnabled(true);
        QCOMPARE_GE(buttonContrast(button), readable);
        button->setEnabled(false);
        QCOMPARE_GE(buttonContrast(button), readableWhenDisabled);
    }

    auto *edit = chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"));
    edit->setText(QStringLiteral("ZEL.exe"));
    edit->clearFocus();
    QCOMPARE_GE(measuredContrast(inside(edit)), readable);
    QCOMPARE(background(inside(edit)), ZelPalette::forMode(mode).color(QPalette::Base));
}

void TestZelPalette::aFileChooserListIsReadable_data()
{
    addModesAndDesktops();
}

void TestZelPalette::aFileChooserListIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    const auto look = startUp(mode, desktopPalette);

    const QTemporaryDir folder;
    for (const char *const name : {"one.txt", "two.txt"}) {
        QFile file(folder.filePath(QLatin1String(name)));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    const auto chooser = openChooser(folder.path());
    QVERIFY(QTest::qWaitForWindowExposed(chooser.get()));
    auto *view = chooser->findChild<QTreeView *>(QStringLiteral("treeView"));
    QVERIFY(view != nullptr);
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);

    // The date has no icon before it.
    constexpr int dateColumn = 3;
    const QModelIndex plain = view->model()->index(0, dateColumn, view->rootIndex());
    const QModelIndex selected = view->model()->index(1, dateColumn, view->rootIndex());
    view->setCurrentIndex(selected.siblingAtColumn(0));
    QTRY_VERIFY(view->selectionModel()->isRowSelected(1, view->rootIndex()));
    const auto cell = [view](const QModelIndex &index) {
        view->scrollTo(index);
        return picture(view->viewport(), view->visualRect(index).adjusted(2, 2, -2, -2));
    };
    const QPalette palette = ZelPalette::forMode(mode);
    QCOMPARE_GE(measuredContrast(cell(plain)), readable);
    QCOMPARE(background(cell(plain)), palette.color(QPalette::Base));
    QCOMPARE_GE(measuredContrast(cell(selected)), readable);
    QCOMPARE_GE(contrast(background(cell(selected)), palette.color(QPalette::Base)), 1.5);
    QCOMPARE_GE(measuredContrast(inside(view->header()->viewport())), readable);

    auto *sidebar = chooser->findChild<QListView *>(QStringLiteral("sidebar"));
    QVERIFY(sidebar != nullptr);
    QCOMPARE(background(inside(sidebar->viewport())), palette.color(QPalette::Base));
}

void TestZelPalette::aContextMenuIsReadable_data()
{
    addModesAndDesktops();
}

void TestZelPalette::aContextMenuIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    const auto look = startUp(mode, desktopPalette);

    QLineEdit edit(QStringLiteral("ZEL"));
    const std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    menu->resize(menu->sizeHint());
    // The first entries cannot be used, the last one can.
    const QRect entry = menu->actionGeometry(menu->actions().last());
    QVERIFY(menu->actions().last()->isEnabled());
    QCOMPARE_GE(measuredContrast(picture(menu.get(), entry)), readable);
    QVERIFY(!menu->actions().first()->isEnabled());
    QCOMPARE_GE(
        measuredContrast(picture(menu.get(), menu->actionGeometry(menu->actions().first()))),
        readableWhenDisabled);
    menu->setActiveAction(menu->actions().last());
    QCOMPARE_GE(measuredContrast(picture(menu.get(), entry)), readable);
}

void TestZelPalette::aToolTipIsReadable_data()
{
    addModesAndDesktops();
}

void TestZelPalette::aToolTipIsReadable()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    const auto look = startUp(mode, desktopPalette);

    QWidget window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QToolTip::showText(window.mapToGlobal(QPoint(5, 5)), QStringLiteral("Pasta acima"), &window);
    QTRY_VERIFY(QToolTip::isVisible());
    QLabel *tip = nullptr;
    for (QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("QTipLabel") && widget->isVisible()) {
            tip = qobject_cast<QLabel *>(widget);
        }
    }
    QVERIFY(tip != nullptr);
    QCOMPARE_GE(measuredContrast(inside(tip)), readable);
    QCOMPARE(background(inside(tip)), ZelPalette::forMode(mode).color(QPalette::ToolTipBase));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
}

void TestZelPalette::theGroundAroundAGroupIsTheDialogs_data()
{
    addModesAndDesktops();
}

void TestZelPalette::theGroundAroundAGroupIsTheDialogs()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette, desktopPalette);
    const auto look = startUp(mode, desktopPalette);

    QDialog dialog;
    auto *layout = new QVBoxLayout(&dialog);
    auto *scrollArea = new QScrollArea;
    layout->addWidget(scrollArea);
    auto *content = new QWidget;
    auto *contentLayout = new QVBoxLayout(content);
    auto *group = new QGroupBox(QStringLiteral("Cliente"));
    group->setFixedHeight(100);
    contentLayout->addWidget(group);
    contentLayout->addStretch();
    scrollArea->setWidgetResizable(true);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setWidget(content);
    dialog.resize(300, 300);

    const QImage picture = dialog.grab().toImage();
    const QColor ground = ZelPalette::forMode(mode).color(QPalette::Window);
    QCOMPARE(picture.pixelColor(1, 1), ground);
    QCOMPARE(picture.pixelColor(content->mapTo(&dialog, QPoint(2, 2))), ground);
    QCOMPARE(picture.pixelColor(150, 250), ground);
    QVERIFY(picture.pixelColor(group->mapTo(&dialog, QPoint(100, 60))) != ground);
}

ZEL_GUI_TEST_MAIN(TestZelPalette)

#include "tst_zelpalette.moc"
