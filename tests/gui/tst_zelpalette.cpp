#include "support/TestMain.h"

#include "support/files/Disk.h"
#include "support/windows/Contrast.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "ui/MessageBox.h"
#include "ui/ZelPalette.h"

#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QTemporaryDir>
#include <QToolTip>
#include <QTreeView>

#include <memory>

using namespace Qt::StringLiterals;
using ZelTheme::Mode;

namespace
{

double buttonContrast(QAbstractButton *button)
{
    button->setIcon(QIcon());
    return textContrast(button);
}

/// The expected colour of @p role in the row's mode.
QColor expected(QPalette::ColorRole role)
{
    QFETCH(const Mode, mode);
    return ZelPalette::forMode(mode).color(role);
}

} // namespace

/// The palette alone, and Qt's own windows with it.
class TestZelPalette : public TestBase
{
    Q_OBJECT

private slots:
    void everyTextOfThePaletteIsReadable_data();
    void everyTextOfThePaletteIsReadable();
    void aModeHasItsColors_data();
    void aModeHasItsColors();
    void anUnknownModeIsDark();

    void withoutThePaletteAButtonIsUnreadable();
    void theDesktopsPalettesOfWidgetClassesAreReplaced_data() { addModesAndDesktops(); }
    void theDesktopsPalettesOfWidgetClassesAreReplaced();
    void aMessageBoxIsReadable_data() { addModesAndDesktops(); }
    void aMessageBoxIsReadable();
    void aFileChooserIsReadable_data() { addModesAndDesktops(); }
    void aFileChooserIsReadable();
    void aContextMenuIsReadable_data() { addModesAndDesktops(); }
    void aContextMenuIsReadable();
    void aToolTipIsReadable_data() { addModesAndDesktops(); }
    void aToolTipIsReadable();
};

void TestZelPalette::everyTextOfThePaletteIsReadable_data()
{
    QTest::addColumn<QPalette::ColorRole>("text");
    QTest::addColumn<QPalette::ColorRole>("ground");

    QTest::newRow("window") << QPalette::WindowText << QPalette::Window;
    QTest::newRow("field") << QPalette::Text << QPalette::Base;
    QTest::newRow("alternate row") << QPalette::Text << QPalette::AlternateBase;
    QTest::newRow("button") << QPalette::ButtonText << QPalette::Button;
    QTest::newRow("selection") << QPalette::HighlightedText << QPalette::Highlight;
    QTest::newRow("placeholder") << QPalette::PlaceholderText << QPalette::Base;
    QTest::newRow("tool tip") << QPalette::ToolTipText << QPalette::ToolTipBase;
    QTest::newRow("link") << QPalette::Link << QPalette::Window;
    QTest::newRow("link in a field") << QPalette::Link << QPalette::Base;
    QTest::newRow("visited link") << QPalette::LinkVisited << QPalette::Window;
}

void TestZelPalette::everyTextOfThePaletteIsReadable()
{
    QFETCH(const QPalette::ColorRole, text);
    QFETCH(const QPalette::ColorRole, ground);

    for (const Mode mode : {Mode::Dark, Mode::Light}) {
        const QPalette palette = ZelPalette::forMode(mode);
        for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
            QCOMPARE_GE(contrast(palette.color(group, text), palette.color(group, ground)),
                        group == QPalette::Disabled ? readableWhenDisabled : readable);
        }
    }
}

void TestZelPalette::aModeHasItsColors_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<QPalette::ColorGroup>("group");
    QTest::addColumn<QString>("colors");

    QTest::newRow("dark") << Mode::Dark << QPalette::Active
                          << u"#1a1a2e #e8e8f0 #2a2a42 #252538 #e8e8f0 #353550 #e8e8f0 #ffffff "
                             "#9898b0 #4a6090 #ffffff #6b9dff #6b9dff #2a2a42 #e8e8f0"_s;
    QTest::newRow("dark, disabled")
        << Mode::Dark << QPalette::Disabled
        << u"#1a1a2e #707088 #1e1e30 #252538 #707088 #1a1a2e #707088 #ffffff "
           "#707088 #252538 #707088 #6b9dff #6b9dff #2a2a42 #e8e8f0"_s;
    QTest::newRow("light") << Mode::Light << QPalette::Active
                           << u"#f5f5f7 #1d1d1f #ffffff #f9f9fb #1d1d1f #ffffff #1d1d1f #ffffff "
                              "#6e6e73 #b0d4ff #1d1d1f #0066d6 #0066d6 #ffffff #1d1d1f"_s;
    QTest::newRow("light, disabled")
        << Mode::Light << QPalette::Disabled
        << u"#f5f5f7 #86868b #f2f2f7 #f9f9fb #86868b #f5f5f7 #86868b #ffffff "
           "#86868b #f9f9fb #86868b #0066d6 #0066d6 #ffffff #1d1d1f"_s;
}

void TestZelPalette::aModeHasItsColors()
{
    QFETCH(const Mode, mode);
    QFETCH(const QPalette::ColorGroup, group);
    const QPalette palette = ZelPalette::forMode(mode);
    QStringList colors;
    for (const auto role :
         {QPalette::Window, QPalette::WindowText, QPalette::Base, QPalette::AlternateBase,
          QPalette::Text, QPalette::Button, QPalette::ButtonText, QPalette::BrightText,
          QPalette::PlaceholderText, QPalette::Highlight, QPalette::HighlightedText, QPalette::Link,
          QPalette::LinkVisited, QPalette::ToolTipBase, QPalette::ToolTipText}) {
        colors.append(palette.color(group, role).name());
    }
    QTEST(colors.join(u' '), "colors");
    // The bevel's colours belong to the button's.
    const QPalette bevel(palette.color(QPalette::Active, QPalette::Button));
    QCOMPARE(palette.color(group, QPalette::Dark), bevel.color(group, QPalette::Dark));
}

void TestZelPalette::anUnknownModeIsDark()
{
    QCOMPARE(ZelPalette::forMode(static_cast<Mode>(2)), ZelPalette::forMode(Mode::Dark));
    QVERIFY(ZelPalette::forMode(Mode::Light) != ZelPalette::forMode(Mode::Dark));
}

void TestZelPalette::withoutThePaletteAButtonIsUnreadable()
{
    startUp(Mode::Dark).reset();
    QApplication::setPalette(QPalette(QColor(0xefefef)));
    QPushButton button(u"Cancelar"_s);
    button.resize(100, 40);
    QCOMPARE_LT(buttonContrast(&button), 2.0);
}

void TestZelPalette::theDesktopsPalettesOfWidgetClassesAreReplaced()
{
    QFETCH(const Mode, mode);
    qApp->setStyleSheet(QString());
    const std::initializer_list<const char *> names{"QAbstractButton", "QLineEdit", "QMenu",
                                                    "QTipLabel"};
    for (const char *const name : names) {
        QApplication::setPalette(QPalette(Qt::magenta), name);
    }
    QCOMPARE(QApplication::palette("QMenu"), QPalette(Qt::magenta));

    const auto look = startUpAsInRow();
    for (const char *const name : names) {
        QCOMPARE(QApplication::palette(name), ZelPalette::forMode(mode));
    }
}

void TestZelPalette::aMessageBoxIsReadable()
{
    const auto look = startUpAsInRow();
    MessageBoxAnswerer answerer;
    answerer.expect(QMessageBox::No, [](const QMessageBox &box) {
        const auto *label = box.findChild<QLabel *>(u"qt_msgbox_label"_s);
        QVERIFY(label != nullptr);
        QCOMPARE_GE(textContrast(label, label->rect()), readable);
        QCOMPARE_GE(buttonContrast(box.button(QMessageBox::Yes)), readable);
        QCOMPARE_GE(buttonContrast(box.button(QMessageBox::No)), readable);
        box.button(QMessageBox::Yes)->setEnabled(false);
        QCOMPARE_GE(buttonContrast(box.button(QMessageBox::Yes)), readableWhenDisabled);
        QCOMPARE(picture(&box, box.rect()).pixelColor(1, 1), expected(QPalette::Window));
    });
    QVERIFY(!MessageBox::ask(nullptr, u"ZEL Launcher"_s, u"Deseja encerrar o launcher?"_s));
}

void TestZelPalette::aFileChooserIsReadable()
{
    const auto look = startUpAsInRow();
    const QTemporaryDir folder;
    Disk::write(folder.filePath(u"one.txt"_s), QByteArray());
    Disk::write(folder.filePath(u"two.txt"_s), QByteArray());
    QFileDialog chooser(nullptr, u"Executavel do jogo"_s, folder.path(), u"Todos (*)"_s);
    chooser.setOption(QFileDialog::DontUseNativeDialog);
    chooser.setViewMode(QFileDialog::Detail);
    chooser.show();
    QVERIFY(QTest::qWaitForWindowExposed(&chooser));

    for (const QString &name : {u"lookInLabel"_s, u"fileNameLabel"_s, u"fileTypeLabel"_s}) {
        const auto *label = chooser.findChild<QLabel *>(name);
        QVERIFY(label != nullptr);
        QCOMPARE_GE(textContrast(label, label->rect()), readable);
    }
    QCOMPARE_GE(textContrast(chooser.findChild<QComboBox *>(u"fileTypeCombo"_s)), readable);

    const auto buttons = chooser.findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 2);
    for (QPushButton *button : buttons) {
        button->setEnabled(true);
        QCOMPARE_GE(buttonContrast(button), readable);
        button->setEnabled(false);
        QCOMPARE_GE(buttonContrast(button), readableWhenDisabled);
    }

    auto *edit = chooser.findChild<QLineEdit *>(u"fileNameEdit"_s);
    edit->setText(u"ZEL.exe"_s);
    edit->clearFocus();
    QCOMPARE_GE(textContrast(edit), readable);
    QCOMPARE(background(picture(edit)), expected(QPalette::Base));

    auto *view = chooser.findChild<QTreeView *>(u"treeView"_s);
    QVERIFY(view != nullptr);
    QTRY_COMPARE(view->model()->rowCount(view->rootIndex()), 2);

    // The column without an icon.
    constexpr int dateColumn = 3;
    const auto cell = [view](int row) {
        const QModelIndex index = view->model()->index(row, dateColumn, view->rootIndex());
        view->scrollTo(index);
        return view->visualRect(index).adjusted(2, 2, -2, -2);
    };
    const QWidget *viewport = view->viewport();
    view->setCurrentIndex(view->model()->index(1, 0, view->rootIndex()));
    QTRY_VERIFY(view->selectionModel()->isRowSelected(1, view->rootIndex()));
    QCOMPARE_GE(textContrast(viewport, cell(0)), readable);
    QCOMPARE(background(picture(viewport, cell(0))), expected(QPalette::Base));
    QCOMPARE_GE(textContrast(viewport, cell(1)), readable);
    QCOMPARE_GE(contrast(background(picture(viewport, cell(1))), expected(QPalette::Base)), 1.5);
    QCOMPARE_GE(textContrast(view->header()->viewport()), readable);

    const auto *sidebar = chooser.findChild<QListView *>(u"sidebar"_s);
    QVERIFY(sidebar != nullptr);
    QCOMPARE(background(picture(sidebar->viewport())), expected(QPalette::Base));
}

void TestZelPalette::aContextMenuIsReadable()
{
    const auto look = startUpAsInRow();
    QLineEdit edit(u"ZEL"_s);
    const std::unique_ptr<QMenu> menu(edit.createStandardContextMenu());
    menu->resize(menu->sizeHint());
    QAction *undo = menu->actions().first();
    QAction *selectAll = menu->actions().last();
    QVERIFY(!undo->isEnabled());
    QVERIFY(selectAll->isEnabled());
    QCOMPARE_GE(textContrast(menu.get(), menu->actionGeometry(undo)), readableWhenDisabled);
    QCOMPARE_GE(textContrast(menu.get(), menu->actionGeometry(selectAll)), readable);
    menu->setActiveAction(selectAll);
    QCOMPARE_GE(textContrast(menu.get(), menu->actionGeometry(selectAll)), readable);
}

void TestZelPalette::aToolTipIsReadable()
{
    const auto look = startUpAsInRow();
    QWidget window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QToolTip::showText(window.mapToGlobal(QPoint(5, 5)), u"Pasta acima"_s, &window);
    QTRY_VERIFY(QToolTip::isVisible());
    const QWidget *tip = nullptr;
    for (const QWidget *widget : QApplication::topLevelWidgets()) {
        if (widget->inherits("QTipLabel") && widget->isVisible()) {
            tip = widget;
        }
    }
    QVERIFY(tip != nullptr);
    QCOMPARE_GE(textContrast(tip), readable);
    QCOMPARE(background(picture(tip)), expected(QPalette::ToolTipBase));
    QToolTip::hideText();
    QTRY_VERIFY(!QToolTip::isVisible());
}

ZEL_GUI_TEST_MAIN(TestZelPalette)

#include "tst_zelpalette.moc"
