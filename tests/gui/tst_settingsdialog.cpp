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
#include "support/windows/StyleSheet.h"
#include "ui/MessageBox.h"
#include "ui/ZelTheme.h"

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(ZelTheme::Mode)

namespace
{

constexpr QColor groupDark(0x22, 0x22, 0x36);
constexpr QColor groupLight(0xff, 0xff, 0xff);
constexpr QColor sliderHandle(0x5b, 0x8d, 0xef);

QApplication &application()
{
    return *static_cast<QApplication *>(QCoreApplication::instance());
}

/// Rectangle of a widget within the dialog.
QRect placeOf(const QWidget *widget, const QWidget *dialog)
{
    return {widget->mapTo(dialog, QPoint()), widget->size()};
}

/// Whether a picture has just this colour somewhere.
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

/// A part of a field as it is on the screen, with what lies behind it.
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

int valueOf(const QWidget *field)
{
    if (const auto *combo = qobject_cast<const QComboBox *>(field)) {
        return combo->currentIndex();
    }
    if (const auto *spin = qobject_cast<const QSpinBox *>(field)) {
        return spin->value();
    }
    return qobject_cast<const QSlider *>(field)->value();
}

} // namespace

/// The settings dialog's parts, looks and handling; what it does with its data is tested apart.
class TestSettingsDialog : public TestBase
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void theDialogHasItsTitleSizeAndSlots();
    void theGroupsScrollAboveTheButtons();
    void theGroupsAreInOrderWithoutTabs();
    void eachRowHasItsLabelAndField_data();
    void eachRowHasItsLabelAndField();
    void eachInputIsMarkedForTheTheme();
    void theFirstFieldOfARowTakesTheSpareWidth();
    void onlyTheBrowseButtonsAreNarrowAndShowAnArrow();
    void theSpinBoxesHaveTheirRangesAndTheHintNamesThem();
    void eachChoiceCarriesTheClientsValue_data();
    void eachChoiceCarriesTheClientsValue();
    void theSlidersHaveTheirRangeSheetAndWidths();
    void aSliderShowsItsValue_data();
    void aSliderShowsItsValue();
    void aMovedSliderKeepsItsWidth();

    void theLabelsAreOnOneLineWithTheirFields_data();
    void theLabelsAreOnOneLineWithTheirFields();
    void theFormAloneDecidesHowWideAComboBoxIs();
    void aLongWinePathDoesNotWidenTheDialog();
    void aLongWinePathIsCutInTheMiddle();
    void theListOfWinesOpensAsWideAsItsPaths();
    void aTallDialogKeepsTheGroupsTogether();

    void theWheelScrollsPastAFieldWithoutTheFocus_data();
    void theWheelScrollsPastAFieldWithoutTheFocus();
    void theWheelChangesAFieldWithTheFocus_data();
    void theWheelChangesAFieldWithTheFocus();
    void tabGoesThroughTheFieldsInTheirOrder();
    void aFieldReachedByTabIsScrolledIntoView();
    void enterAccepts_data();
    void enterAccepts();
    void escapeAndTheButtonsCloseTheDialog();
    void screenReadersKnowTheBuddyOfEachLabel();

    void theBackgroundBetweenTheGroupsIsTheThemes_data();
    void theBackgroundBetweenTheGroupsIsTheThemes();
    void aCheckBoxShowsItsBox_data();
    void aCheckBoxShowsItsBox();
    void spinAndComboBoxesShowTheirArrows_data();
    void spinAndComboBoxesShowTheirArrows();
    void theSpinBoxHasNoStrayLinesInLightMode();
    void theSlidersHandleIsWhole_data();
    void theSlidersHandleIsWhole();
    void aFieldShowsThatItHasTheFocus_data();
    void aFieldShowsThatItHasTheFocus();
    void theClearButtonShowsItsIndicator();
    void theStandardButtonsHaveNoIcons();
    void everyPictureOfTheSheetExists();
    void theSheetLeavesOtherWindowsAlone();
    void withoutThePicturesTheStyleSheetIsEmpty();

private:
    void open();
    void open(ZelTheme::Mode mode);

    FakeClient client;
    FakeWineHost host;
    std::unique_ptr<SettingsDialog> dialog;
    std::optional<SettingsFields> fields;
};

void TestSettingsDialog::init()
{
    TestBase::init();
    QGuiApplication::setQuitOnLastWindowClosed(false);
    client.useInLauncher();
    open(ZelTheme::Mode::Dark);
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

void TestSettingsDialog::open(ZelTheme::Mode mode)
{
    ZelTheme::apply(application(), mode);
    open();
}

void TestSettingsDialog::theDialogHasItsTitleSizeAndSlots()
{
    QCOMPARE(dialog->windowTitle(), u"Configuracoes"_s);
    QCOMPARE(dialog->minimumSize(), QSize(620, 640));
    QVERIFY(dialog->testAttribute(Qt::WA_StyledBackground));
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
    }
    QCOMPARE(titles, QStringList({u"Cliente"_s, u"Servidor"_s, u"Video"_s, u"Audio"_s, u"Jogo"_s,
                                  u"Patch / Links"_s}));
    const QSpacerItem *stretch = layout->itemAt(layout->count() - 1)->spacerItem();
    QVERIFY(stretch != nullptr);
    QVERIFY(stretch->expandingDirections().testFlag(Qt::Vertical));
    QCOMPARE(dialog->findChildren<QGroupBox *>().size(), 6);
    QVERIFY(dialog->findChildren<QTabBar *>().isEmpty());
}

void TestSettingsDialog::eachRowHasItsLabelAndField_data()
{
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<QStringList>("rows");

    // Each row: the label, then the kinds of its widgets, with the text of those that have one.
    QTest::newRow("client") << "Cliente"_ba
                            << QStringList{u"Pasta do cliente: QLineEdit, QPushButton '...'"_s,
                                           u"Executavel: QLineEdit, QPushButton '...'"_s,
                                           u"Wine: QComboBox, QPushButton 'Buscar', "
                                           "QPushButton '...'"_s,
                                           u"QCheckBox 'Usar Wine no Linux'"_s};
    QTest::newRow("server") << "Servidor"_ba
                            << QStringList{u"Nome exibido: QLineEdit"_s,
                                           u"IP do servidor: QLineEdit"_s, u"Canais: QSpinBox"_s,
                                           u"QLabel 'Cada canal e uma linha no serverlist.txt "
                                           "com o mesmo IP (max. 10).'"_s};
    QTest::newRow("video") << "Video"_ba
                           << QStringList{u"Resolucao: QComboBox"_s, u"QCheckBox 'Modo janela'"_s,
                                          u"Brilho: QSlider, QLabel '57%'"_s};
    QTest::newRow("audio") << "Audio"_ba
                           << QStringList{u"Efeitos: QSlider, QLabel '0 (mudo)'"_s,
                                          u"Musica: QSlider, QLabel '0 (mudo)'"_s};
    QTest::newRow("game") << "Jogo"_ba
                          << QStringList{u"Qualidade de modelos: QComboBox"_s,
                                         u"Cursor: QComboBox"_s,
                                         u"Teclado: QComboBox"_s,
                                         u"Visao da camera: QSpinBox"_s,
                                         u"QCheckBox 'Rotacao de camera'"_s,
                                         u"QCheckBox 'Texturas DXT (melhor desempenho)'"_s,
                                         u"QCheckBox 'Reproduzir video de abertura'"_s};
    QTest::newRow("patch") << "Patch / Links"_ba
                           << QStringList{u"URL base do patch: QLineEdit"_s, u"Site: QLineEdit"_s,
                                          u"Noticias (URL): QLineEdit"_s};
}

void TestSettingsDialog::eachRowHasItsLabelAndField()
{
    QFETCH(const QByteArray, group);
    QFETCH(const QStringList, rows);

    const auto describe = [](const QWidget *widget) {
        const auto *button = qobject_cast<const QAbstractButton *>(widget);
        const auto *label = qobject_cast<const QLabel *>(widget);
        const QString text = button != nullptr ? button->text() : label ? label->text() : QString();
        for (const char *kind : {"QLineEdit", "QPushButton", "QComboBox", "QCheckBox", "QSpinBox",
                                 "QSlider", "QLabel"}) {
            if (widget->inherits(kind)) {
                return QLatin1String(kind) + (text.isEmpty() ? text : u" '%1'"_s.arg(text));
            }
        }
        return QString();
    };
    QStringList actual;
    for (int row = 0; row < fields->form(group)->rowCount(); ++row) {
        QStringList kinds;
        const QList<QWidget *> widgets = fields->rowWidgets(group, row);
        for (const QWidget *widget : widgets) {
            kinds << describe(widget);
        }
        const QLabel *label = fields->rowLabel(group, row);
        actual << (label != nullptr ? label->text() + u": "_s : QString()) + kinds.join(u", "_s);
        // In the column of the fields, also without a label.
        QCOMPARE(placeOf(widgets.first(), dialog.get()).left(),
                 placeOf(fields->rowWidgets(group, 0).first(), dialog.get()).left());
    }
    QCOMPARE(actual, rows);
}

void TestSettingsDialog::eachInputIsMarkedForTheTheme()
{
    for (const QLineEdit *edit : {fields->clientDir, fields->clientExe}) {
        QCOMPARE(edit->objectName(), u"ZelInputPath"_s);
        QVERIFY(edit->isClearButtonEnabled());
    }
    const QList<const QLineEdit *> plain{fields->serverName, fields->serverIp, fields->patchUrl,
                                         fields->website, fields->news};
    for (const QLineEdit *edit : plain) {
        QCOMPARE(edit->objectName(), u"ZelInput"_s);
        QVERIFY(!edit->isClearButtonEnabled());
    }
    const QList<const QWidget *> others{fields->channels,    fields->cameraView, fields->wine,
                                        fields->resolution,  fields->cursor,     fields->keyboard,
                                        fields->modelQuality};
    for (const QWidget *field : others) {
        QCOMPARE(field->objectName(), u"ZelInput"_s);
    }
}

void TestSettingsDialog::theFirstFieldOfARowTakesTheSpareWidth()
{
    const QList<QPair<QWidget *, QWidget *>> rows{
        {fields->clientDir, fields->browseClientDir}, {fields->clientExe, fields->browseClientExe},
        {fields->wine, fields->browseWine},           {fields->brightness, fields->brightnessValue},
        {fields->effects, fields->effectsValue},      {fields->music, fields->musicValue}};
    QList<QSize> before;
    for (const auto &[first, last] : rows) {
        before << QSize(first->width(), last->width());
    }
    const int searchWidth = fields->refreshWine->width();
    dialog->resize(dialog->width() + 300, dialog->height());
    QCoreApplication::processEvents();
    for (int i = 0; i < rows.size(); ++i) {
        QCOMPARE(rows.at(i).first->width(), before.at(i).width() + 300);
        QCOMPARE(rows.at(i).second->width(), before.at(i).height());
    }
    QCOMPARE(fields->refreshWine->width(), searchWidth);
    QCOMPARE(searchWidth, fields->refreshWine->sizeHint().width());
}

void TestSettingsDialog::onlyTheBrowseButtonsAreNarrowAndShowAnArrow()
{
    for (const QPushButton *button :
         {fields->browseClientDir, fields->browseClientExe, fields->browseWine}) {
        QCOMPARE(button->text(), u"..."_s);
        QCOMPARE(button->width(), 36);
        QCOMPARE(button->minimumWidth(), 36);
        QCOMPARE(button->maximumWidth(), 36);
        QCOMPARE(button->cursor().shape(), Qt::ArrowCursor);
    }
    QCOMPARE(fields->refreshWine->cursor().shape(), Qt::PointingHandCursor);
}

void TestSettingsDialog::theSpinBoxesHaveTheirRangesAndTheHintNamesThem()
{
    QCOMPARE(fields->channels->minimum(), 1);
    QCOMPARE(fields->channels->maximum(), 10);
    QCOMPARE(fields->cameraView->minimum(), 0);
    QCOMPARE(fields->cameraView->maximum(), 3);
    QCOMPARE(fields->channelHint->text(),
             u"Cada canal e uma linha no serverlist.txt com o mesmo IP (max. %1)."_s.arg(
                 fields->channels->maximum()));
    QVERIFY(fields->channelHint->wordWrap());
    QCOMPARE(fields->channelHint->styleSheet(), u"color: #a0a0b8; font-size: 11px;"_s);
}

void TestSettingsDialog::eachChoiceCarriesTheClientsValue_data()
{
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<int>("row");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QVariantList>("values");

    QTest::newRow("resolution") << "Video"_ba << 0
                                << QStringList{u"640 x 480"_s,   u"800 x 600"_s,  u"1024 x 768"_s,
                                               u"1280 x 720"_s,  u"1280 x 800"_s, u"1280 x 960"_s,
                                               u"1280 x 1024"_s, u"1440 x 900"_s, u"1600 x 900"_s,
                                               u"1600 x 1024"_s, u"1600 x 1080"_s}
                                << QVariantList{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    QTest::newRow("model quality")
        << "Jogo"_ba << 0 << QStringList{u"Baixa"_s, u"Media"_s, u"Alta"_s}
        << QVariantList{1, 2, 3};
    QTest::newRow("cursor, the game's first on purpose")
        << "Jogo"_ba << 1 << QStringList{u"Personalizado do jogo"_s, u"Padrao do sistema"_s}
        << QVariantList{2, 0};
    QTest::newRow("keyboard") << "Jogo"_ba << 2
                              << QStringList{u"Teclas ZEL"_s, u"Teclas alternativas"_s}
                              << QVariantList{0, 1};
}

void TestSettingsDialog::eachChoiceCarriesTheClientsValue()
{
    QFETCH(const QByteArray, group);
    QFETCH(const int, row);
    QFETCH(const QStringList, texts);
    QFETCH(const QVariantList, values);
    const auto *combo = qobject_cast<QComboBox *>(fields->rowWidgets(group, row).first());
    QVERIFY(combo != nullptr);
    QCOMPARE(SettingsFields::texts(combo), texts);
    QCOMPARE(SettingsFields::data(combo), values);
    QVERIFY(!combo->isEditable());
}

void TestSettingsDialog::theSlidersHaveTheirRangeSheetAndWidths()
{
    using Properties = QMap<QString, QString>;
    for (const QSlider *slider : {fields->brightness, fields->effects, fields->music}) {
        QCOMPARE(slider->orientation(), Qt::Horizontal);
        QCOMPARE(slider->minimum(), 0);
        QCOMPARE(slider->maximum(), 100);
        QCOMPARE(slider->minimumWidth(), 220);
        const StyleSheet sheet(slider->styleSheet());
        QCOMPARE(sheet.error, QString());
        QCOMPARE(sheet.properties(u"QSlider::groove:horizontal"_s),
                 Properties({{u"height"_s, u"8px"_s},
                             {u"background"_s, u"#2a2a42"_s},
                             {u"border"_s, u"1px solid #454560"_s},
                             {u"border-radius"_s, u"4px"_s}}));
        QCOMPARE(sheet.properties(u"QSlider::handle:horizontal"_s),
                 Properties({{u"width"_s, u"16px"_s},
                             {u"margin"_s, u"-5px 0"_s},
                             {u"background"_s, u"#5b8def"_s},
                             {u"border"_s, u"1px solid #88b0ff"_s},
                             {u"border-radius"_s, u"8px"_s}}));
        QCOMPARE(sheet.properties(u"QSlider::sub-page:horizontal"_s),
                 Properties({{u"background"_s, u"#4a6090"_s}, {u"border-radius"_s, u"4px"_s}}));
        QCOMPARE(sheet.rules.size(), 3);
    }
    for (const QLabel *label :
         {fields->brightnessValue, fields->effectsValue, fields->musicValue}) {
        QCOMPARE(label->minimumWidth(), 48);
        QCOMPARE(label->alignment(), Qt::AlignRight | Qt::AlignVCenter);
    }
}

void TestSettingsDialog::aSliderShowsItsValue_data()
{
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("atZero");

    QTest::newRow("brightness is never mute") << "Video"_ba << 2 << u"0%"_s;
    QTest::newRow("effects") << "Audio"_ba << 0 << u"0 (mudo)"_s;
    QTest::newRow("music") << "Audio"_ba << 1 << u"0 (mudo)"_s;
}

void TestSettingsDialog::aSliderShowsItsValue()
{
    QFETCH(const QByteArray, group);
    QFETCH(const int, row);
    QFETCH(const QString, atZero);
    auto *slider = qobject_cast<QSlider *>(fields->rowWidgets(group, row).at(0));
    const auto *label = qobject_cast<QLabel *>(fields->rowWidgets(group, row).at(1));

    QTest::keyClick(slider, Qt::Key_End);
    QCOMPARE(label->text(), u"100%"_s);
    QTest::keyClick(slider, Qt::Key_Home);
    QCOMPARE(label->text(), atZero);
    QTest::keyClick(slider, Qt::Key_Right);
    QCOMPARE(label->text(), u"1%"_s);
    QTest::keyClick(slider, Qt::Key_Left);
    QCOMPARE(label->text(), atZero);
}

void TestSettingsDialog::aMovedSliderKeepsItsWidth()
{
    SettingsFields::slide(fields->effects, 0);
    SettingsFields::slide(fields->music, 1);
    QCoreApplication::processEvents();
    const int width = fields->effects->width();
    QCOMPARE(fields->music->width(), width);
    QTest::keyClick(fields->effects, Qt::Key_End);
    QCoreApplication::processEvents();
    QCOMPARE(fields->effects->width(), width);
}

void TestSettingsDialog::theLabelsAreOnOneLineWithTheirFields_data()
{
    QTest::addColumn<ZelTheme::Mode>("mode");

    QTest::newRow("dark") << ZelTheme::Mode::Dark;
    QTest::newRow("light") << ZelTheme::Mode::Light;
}

void TestSettingsDialog::theLabelsAreOnOneLineWithTheirFields()
{
    QFETCH(const ZelTheme::Mode, mode);
    open(mode);
    int rows = 0;
    for (const char *group : SettingsFields::groups) {
        for (int row = 0; row < fields->form(group)->rowCount(); ++row) {
            const QLabel *label = fields->rowLabel(group, row);
            if (label == nullptr) {
                continue;
            }
            ++rows;
            QVERIFY(label->alignment().testFlag(Qt::AlignVCenter));
            const int middle = placeOf(label, dialog.get()).center().y();
            for (const QWidget *widget : fields->rowWidgets(group, row)) {
                const int distance = placeOf(widget, dialog.get()).center().y() - middle;
                QVERIFY2(qAbs(distance) <= 1, qPrintable(label->text()));
            }
        }
    }
    QCOMPARE(rows, 17);
}

void TestSettingsDialog::theFormAloneDecidesHowWideAComboBoxIs()
{
    LauncherSettings::instance().winePath = u"/opt/"_s + QString(200, u'm');
    open();
    for (const QComboBox *combo : {fields->wine, fields->resolution, fields->modelQuality,
                                   fields->cursor, fields->keyboard}) {
        const int content = 20 * combo->fontMetrics().horizontalAdvance(u'X');
        QVERIFY(combo->sizeHint().width() >= content);
        QVERIFY(combo->sizeHint().width() < 2 * content);
        QCOMPARE(combo->minimumSizeHint(), combo->sizeHint());
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

void TestSettingsDialog::aLongWinePathIsCutInTheMiddle()
{
    // Both ends count: they look alike only where the two are the same.
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
    LauncherSettings::instance().winePath = u"/opt/a wine whose path is longer than its box"_s;
    open();
    fields->wine->showPopup();
    const QAbstractItemView *list = fields->wine->view();
    QVERIFY(list->isVisible());
    QVERIFY(list->viewport()->width() >= list->sizeHintForColumn(0));
    QVERIFY(list->width() >= fields->wine->width());
    fields->wine->hidePopup();

    // Not wider than the screen, though.
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
        for (const char *title : {"Cliente", "Servidor", "Video", "Audio", "Jogo"}) {
            list << fields->group(title)->height();
        }
        return list;
    };
    const QList<int> before = heights();
    dialog->resize(800, 2500);
    QCoreApplication::processEvents();
    QCOMPARE(heights(), before);
}

void TestSettingsDialog::theWheelScrollsPastAFieldWithoutTheFocus_data()
{
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<int>("row");

    QTest::newRow("Wine") << "Cliente"_ba << 2;
    QTest::newRow("channels") << "Servidor"_ba << 2;
    QTest::newRow("resolution") << "Video"_ba << 0;
    QTest::newRow("brightness") << "Video"_ba << 2;
    QTest::newRow("effects") << "Audio"_ba << 0;
    QTest::newRow("music") << "Audio"_ba << 1;
    QTest::newRow("model quality") << "Jogo"_ba << 0;
    QTest::newRow("cursor") << "Jogo"_ba << 1;
    QTest::newRow("keyboard") << "Jogo"_ba << 2;
    QTest::newRow("camera view") << "Jogo"_ba << 3;
}

void TestSettingsDialog::theWheelScrollsPastAFieldWithoutTheFocus()
{
    QFETCH(const QByteArray, group);
    QFETCH(const int, row);
    host.addRunner(u"a"_s);
    host.addRunner(u"b"_s);
    LauncherSettings::instance().channelCount = 5;
    open();
    QWidget *field = fields->rowWidgets(group, row).first();
    QCOMPARE(field->focusPolicy(), Qt::StrongFocus);
    fields->clientDir->setFocus();
    for (const int direction : {-1, 1}) {
        fields->scrollArea->ensureWidgetVisible(field, 0, 200);
        QScrollBar *bar = fields->scrollArea->verticalScrollBar();
        bar->setValue(qBound(60, bar->value(), bar->maximum() - 60));
        const int place = bar->value();
        const int value = valueOf(field);
        turnWheelOver(field, direction);
        QCOMPARE(valueOf(field), value);
        QVERIFY(direction < 0 ? bar->value() > place : bar->value() < place);
        QVERIFY(!field->hasFocus());
    }
}

void TestSettingsDialog::theWheelChangesAFieldWithTheFocus_data()
{
    theWheelScrollsPastAFieldWithoutTheFocus_data();
}

void TestSettingsDialog::theWheelChangesAFieldWithTheFocus()
{
    QFETCH(const QByteArray, group);
    QFETCH(const int, row);
    host.addRunner(u"a"_s);
    host.addRunner(u"b"_s);
    open();
    QWidget *field = fields->rowWidgets(group, row).first();
    fields->scrollArea->ensureWidgetVisible(field);
    field->setFocus();
    const int value = valueOf(field);
    turnWheelOver(field, -1);
    turnWheelOver(field, -1);
    if (valueOf(field) == value) { // it was at its end
        turnWheelOver(field, 1);
    }
    QVERIFY(valueOf(field) != value);
}

void TestSettingsDialog::tabGoesThroughTheFieldsInTheirOrder()
{
    QList<QWidget *> expected;
    for (const char *group : SettingsFields::groups) {
        for (int row = 0; row < fields->form(group)->rowCount(); ++row) {
            expected << fields->rowWidgets(group, row);
        }
    }
    expected.removeIf([](const QWidget *field) { return field->inherits("QLabel"); });
    QCOMPARE(expected.size(), 26);
    expected << fields->ok << fields->cancel;
    // The dialog opens on its first field.
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

void TestSettingsDialog::enterAccepts_data()
{
    QTest::addColumn<QByteArray>("group");
    QTest::addColumn<int>("row");

    QTest::newRow("in a line edit") << "Cliente"_ba << 1;
    QTest::newRow("in a combo box") << "Video"_ba << 0;
    QTest::newRow("in a check box") << "Video"_ba << 1;
    QTest::newRow("in a spin box") << "Servidor"_ba << 2;
    QTest::newRow("in a slider") << "Audio"_ba << 0;
}

void TestSettingsDialog::enterAccepts()
{
    QFETCH(const QByteArray, group);
    QFETCH(const int, row);
    QVERIFY(fields->ok->isDefault());
    QWidget *field = fields->rowWidgets(group, row).first();
    field->setFocus(Qt::TabFocusReason);
    const QSignalSpy accepted(dialog.get(), &QDialog::accepted);
    QTest::keyClick(field, Qt::Key_Return);
    QCOMPARE(accepted.count(), 1);
    QVERIFY(dialog->isHidden());
}

void TestSettingsDialog::escapeAndTheButtonsCloseTheDialog()
{
    const QSignalSpy rejected(dialog.get(), &QDialog::rejected);
    QTest::keyClick(fields->clientDir, Qt::Key_Escape);
    QCOMPARE(rejected.count(), 1);
    QVERIFY(dialog->isHidden());
    open();
    SettingsFields::click(fields->cancel);
    QVERIFY(dialog->isHidden());
    QCOMPARE(dialog->result(), int(QDialog::Rejected));
    open();
    SettingsFields::click(fields->ok);
    QVERIFY(dialog->isHidden());
    QCOMPARE(dialog->result(), int(QDialog::Accepted));
}

void TestSettingsDialog::screenReadersKnowTheBuddyOfEachLabel()
{
    for (const char *group : SettingsFields::groups) {
        for (int row = 0; row < fields->form(group)->rowCount(); ++row) {
            if (const QLabel *label = fields->rowLabel(group, row)) {
                QCOMPARE(label->buddy(), fields->rowWidgets(group, row).first());
            }
        }
    }
    QCOMPARE(fields->browseClientDir->accessibleName(), u"Pasta do cliente"_s);
    QCOMPARE(fields->browseClientExe->accessibleName(), u"Executavel do jogo"_s);
    QCOMPARE(fields->browseWine->accessibleName(), u"Executavel do Wine"_s);
}

void TestSettingsDialog::theBackgroundBetweenTheGroupsIsTheThemes_data()
{
    theLabelsAreOnOneLineWithTheirFields_data();
}

void TestSettingsDialog::theBackgroundBetweenTheGroupsIsTheThemes()
{
    QFETCH(const ZelTheme::Mode, mode);
    open(mode); // without the theme's palette
    const QImage corner = pictureOf(fields->scrollArea->widget(), QRect(1, 1, 1, 1));
    QCOMPARE(corner.pixelColor(0, 0),
             mode == ZelTheme::Mode::Dark ? QColor(0x1a, 0x1a, 0x2e) : QColor(0xf5, 0xf5, 0xf7));
}

void TestSettingsDialog::aCheckBoxShowsItsBox_data()
{
    theLabelsAreOnOneLineWithTheirFields_data();
}

void TestSettingsDialog::aCheckBoxShowsItsBox()
{
    QFETCH(const ZelTheme::Mode, mode);
    open(mode);
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

void TestSettingsDialog::spinAndComboBoxesShowTheirArrows_data()
{
    theLabelsAreOnOneLineWithTheirFields_data();
}

void TestSettingsDialog::spinAndComboBoxesShowTheirArrows()
{
    QFETCH(const ZelTheme::Mode, mode);
    open(mode);
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

    // They are where a click works.
    const int value = spin->value();
    QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 12, half / 2 + 2));
    QCOMPARE(spin->value(), value + 1);
    QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 12, half + half / 2 - 2));
    QCOMPARE(spin->value(), value);
}

void TestSettingsDialog::theSpinBoxHasNoStrayLinesInLightMode()
{
    open(ZelTheme::Mode::Light);
    QSpinBox *spin = fields->channels;
    const QImage picture = pictureOf(spin, spin->rect());
    // Left of the arrows and between them there is nothing but the field's white.
    for (int x = spin->width() - 40; x < spin->width() - 4; ++x) {
        QCOMPARE(picture.pixelColor(x, spin->height() / 2), QColor(Qt::white));
    }
    for (int y = 4; y < spin->height() - 4; ++y) {
        QCOMPARE(picture.pixelColor(spin->width() - 24, y), QColor(Qt::white));
    }
}

void TestSettingsDialog::theSlidersHandleIsWhole_data()
{
    theLabelsAreOnOneLineWithTheirFields_data();
}

void TestSettingsDialog::theSlidersHandleIsWhole()
{
    QFETCH(const ZelTheme::Mode, mode);
    open(mode);
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
    // As high as it is wide, with a border of one pixel around.
    QCOMPARE(bottom - top + 1, 16);
    QVERIFY(top >= 1);
    QVERIFY(bottom <= slider->height() - 2);
    const QColor border(0x88, 0xb0, 0xff);
    QVERIFY(shows(picture.copy(0, top - 1, picture.width(), 1), border));
    QVERIFY(shows(picture.copy(0, bottom + 1, picture.width(), 1), border));
    QVERIFY(qAbs(top - (slider->height() - 1 - bottom)) <= 1);
}

void TestSettingsDialog::aFieldShowsThatItHasTheFocus_data()
{
    enterAccepts_data();
}

void TestSettingsDialog::aFieldShowsThatItHasTheFocus()
{
    QFETCH(const QByteArray, group);
    QFETCH(const int, row);
    QWidget *field = fields->rowWidgets(group, row).first();
    fields->clientDir->setFocus(Qt::TabFocusReason);
    fields->scrollArea->ensureWidgetVisible(field);
    const QImage before = pictureOf(field, field->rect());
    field->setFocus(Qt::TabFocusReason);
    QVERIFY(pictureOf(field, field->rect()) != before);
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
    // A desktop that wants pictures, as most do.
    const auto restore = qScopeGuard([] { ZelTheme::apply(application(), ZelTheme::Mode::Dark); });
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

void TestSettingsDialog::everyPictureOfTheSheetExists()
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

void TestSettingsDialog::theSheetLeavesOtherWindowsAlone()
{
    QVERIFY(application().styleSheet() == ZelTheme::globalStyleSheet(ZelTheme::Mode::Dark));
    const QRegularExpression general(
        u"(^|[},])\\s*Q(ComboBox|SpinBox|PushButton|Widget)\\b(?!#)"_s);
    QVERIFY(!dialog->styleSheet().contains(general)); // its choosers and boxes inherit the sheet
}

void TestSettingsDialog::withoutThePicturesTheStyleSheetIsEmpty()
{
    Q_CLEANUP_RESOURCE(indicators);
    const auto restore = qScopeGuard([] { Q_INIT_RESOURCE(indicators); });
    open(); // a warning fails the test
    QCOMPARE(dialog->styleSheet(), QString());
    dialog->grab();
    QVERIFY(fields->ok->isVisible());
}

ZEL_GUI_TEST_MAIN(TestSettingsDialog)

#include "tst_settingsdialog.moc"
