#include "support/TestMain.h"

#include <QAbstractItemView>
#include <QFileDialog>
#include <QImage>
#include <QLayout>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QScreen>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTabBar>
#include <QToolButton>
#include <QWheelEvent>

#include <memory>
#include <optional>

#include "gui/SettingsFields.h"
#include "settings/LauncherSettings.h"
#include "support/process/FakeClient.h"
#include "support/process/FakeWineHost.h"
#include "support/windows/MessageBoxAnswerer.h"
#include "ui/MessageBox.h"
#include "ui/ZelTheme.h"

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ZelTheme::Mode)

namespace
{

constexpr QColor groupDark(0x22, 0x22, 0x36);
constexpr QColor groupLight(0xff, 0xff, 0xff);
constexpr QColor sliderHandle(0x5b, 0x8d, 0xef);

/// One row of each kind of field.
constexpr const char *fieldOfEachKind[] = {"Executavel", "Canais", "Resolucao", "Modo janela",
                                           "Efeitos"};

QApplication &application()
{
    return *static_cast<QApplication *>(QCoreApplication::instance());
}

/// Rectangle of a widget within the dialog.
QRect placeOf(const QWidget *widget, const QWidget *dialog)
{
    return {widget->mapTo(dialog, QPoint()), widget->size()};
}

/// Whether any pixel of @p image has @p color.
bool shows(const QImage &image, QColor color, int tolerance = 8)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (qAbs(pixel.red() - color.red()) <= tolerance &&
                qAbs(pixel.green() - color.green()) <= tolerance &&
                qAbs(pixel.blue() - color.blue()) <= tolerance) {
                return true;
            }
        }
    }
    return false;
}

/// A part of a field as shown on the screen, with its background.
QImage pictureOf(const QWidget *field, const QRect &part)
{
    QWidget *window = field->window();
    const QRect place(field->mapTo(window, part.topLeft()), part.size());
    return window->grab(place).toImage().convertToFormat(QImage::Format_RGB32);
}

/// One notch of a mouse wheel over the middle of a widget, as the platform delivers it.
void turnWheelOver(QWidget *widget, int notches)
{
    QWidget *window = widget->window();
    const QPoint global = widget->mapToGlobal(widget->rect().center());
    QWidget *target = window->childAt(window->mapFromGlobal(global));
    QWheelEvent event(target->mapFromGlobal(global), global, QPoint(), QPoint(0, 120 * notches),
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(target, &event);
}

/// A widget as text: its kind, its object name and its properties.
QString describe(const QWidget *widget)
{
    QString text;
    if (const auto *edit = qobject_cast<const QLineEdit *>(widget)) {
        text = edit->isClearButtonEnabled() ? u"edit with clear button"_s : u"edit"_s;
    } else if (const auto *combo = qobject_cast<const QComboBox *>(widget)) {
        text = combo->isEditable() ? u"editable combo"_s : u"combo"_s;
        for (int i = 0; i < combo->count(); ++i) {
            if (combo->itemData(i).userType() ==
                QMetaType::Int) { // not the machine's Wine installations
                text += u" %1=%2"_s.arg(combo->itemText(i), combo->itemData(i).toString());
            }
        }
    } else if (const auto *spin = qobject_cast<const QSpinBox *>(widget)) {
        text = u"spin %1..%2"_s.arg(spin->minimum()).arg(spin->maximum());
    } else if (const auto *slider = qobject_cast<const QSlider *>(widget)) {
        text = u"slider %1..%2"_s.arg(slider->minimum()).arg(slider->maximum());
        text += u" orientation %1"_s.arg(slider->orientation());
    } else if (widget->inherits("QLabel")) {
        const auto *label = qobject_cast<const QLabel *>(widget);
        const bool right = label->alignment() == (Qt::AlignRight | Qt::AlignVCenter);
        const bool top = label->alignment() == (Qt::AlignLeft | Qt::AlignTop);
        text = u"%1 '%2' %3"_s
                   .arg(label->wordWrap() && top ? u"wrapped"_s
                        : right                  ? u"right"_s
                                                 : u"left"_s,
                        label->text(), label->styleSheet())
                   .trimmed();
    } else {
        text = u"%1 '%2' %3"_s
                   .arg(QLatin1String(widget->inherits("QCheckBox") ? "check" : "button"),
                        widget->property("text").toString(), widget->accessibleName())
                   .trimmed();
    }
    if (!widget->objectName().isEmpty()) {
        text.prepend(widget->objectName() + u' ');
    }
    if (widget->minimumWidth() == widget->maximumWidth()) {
        text += u", %1 wide"_s.arg(widget->width());
    } else if (widget->minimumWidth() > 0) {
        text += u", from %1 wide"_s.arg(widget->minimumWidth());
    }
    if (widget->inherits("QPushButton") && widget->cursor().shape() != Qt::ArrowCursor) {
        text += widget->cursor().shape() == Qt::PointingHandCursor ? u", hand"_s : u", cursor"_s;
    }
    return text;
}

} // namespace

/// The widgets, look and behaviour of the settings dialog in both modes. Its data are tested by
/// TestSettingsDialogData.
class TestSettingsDialog : public TestBase
{
    Q_OBJECT

private slots:
    static void initTestCase_data();
    void init();
    void cleanup();

    void theDialogHasItsTitleSizeAndSlots();
    void theGroupsScrollAboveTheButtons();
    void theGroupsAreInOrderWithoutTabs();
    void eachGroupHasItsRows();
    void theFirstFieldOfARowTakesTheSpareWidth();
    void theSlidersHaveTheirStyleSheet();
    void aSliderShowsItsValue();
    void aMovedSliderKeepsItsWidth();
    void theLabelsAreOnOneLineWithTheirFields();
    void theWidthOfAComboBoxDependsOnlyOnTheForm();
    void aLongWinePathDoesNotWidenTheDialog();
    void aLongWinePathIsElidedInTheMiddle();
    void theListOfWinesOpensAsWideAsItsPaths();
    void aTallDialogKeepsTheGroupsTogether();
    void theWheelChangesAFieldOnlyWithTheFocus();
    void tabGoesThroughTheFieldsInTheirOrder();
    void aFieldReachedByTabIsScrolledIntoView();
    void enterAccepts();
    void theBackgroundBetweenTheGroupsIsTheThemes();
    void aCheckBoxShowsItsIndicator();
    void spinAndComboBoxesShowTheirArrows();
    void theSpinBoxHasNoStrayLinesInLightMode();
    void theSlidersHandleIsNotClipped();
    void aFieldShowsThatItHasTheFocus();
    void theClearButtonShowsItsIndicator();
    void theStandardButtonsHaveNoIcons();
    void theDialogHasItsStyleSheet();
    void everyImageOfTheStyleSheetExists();
    void theStyleSheetDoesNotAffectOtherWindows();
    void withoutTheImagesTheStyleSheetIsEmpty();

private:
    void open();
    QList<SettingsFields::Row> wheelRows() const;

    ZelTheme::Mode mode = ZelTheme::Mode::Dark;
    FakeClient client;
    FakeWineHost host;
    std::unique_ptr<SettingsDialog> dialog;
    std::optional<SettingsFields> fields;
};

void TestSettingsDialog::initTestCase_data()
{
    QTest::addColumn<ZelTheme::Mode>("theme");

    QTest::newRow("dark") << ZelTheme::Mode::Dark;
    QTest::newRow("light") << ZelTheme::Mode::Light;
}

void TestSettingsDialog::init()
{
    TestBase::init();
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QFETCH_GLOBAL(const ZelTheme::Mode, theme);
    mode = theme;
    ZelTheme::apply(application(), mode);
    client.useInLauncher();
    open();
}

void TestSettingsDialog::cleanup()
{
    fields.reset();
    dialog.reset();
}

void TestSettingsDialog::open()
{
    cleanup();
    dialog = std::make_unique<SettingsDialog>();
    dialog->show();
    dialog->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(dialog.get()));
    fields.emplace(*dialog);
}

/// The rows whose field the mouse wheel could change.
QList<SettingsFields::Row> TestSettingsDialog::wheelRows() const
{
    QList<SettingsFields::Row> rows = fields->rows();
    rows.removeIf([](const SettingsFields::Row &row) {
        const QWidget *field = row.widgets.first();
        return !field->inherits("QComboBox") && !field->inherits("QAbstractSpinBox") &&
               !field->inherits("QSlider");
    });
    return rows;
}

void TestSettingsDialog::theDialogHasItsTitleSizeAndSlots()
{
    QCOMPARE(dialog->windowTitle(), u"Configuracoes"_s);
    QCOMPARE(dialog->minimumSize(), QSize(620, 640));
    for (const char *slot : {"onBrowseClientDir()", "onBrowseClientExe()", "onBrowseWine()",
                             "onRefreshWine()", "onWineSelectionChanged(int)", "onAccept()"}) {
        QVERIFY2(dialog->metaObject()->indexOfSlot(slot) >= 0, slot);
    }
}

void TestSettingsDialog::theGroupsScrollAboveTheButtons()
{
    auto *layout = qobject_cast<QVBoxLayout *>(dialog->layout());
    QVERIFY(layout != nullptr);
    QCOMPARE(layout->count(), 2);
    QCOMPARE(layout->itemAt(0)->widget(), fields->scrollArea);
    QCOMPARE(layout->stretch(0), 1);
    QCOMPARE(layout->itemAt(1)->widget(), fields->buttons);
    QCOMPARE(layout->stretch(1), 0);
    QVERIFY(fields->scrollArea->widgetResizable());
    QCOMPARE(fields->scrollArea->frameShape(), QFrame::NoFrame);
    QCOMPARE(fields->buttons->standardButtons(), QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    QCOMPARE(fields->buttons->buttons().size(), 2);
}

void TestSettingsDialog::theGroupsAreInOrderWithoutTabs()
{
    auto *layout = qobject_cast<QVBoxLayout *>(fields->scrollArea->widget()->layout());
    QVERIFY(layout != nullptr);
    QStringList titles;
    for (int i = 0; i + 1 < layout->count(); ++i) {
        const auto *group = qobject_cast<QGroupBox *>(layout->itemAt(i)->widget());
        QVERIFY(group != nullptr);
        titles << group->title();
        QCOMPARE(qobject_cast<QFormLayout *>(group->layout())->horizontalSpacing(), 12);
    }
    QCOMPARE(titles, QStringList({u"Cliente"_s, u"Servidor"_s, u"Video"_s, u"Audio"_s, u"Jogo"_s,
                                  u"Patch / Links"_s}));
    const QSpacerItem *stretch = layout->itemAt(layout->count() - 1)->spacerItem();
    QVERIFY(stretch != nullptr);
    QVERIFY(stretch->expandingDirections().testFlag(Qt::Vertical));
    QCOMPARE(dialog->findChildren<QGroupBox *>().size(), 6);
    QVERIFY(dialog->findChildren<QTabBar *>().isEmpty());
}

void TestSettingsDialog::eachGroupHasItsRows()
{
    QStringList actual;
    for (const QGroupBox *group : dialog->findChildren<QGroupBox *>()) {
        actual << group->title() + u':';
        const QList<SettingsFields::Row> rows = fields->rows(group->title());
        for (const SettingsFields::Row &row : rows) {
            QStringList widgets;
            for (const QWidget *widget : row.widgets) {
                widgets << describe(widget);
            }
            actual << (row.label ? row.name() + u": "_s : QString()) + widgets.join(u" | "_s);
            // Also without a label, the field is in the column of fields.
            QCOMPARE(placeOf(row.widgets.first(), dialog.get()).left(),
                     placeOf(rows.first().widgets.first(), dialog.get()).left());
            for (qsizetype i = 1; i < row.widgets.size(); ++i) {
                QCOMPARE(placeOf(row.widgets.at(i), dialog.get()).left(),
                         placeOf(row.widgets.at(i - 1), dialog.get()).right() + 1 + 8);
            }
            // Screen readers use the label as the name of the field.
            QVERIFY(row.label == nullptr || row.label->buddy() == row.widgets.first());
        }
    }
    const QString browse = u" | button '...' %1, 36 wide"_s;
    const QString path = u": ZelInputPath edit with clear button"_s + browse;
    const QString slider = u": slider 0..100 orientation 1, from 220 wide | "
                           "right '%1', from 48 wide"_s;
    const QStringList expected{
        u"Cliente:"_s,
        u"Pasta do cliente"_s + path.arg(u"Pasta do cliente"_s),
        u"Executavel"_s + path.arg(u"Executavel do jogo"_s),
        u"Wine: ZelInput combo | button 'Buscar', hand"_s + browse.arg(u"Executavel do Wine"_s),
        u"check 'Usar Wine no Linux'"_s,
        u"Servidor:"_s,
        u"Nome exibido: ZelInput edit"_s,
        u"IP do servidor: ZelInput edit"_s,
        u"Canais: ZelInput spin 1..10"_s,
        u"wrapped 'Cada canal e uma linha no serverlist.txt com o mesmo IP (max. 10).' "
        "color: #a0a0b8; font-size: 11px;"_s,
        u"Video:"_s,
        u"Resolucao: ZelInput combo 640 x 480=1 800 x 600=2 1024 x 768=3 1280 x 720=4 "
        "1280 x 800=5 1280 x 960=6 1280 x 1024=7 1440 x 900=8 1600 x 900=9 1600 x 1024=10 "
        "1600 x 1080=11"_s,
        u"check 'Modo janela'"_s,
        u"Brilho"_s + slider.arg(u"57%"_s),
        u"Audio:"_s,
        u"Efeitos"_s + slider.arg(u"0 (mudo)"_s),
        u"Musica"_s + slider.arg(u"0 (mudo)"_s),
        u"Jogo:"_s,
        u"Qualidade de modelos: ZelInput combo Baixa=1 Media=2 Alta=3"_s,
        // Deliberate: the game's own cursor comes first.
        u"Cursor: ZelInput combo Personalizado do jogo=2 Padrao do sistema=0"_s,
        u"Teclado: ZelInput combo Teclas ZEL=0 Teclas alternativas=1"_s,
        u"Visao da camera: ZelInput spin 0..3"_s,
        u"check 'Rotacao de camera'"_s,
        u"check 'Texturas DXT (melhor desempenho)'"_s,
        u"check 'Reproduzir video de abertura'"_s,
        u"Patch / Links:"_s,
        u"URL base do patch: ZelInput edit"_s,
        u"Site: ZelInput edit"_s,
        u"Noticias (URL): ZelInput edit"_s,
    };
    QCOMPARE(actual, expected);
}

void TestSettingsDialog::theFirstFieldOfARowTakesTheSpareWidth()
{
    const auto widths = [this](int added) {
        QList<int> list;
        for (const SettingsFields::Row &row : fields->rows()) {
            for (int i = 0; row.widgets.size() > 1 && i < row.widgets.size(); ++i) {
                list << row.widgets.at(i)->width() + (i == 0 ? added : 0);
            }
        }
        return list;
    };
    const QList<int> expected = widths(300);
    QCOMPARE(expected.size(), 13);
    dialog->resize(dialog->width() + 300, dialog->height());
    QCoreApplication::processEvents();
    QCOMPARE(widths(0), expected);
    QCOMPARE(fields->refreshWine->width(), fields->refreshWine->sizeHint().width());
}

void TestSettingsDialog::theSlidersHaveTheirStyleSheet()
{
    for (const QSlider *slider : {fields->brightness, fields->effects, fields->music}) {
        QCOMPARE(slider->styleSheet().simplified(),
                 u"QSlider::groove:horizontal { height: 8px; background: #2a2a42; "
                 "border: 1px solid #454560; border-radius: 4px; } "
                 "QSlider::handle:horizontal { width: 16px; margin: -5px 0; background: #5b8def; "
                 "border: 1px solid #88b0ff; border-radius: 8px; } "
                 "QSlider::sub-page:horizontal { background: #4a6090; border-radius: 4px; }"_s);
        QCOMPARE(slider->minimumHeight(), 24);
    }
}

void TestSettingsDialog::aSliderShowsItsValue()
{
    const QMap<QString, QString> atZero{{u"Brilho"_s, u"0%"_s}, // brightness is never mute
                                        {u"Efeitos"_s, u"0 (mudo)"_s},
                                        {u"Musica"_s, u"0 (mudo)"_s}};
    for (auto it = atZero.cbegin(); it != atZero.cend(); ++it) {
        const SettingsFields::Row row = fields->row(it.key());
        QTest::keyClick(row.widgets.first(), Qt::Key_End);
        QCOMPARE(row.value(), u"100%"_s);
        QTest::keyClick(row.widgets.first(), Qt::Key_Home);
        QCOMPARE(row.value(), it.value());
        QTest::keyClick(row.widgets.first(), Qt::Key_Right);
        QCOMPARE(row.value(), u"1%"_s);
        QTest::keyClick(row.widgets.first(), Qt::Key_Left);
        QCOMPARE(row.value(), it.value());
    }
}

void TestSettingsDialog::aMovedSliderKeepsItsWidth()
{
    SettingsFields::slide(fields->effects, 0);
    SettingsFields::slide(fields->music, 1);
    QCoreApplication::processEvents();
    const int width = fields->effects->width();
    QCOMPARE(fields->music->width(), width);
    QCOMPARE(fields->row(u"Brilho"_s).widgets.last()->width(),
             fields->row(u"Musica"_s).widgets.last()->width());
    QTest::keyClick(fields->effects, Qt::Key_End);
    QCoreApplication::processEvents();
    QCOMPARE(fields->effects->width(), width);
}

void TestSettingsDialog::theLabelsAreOnOneLineWithTheirFields()
{
    int rows = 0;
    for (const SettingsFields::Row &row : fields->rows()) {
        if (row.label == nullptr) {
            continue;
        }
        ++rows;
        QVERIFY(row.label->alignment().testFlag(Qt::AlignVCenter));
        const int middle = placeOf(row.label, dialog.get()).center().y();
        for (const QWidget *widget : row.widgets) {
            const int distance = placeOf(widget, dialog.get()).center().y() - middle;
            QVERIFY2(qAbs(distance) <= 1, qPrintable(row.name()));
        }
    }
    QCOMPARE(rows, 17);
}

void TestSettingsDialog::theWidthOfAComboBoxDependsOnlyOnTheForm()
{
    LauncherSettings::instance().winePath = u"/opt/"_s + QString(200, u'm');
    open();
    for (const QComboBox *combo : {fields->wine, fields->resolution, fields->modelQuality,
                                   fields->cursor, fields->keyboard}) {
        const int content = 20 * combo->fontMetrics().horizontalAdvance(u'X');
        QVERIFY(combo->sizeHint().width() >= content);
        QVERIFY(combo->sizeHint().width() < 2 * content);
        QCOMPARE(combo->minimumSizeHint(), combo->sizeHint());
        QCOMPARE(combo->minimumContentsLength(), 20);
    }
}

void TestSettingsDialog::aLongWinePathDoesNotWidenTheDialog()
{
    LauncherSettings::instance().winePath = u"/opt/"_s + QString(300, u'w') + u"/bin/wine"_s;
    open();
    dialog->resize(dialog->minimumSize());
    QCoreApplication::processEvents();
    QCOMPARE(dialog->size(), QSize(620, 640));
    QCOMPARE(fields->wine->currentText(),
             u"Personalizado (%1)"_s.arg(LauncherSettings::instance().winePath));
    QVERIFY(!fields->scrollArea->horizontalScrollBar()->isVisible());
    const QWidget *viewport = fields->scrollArea->viewport();
    for (const QPushButton *button :
         {fields->browseClientDir, fields->browseClientExe, fields->browseWine}) {
        QVERIFY(
            viewport->rect().contains(QRect(button->mapTo(viewport, QPoint()), button->size())));
    }
}

void TestSettingsDialog::aLongWinePathIsElidedInTheMiddle()
{
    // The texts look equal only if both ends of the paths are equal.
    const auto pictureWith = [this](const QString &path) {
        LauncherSettings::instance().winePath = path;
        open();
        dialog->resize(1000, 640);
        QCoreApplication::processEvents();
        return pictureOf(fields->wine, fields->wine->rect());
    };
    const QString middle(100, u'm');
    const QImage picture = pictureWith(u"/a"_s + middle + u"/b/wine"_s);
    QCOMPARE(pictureWith(u"/a"_s + middle + u"mm/b/wine"_s), picture);
    QVERIFY(pictureWith(u"/x"_s + middle + u"/b/wine"_s) != picture);
    QVERIFY(pictureWith(u"/a"_s + middle + u"/y/wine"_s) != picture);
}

void TestSettingsDialog::theListOfWinesOpensAsWideAsItsPaths()
{
    QString path = u"/opt/"_s;
    while (fields->wine->fontMetrics().horizontalAdvance(path) < fields->wine->width()) {
        path += u'm';
    }
    LauncherSettings::instance().winePath = path;
    open();
    fields->wine->showPopup();
    const QAbstractItemView *list = fields->wine->view();
    QVERIFY(list->isVisible());
    QVERIFY(list->viewport()->width() >
            list->fontMetrics().horizontalAdvance(fields->wine->currentText()));
    fields->wine->hidePopup();

    // But not wider than the screen.
    LauncherSettings::instance().winePath = u"/opt/"_s + QString(3000, u'w');
    open();
    fields->wine->showPopup();
    QVERIFY(fields->wine->view()->width() <= dialog->screen()->availableSize().width());
    QCOMPARE(fields->wine->view()->textElideMode(), Qt::ElideMiddle);
    fields->wine->hidePopup();
}

void TestSettingsDialog::aTallDialogKeepsTheGroupsTogether()
{
    const auto heights = [this] {
        QList<int> list;
        for (const QGroupBox *group : dialog->findChildren<QGroupBox *>()) {
            list << group->height();
        }
        return list;
    };
    const QList<int> before = heights();
    dialog->resize(800, 2500);
    QCoreApplication::processEvents();
    QCOMPARE(heights(), before);
}

void TestSettingsDialog::theWheelChangesAFieldOnlyWithTheFocus()
{
    host.addRunner(u"a"_s);
    host.addRunner(u"b"_s);
    LauncherSettings::instance().channelCount = 5;
    open();
    QCOMPARE(wheelRows().size(), 10);
    for (const SettingsFields::Row &row : wheelRows()) {
        QWidget *field = row.widgets.first();
        const QByteArray name = row.name().toUtf8();
        const QString value = row.value();
        QCOMPARE(field->focusPolicy(), Qt::StrongFocus);

        // Without focus the wheel scrolls the dialog.
        fields->clientDir->setFocus();
        for (const int direction : {-1, 1}) {
            fields->scrollArea->ensureWidgetVisible(field, 0, 200);
            QScrollBar *bar = fields->scrollArea->verticalScrollBar();
            bar->setValue(qBound(60, bar->value(), bar->maximum() - 60));
            const int place = bar->value();
            turnWheelOver(field, direction);
            QCOMPARE(row.value(), value);
            QVERIFY2(direction < 0 ? bar->value() > place : bar->value() < place, name);
            QVERIFY2(!field->hasFocus(), name);
        }

        fields->scrollArea->ensureWidgetVisible(field);
        field->setFocus();
        turnWheelOver(field, -1);
        if (row.value() == value) { // it was at its end
            turnWheelOver(field, 1);
        }
        QVERIFY2(row.value() != value, name);
    }
}

void TestSettingsDialog::tabGoesThroughTheFieldsInTheirOrder()
{
    QList<QWidget *> expected;
    for (const SettingsFields::Row &row : fields->rows()) {
        expected << row.widgets;
    }
    expected.removeIf([](const QWidget *field) { return field->inherits("QLabel"); });
    QCOMPARE(expected.size(), 26);
    expected << fields->ok << fields->cancel;
    // The first field has the initial focus.
    QCOMPARE(QApplication::focusWidget(), expected.first());
    for (QWidget *field : expected) {
        QCOMPARE(QApplication::focusWidget(), field);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    QCOMPARE(QApplication::focusWidget(), expected.first());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backtab);
    QCOMPARE(QApplication::focusWidget(), expected.last());
}

void TestSettingsDialog::aFieldReachedByTabIsScrolledIntoView()
{
    fields->music->setFocus();
    QTest::keyClick(fields->music, Qt::Key_Tab);
    const QWidget *viewport = fields->scrollArea->viewport();
    const QRect place(fields->modelQuality->mapTo(viewport, QPoint()),
                      fields->modelQuality->size());
    QVERIFY(viewport->rect().contains(place));
}

void TestSettingsDialog::enterAccepts()
{
    for (const char *name : fieldOfEachKind) {
        open();
        QVERIFY(fields->ok->isDefault());
        QWidget *field = fields->row(QLatin1String(name)).widgets.first();
        field->setFocus(Qt::TabFocusReason);
        const QSignalSpy accepted(dialog.get(), &QDialog::accepted);
        QTest::keyClick(field, Qt::Key_Return);
        QVERIFY2(accepted.count() == 1 && dialog->isHidden(), name);
    }
}

void TestSettingsDialog::theBackgroundBetweenTheGroupsIsTheThemes()
{
    const QImage corner = pictureOf(fields->scrollArea->widget(), QRect(1, 1, 1, 1));
    QCOMPARE(corner.pixelColor(0, 0),
             mode == ZelTheme::Mode::Dark ? QColor(0x1a, 0x1a, 0x2e) : QColor(0xf5, 0xf5, 0xf7));
}

void TestSettingsDialog::aCheckBoxShowsItsIndicator()
{
    QCheckBox *box = fields->useWine;
    const QRect indicator(0, 0, 18, box->height());
    const QColor around = mode == ZelTheme::Mode::Dark ? groupDark : groupLight;

    SettingsFields::set(box, false);
    fields->clientDir->setFocus();
    const QImage off = pictureOf(box, indicator);
    QVERIFY(shows(off, QColor(0x84, 0x84, 0xa0)));
    QVERIFY(shows(off, around)); // an empty box

    SettingsFields::set(box, true);
    fields->clientDir->setFocus();
    const QImage on = pictureOf(box, indicator);
    QVERIFY(shows(on, QColor(0x45, 0x77, 0xdd)));
    QVERIFY(shows(on, Qt::white)); // the tick
}

void TestSettingsDialog::spinAndComboBoxesShowTheirArrows()
{
    const QColor arrow(0x8a, 0x8a, 0xa6);
    const auto rightPart = [](const QWidget *field, int top, int height) {
        return QRect(field->width() - 30, top, 28, height);
    };
    fields->scrollArea->ensureWidgetVisible(fields->resolution);
    QSpinBox *spin = fields->channels;
    const int half = spin->height() / 2;
    QVERIFY(shows(pictureOf(spin, rightPart(spin, 0, half)), arrow, 16));
    QVERIFY(shows(pictureOf(spin, rightPart(spin, half, half)), arrow, 16));
    QComboBox *combo = fields->resolution;
    QVERIFY(shows(pictureOf(combo, rightPart(combo, 10, combo->height() - 20)), arrow, 16));

    // Clicks on the arrows work.
    const int value = spin->value();
    QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 12, half / 2 + 2));
    QCOMPARE(spin->value(), value + 1);
    QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 12, half + half / 2 - 2));
    QCOMPARE(spin->value(), value);
}

void TestSettingsDialog::theSpinBoxHasNoStrayLinesInLightMode()
{
    ZelTheme::apply(application(), ZelTheme::Mode::Light);
    open();
    QSpinBox *spin = fields->channels;
    const QImage picture = pictureOf(spin, spin->rect());
    // Left of the arrows and between them there is only the background.
    for (int x = spin->width() - 40; x < spin->width() - 4; ++x) {
        QCOMPARE(picture.pixelColor(x, spin->height() / 2), QColor(Qt::white));
    }
    for (int y = 4; y < spin->height() - 4; ++y) {
        QCOMPARE(picture.pixelColor(spin->width() - 24, y), QColor(Qt::white));
    }
}

void TestSettingsDialog::theSlidersHandleIsNotClipped()
{
    QSlider *slider = fields->brightness;
    fields->scrollArea->ensureWidgetVisible(slider);
    const QImage picture = pictureOf(slider, slider->rect());
    int top = slider->height();
    int bottom = -1;
    for (int y = 0; y < picture.height(); ++y) {
        if (shows(picture.copy(0, y, picture.width(), 1), sliderHandle)) {
            top = qMin(top, y);
            bottom = y;
        }
    }
    // The handle is 16 pixels high, plus a border of one pixel.
    QCOMPARE(bottom - top + 1, 16);
    QVERIFY(top >= 1);
    QVERIFY(bottom <= slider->height() - 2);
    const QColor border(0x88, 0xb0, 0xff);
    QVERIFY(shows(picture.copy(0, top - 1, picture.width(), 1), border));
    QVERIFY(shows(picture.copy(0, bottom + 1, picture.width(), 1), border));
    QVERIFY(qAbs(top - (slider->height() - 1 - bottom)) <= 1);
}

void TestSettingsDialog::aFieldShowsThatItHasTheFocus()
{
    for (const char *name : fieldOfEachKind) {
        QWidget *field = fields->row(QLatin1String(name)).widgets.first();
        fields->clientDir->setFocus(Qt::TabFocusReason);
        fields->scrollArea->ensureWidgetVisible(field);
        const QImage before = pictureOf(field, field->rect());
        field->setFocus(Qt::TabFocusReason);
        QVERIFY2(pictureOf(field, field->rect()) != before, name);
    }
}

void TestSettingsDialog::theClearButtonShowsItsIndicator()
{
    for (const QLineEdit *edit : {fields->clientDir, fields->clientExe}) {
        const auto *button = edit->findChild<QToolButton *>();
        QVERIFY(button);
        const QIcon indicator(u":/indicators/clear.png"_s);
        QCOMPARE(button->icon().pixmap({16, 16}, 1).toImage(),
                 indicator.pixmap({16, 16}, 1).toImage());
    }
}

void TestSettingsDialog::theStandardButtonsHaveNoIcons()
{
    // A desktop that shows icons on buttons.
    const auto restore = qScopeGuard([this] { ZelTheme::apply(application(), mode); });
    application().setStyleSheet(application().styleSheet() +
                                u"QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 1; }"_s);
    const QDialogButtonBox plain(QDialogButtonBox::Ok);
    QVERIFY(!plain.button(QDialogButtonBox::Ok)->icon().isNull());

    open();
    QVERIFY(fields->ok->icon().isNull());
    QVERIFY(fields->cancel->icon().isNull());

    const QFileDialog chooser(dialog.get());
    const QList<QDialogButtonBox *> boxes = chooser.findChildren<QDialogButtonBox *>();
    QCOMPARE(boxes.size(), 1);
    QCOMPARE(boxes.first()->buttons().size(), 2);
    for (const QAbstractButton *button : boxes.first()->buttons()) {
        QVERIFY(button->icon().isNull());
    }

    const auto look = [](const QMessageBox &box) {
        for (const QAbstractButton *button : box.buttons()) {
            QVERIFY(button->icon().isNull());
        }
    };
    MessageBoxAnswerer user;
    user.expect(QMessageBox::No, look);
    user.expect(QMessageBox::Ok, look);
    QVERIFY(!MessageBox::ask(nullptr, u"Titulo"_s, u"Texto"_s));
    MessageBox::information(nullptr, u"Titulo"_s, u"Texto"_s);
}

void TestSettingsDialog::theDialogHasItsStyleSheet()
{
    QCOMPARE(
        dialog->styleSheet().simplified(),
        u"QDialogButtonBox { dialogbuttonbox-buttons-have-icons: 0; } "
        "QCheckBox:focus, QSlider:focus { background: rgba(91, 141, 239, 0.2); "
        "border-radius: 4px; } "
        "QCheckBox::indicator { width: 16px; height: 16px; border: 1px solid #8484a0; "
        "border-radius: 4px; } "
        "QCheckBox::indicator:hover { border-color: #5b8def; } "
        "QCheckBox::indicator:checked { background: #4577dd; border-color: #4577dd; "
        "image: url(:/indicators/check.png); } "
        "QCheckBox:disabled { color: #8484a0; } "
        "QCheckBox::indicator:checked:disabled { background: #8484a0; border-color: #8484a0; } "
        "QComboBox#ZelInput::drop-down { border: none; width: 28px; } "
        "QComboBox#ZelInput::down-arrow { image: url(:/indicators/down.png); width: 12px; "
        "height: 12px; } "
        "QSpinBox#ZelInput::up-button { border: none; width: 18px; margin: 3px 3px 0 0; } "
        "QSpinBox#ZelInput::down-button { border: none; width: 18px; margin: 0 3px 3px 0; } "
        "QSpinBox#ZelInput::up-arrow { image: url(:/indicators/up.png); width: 12px; "
        "height: 12px; } "
        "QSpinBox#ZelInput::down-arrow { image: url(:/indicators/down.png); width: 12px; "
        "height: 12px; } "
        "QLineEdit { lineedit-clear-button-icon: url(:/indicators/clear.png); }"_s);
}

void TestSettingsDialog::everyImageOfTheStyleSheetExists()
{
    static const QRegularExpression url(u"url\\(([^)]*)\\)"_s);
    int pictures = 0;
    auto match = url.globalMatch(dialog->styleSheet());
    while (match.hasNext()) {
        QString path = match.next().captured(1);
        const QImage single(path);
        const QImage twice(path.replace(u".png"_s, u"@2x.png"_s));
        QVERIFY2(!single.isNull() && !twice.isNull(), qPrintable(path));
        QCOMPARE(twice.size(), single.size() * 2);
        ++pictures;
    }
    QCOMPARE(pictures, 5);
}

void TestSettingsDialog::theStyleSheetDoesNotAffectOtherWindows()
{
    QVERIFY(application().styleSheet() == ZelTheme::globalStyleSheet(mode));
    const QRegularExpression general(
        u"(^|[},])\\s*Q(ComboBox|SpinBox|PushButton|Widget)\\b(?!#)"_s);
    QVERIFY(!dialog->styleSheet().contains(general)); // its boxes inherit the style sheet
}

void TestSettingsDialog::withoutTheImagesTheStyleSheetIsEmpty()
{
    Q_CLEANUP_RESOURCE(indicators);
    const auto restore = qScopeGuard([] { Q_INIT_RESOURCE(indicators); });
    open(); // a warning fails the test
    QCOMPARE(dialog->styleSheet(), QString());
    dialog->grab();
    QVERIFY(fields->ok->isVisible());

    application().setStyleSheet(QString()); // its style sheet would set the attribute, too
    open();
    QVERIFY(dialog->testAttribute(Qt::WA_StyledBackground));
}

ZEL_GUI_TEST_MAIN(TestSettingsDialog)

#include "tst_settingsdialog.moc"
