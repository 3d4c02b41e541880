#include "ui/SettingsDialog.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QEvent>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QStyleOptionComboBox>
#include <QStylePainter>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

#include "client/ClientSync.h"
#include "client/ConfigBin.h"
#include "settings/LauncherSettings.h"
#include "ui/MessageBox.h"
#include "ui/ZelTheme.h"

namespace
{

constexpr int maxChannels = 10;
constexpr int maxCameraView = 3;
constexpr int browseButtonWidth = 36;
/// What the handle of a slider needs: the groove and what it stands out above and below it.
constexpr int sliderHeight = 24;
/// Characters that a combo box must have room for.
constexpr int comboLength = 20;

QString dialogTitle()
{
    return QStringLiteral("Configuracoes");
}

QString clientDirTitle()
{
    return QStringLiteral("Pasta do cliente");
}

QString percentSuffix()
{
    return QStringLiteral("%");
}

/// A volume of 0 is told as mute, unlike a brightness of 0.
QString volumeSuffix(int volume)
{
    return volume == 0 ? QStringLiteral(" (mudo)") : percentSuffix();
}

/// The value beside a slider. As wide as its widest text, so that all sliders end at the same place
/// and keep their width while they move.
class ValueLabel : public QLabel
{
public:
    using QLabel::QLabel;

    QSize sizeHint() const override
    {
        const int widest = fontMetrics().horizontalAdvance(QString::number(0) + volumeSuffix(0));
        return QLabel::sizeHint().expandedTo({widest, 0});
    }
};

/// A list whose labels, paths among them, may be far longer than the box: the form alone decides
/// how wide the box is, the labels are cut in the middle, and the list opens as wide as they are.
class FieldComboBox : public QComboBox
{
public:
    using QComboBox::QComboBox;

    QSize sizeHint() const override { return minimumSizeHint(); }

    void showPopup() override
    {
        const int room = 2 * view()->style()->pixelMetric(QStyle::PM_ScrollBarExtent);
        const int wanted = view()->sizeHintForColumn(0) + room;
        view()->setMinimumWidth(std::clamp(wanted, width(), screen()->availableSize().width()));
        QComboBox::showPopup();
    }

protected:
    void paintEvent(QPaintEvent * /*event*/) override
    {
        QStyleOptionComboBox option;
        initStyleOption(&option);
        QStylePainter painter(this);
        painter.drawComplexControl(QStyle::CC_ComboBox, option);
        const int space =
            style()
                ->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this)
                .width();
        option.currentText = fontMetrics().elidedText(option.currentText, Qt::ElideMiddle, space);
        painter.drawControl(QStyle::CE_ComboBoxLabel, option);
    }
};

/// Keeps the wheel from changing a field that the user only scrolls past: without the focus the
/// field passes it on to the scroll area.
class WheelGuard : public QObject
{
public:
    using QObject::QObject;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::Wheel || static_cast<QWidget *>(watched)->hasFocus()) {
            return false;
        }
        event->ignore();
        return true;
    }
};

/// Puts @p field under a WheelGuard, and lets the wheel no longer give it the focus.
template<typename Field> Field *guarded(Field *field)
{
    field->setFocusPolicy(Qt::StrongFocus);
    field->installEventFilter(new WheelGuard(field));
    return field;
}

QLineEdit *createLineEdit(QWidget *parent,
                          ZelTheme::InputStyle style = ZelTheme::InputStyle::Default)
{
    auto *edit = new QLineEdit(parent);
    ZelTheme::styleLineEdit(edit, style);
    if (auto *clearButton = edit->findChild<QToolButton *>()) {
        clearButton->setAccessibleName(QStringLiteral("Limpar"));
    }
    return edit;
}

QComboBox *createComboBox(QWidget *parent, const QString &description)
{
    auto *combo = guarded(new FieldComboBox(parent));
    combo->setMinimumContentsLength(comboLength);
    combo->setAccessibleDescription(description);
    ZelTheme::styleComboBox(combo);
    return combo;
}

QSpinBox *createSpinBox(QWidget *parent, int minimum, int maximum)
{
    auto *spin = guarded(new QSpinBox(parent));
    spin->setRange(minimum, maximum);
    ZelTheme::styleSpinBox(spin);
    return spin;
}

QSlider *createSlider(QWidget *parent)
{
    auto *slider = guarded(new QSlider(Qt::Horizontal, parent));
    slider->setRange(0, 100);
    return slider;
}

/// @p path as a place for a chooser to start at. Nothing can start at one with a NUL.
QString startPath(const QString &path)
{
    return path.contains(QChar::Null) ? QString() : path;
}

QPushButton *createBrowseButton(QWidget *parent, const QString &purpose, const QString &description)
{
    auto *button = new QPushButton(QStringLiteral("..."), parent);
    button->setFixedWidth(browseButtonWidth);
    button->setAccessibleName(purpose);
    button->setAccessibleDescription(description);
    return button;
}

/// Adds a group box and returns the layout of its rows.
QFormLayout *addGroup(QVBoxLayout *groups, const QString &title)
{
    auto *group = new QGroupBox(title, groups->parentWidget());
    groups->addWidget(group);
    auto *form = new QFormLayout(group);
    form->setHorizontalSpacing(12);
    return form;
}

/// Adds a label and its field, or a layout whose chief field is @p chief. The label is as tall as
/// the row, so that the two are on one line.
template<typename Field>
void addRow(QFormLayout *form, const QString &text, Field *field, QWidget *chief)
{
    auto *label = new QLabel(text, form->parentWidget());
    label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    label->setBuddy(chief);
    label->stackUnder(chief); // a screen reader reads them in this order
    form->addRow(label, field);
}

void addRow(QFormLayout *form, const QString &text, QWidget *field)
{
    addRow(form, text, field, field);
}

/// Adds @p field in the column of the fields.
void addRow(QFormLayout *form, QWidget *field)
{
    form->addRow(QString(), field);
}

/// A row whose first widget takes all the width that the others leave.
QHBoxLayout *createFieldRow(std::initializer_list<QWidget *> widgets)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(8);
    for (QWidget *widget : widgets) {
        row->addWidget(widget, row->count() == 0 ? 1 : 0);
    }
    return row;
}

QHBoxLayout *makeSliderRow(QSlider *slider, QLabel *label)
{
    slider->setStyleSheet(QStringLiteral(R"(
QSlider::groove:horizontal {
    height: 8px;
    background: #2a2a42;
    border: 1px solid #454560;
    border-radius: 4px;
}
QSlider::handle:horizontal {
    width: 16px;
    margin: -5px 0;
    background: #5b8def;
    border: 1px solid #88b0ff;
    border-radius: 8px;
}
QSlider::sub-page:horizontal { background: #4a6090; border-radius: 4px; }
)"));
    slider->setMinimumWidth(220);
    slider->setMinimumHeight(sliderHeight);
    label->setMinimumWidth(48);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return createFieldRow({slider, label});
}

/// Makes the item that carries @p value current, if there is one.
void selectData(QComboBox *combo, int value)
{
    const int index = combo->findData(value);
    if (index >= 0) {
        combo->setCurrentIndex(index);
    }
}

qint16 currentData(const QComboBox *combo)
{
    return qint16(combo->currentData().toInt());
}

} // namespace

SettingsDialog::SettingsDialog(QWidget *parent)
    : QDialog(parent)
{
    setWindowTitle(dialogTitle());
    setMinimumSize(620, 640);
    setAttribute(Qt::WA_StyledBackground);
    setupUi();
    ensurePolished();
    loadFromSettings();
}

void SettingsDialog::setupUi()
{
    useMarks();

    // From the outside in, each widget made inside the one that holds it: it would be styled anew
    // if it, or one that holds it, got a parent later.
    auto *layout = new QVBoxLayout(this);
    scrollArea = new QScrollArea(this);
    scrollArea->setWidgetResizable(true);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setFocusPolicy(Qt::NoFocus); // its fields are what the user moves through
    layout->addWidget(scrollArea, 1);

    auto *content = new QWidget;
    scrollArea->setWidget(content);
    content->setAutoFillBackground(false); // the scroll area's own background shows
    auto *groups = new QVBoxLayout(content);
    fillClientGroup(addGroup(groups, QStringLiteral("Cliente")));
    fillServerGroup(addGroup(groups, QStringLiteral("Servidor")));
    fillVideoGroup(addGroup(groups, QStringLiteral("Video")));
    fillAudioGroup(addGroup(groups, QStringLiteral("Audio")));
    fillGameGroup(addGroup(groups, QStringLiteral("Jogo")));
    fillPatchGroup(addGroup(groups, QStringLiteral("Patch / Links")));
    groups->addStretch(1);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::onAccept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    layout->addWidget(buttons);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true); // else it is the first "..."
}

void SettingsDialog::fillClientGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    // In the order of the rows, which is the order of the tab key.
    clientDirEdit = createLineEdit(group, ZelTheme::InputStyle::Path);
    auto *browseDir =
        createBrowseButton(group, clientDirTitle(), QStringLiteral("Escolher a pasta"));
    clientExeEdit = createLineEdit(group, ZelTheme::InputStyle::Path);
    auto *browseExe = createBrowseButton(group, QStringLiteral("Executavel do jogo"),
                                         QStringLiteral("Escolher o arquivo"));
    wineCombo = createComboBox(group, QStringLiteral("Wine que inicia o jogo"));
    refreshWineButton = new QPushButton(QStringLiteral("Buscar"), group);
    refreshWineButton->setCursor(Qt::PointingHandCursor);
    auto *browseWine = createBrowseButton(group, QStringLiteral("Executavel do Wine"),
                                          QStringLiteral("Escolher o arquivo"));
    useWineCheck = new QCheckBox(QStringLiteral("Usar Wine no Linux"), group);

    addRow(form, clientDirTitle(), createFieldRow({clientDirEdit, browseDir}), clientDirEdit);
    addRow(form, QStringLiteral("Executavel"), createFieldRow({clientExeEdit, browseExe}),
           clientExeEdit);
    addRow(form, QStringLiteral("Wine"), createFieldRow({wineCombo, refreshWineButton, browseWine}),
           wineCombo);
    addRow(form, useWineCheck);

    connect(browseDir, &QPushButton::clicked, this, &SettingsDialog::onBrowseClientDir);
    connect(browseExe, &QPushButton::clicked, this, &SettingsDialog::onBrowseClientExe);
    connect(browseWine, &QPushButton::clicked, this, &SettingsDialog::onBrowseWine);
    connect(refreshWineButton, &QPushButton::clicked, this, &SettingsDialog::onRefreshWine);
    connect(wineCombo, &QComboBox::currentIndexChanged, this,
            &SettingsDialog::onWineSelectionChanged);
}

void SettingsDialog::fillServerGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    serverNameEdit = createLineEdit(group);
    serverIpEdit = createLineEdit(group);
    channelSpin = createSpinBox(group, 1, maxChannels);
    channelHintLabel = new QLabel(
        QStringLiteral("Cada canal e uma linha no serverlist.txt com o mesmo IP (max. %1).")
            .arg(maxChannels),
        group);
    channelSpin->setAccessibleDescription(channelHintLabel->text());
    channelHintLabel->setWordWrap(true);
    channelHintLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    channelHintLabel->setStyleSheet(QStringLiteral("color: #a0a0b8; font-size: 11px;"));

    addRow(form, QStringLiteral("Nome exibido"), serverNameEdit);
    addRow(form, QStringLiteral("IP do servidor"), serverIpEdit);
    addRow(form, QStringLiteral("Canais"), channelSpin);
    addRow(form, channelHintLabel);
}

void SettingsDialog::fillVideoGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    resolutionCombo = createComboBox(group, QStringLiteral("Largura e altura da imagem do jogo"));
    for (const ResolutionEntry &entry : ConfigBin::resolutionEntries()) {
        resolutionCombo->addItem(entry.label, entry.code);
    }
    windowModeCheck = new QCheckBox(QStringLiteral("Modo janela"), group);
    brightnessSlider = createSlider(group);
    brightnessLabel = new ValueLabel(group);

    addRow(form, QStringLiteral("Resolucao"), resolutionCombo);
    addRow(form, windowModeCheck);
    addRow(form, QStringLiteral("Brilho"), makeSliderRow(brightnessSlider, brightnessLabel),
           brightnessSlider);

    connect(brightnessSlider, &QSlider::valueChanged, this, [this](int value) {
        setSliderWithLabel(brightnessSlider, brightnessLabel, value, percentSuffix());
    });
}

void SettingsDialog::fillAudioGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    effectsSlider = createSlider(group);
    effectsLabel = new ValueLabel(group);
    musicSlider = createSlider(group);
    musicLabel = new ValueLabel(group);

    addRow(form, QStringLiteral("Efeitos"), makeSliderRow(effectsSlider, effectsLabel),
           effectsSlider);
    addRow(form, QStringLiteral("Musica"), makeSliderRow(musicSlider, musicLabel), musicSlider);

    connect(effectsSlider, &QSlider::valueChanged, this, [this](int value) {
        setSliderWithLabel(effectsSlider, effectsLabel, value, volumeSuffix(value));
    });
    connect(musicSlider, &QSlider::valueChanged, this, [this](int value) {
        setSliderWithLabel(musicSlider, musicLabel, value, volumeSuffix(value));
    });
}

void SettingsDialog::fillGameGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    // The data are the client's own values, not the items' positions.
    modelQualityCombo = createComboBox(group, QStringLiteral("Detalhe dos modelos do jogo"));
    modelQualityCombo->addItem(QStringLiteral("Baixa"), 1);
    modelQualityCombo->addItem(QStringLiteral("Media"), 2);
    modelQualityCombo->addItem(QStringLiteral("Alta"), 3);
    cursorCombo = createComboBox(group, QStringLiteral("Ponteiro do mouse no jogo"));
    cursorCombo->addItem(QStringLiteral("Personalizado do jogo"), 2);
    cursorCombo->addItem(QStringLiteral("Padrao do sistema"), 0);
    keyboardCombo = createComboBox(group, QStringLiteral("Teclas que o jogo usa"));
    keyboardCombo->addItem(QStringLiteral("Teclas ZEL"), 0);
    keyboardCombo->addItem(QStringLiteral("Teclas alternativas"), 1);
    cameraViewSpin = createSpinBox(group, 0, maxCameraView);
    cameraRotationCheck = new QCheckBox(QStringLiteral("Rotacao de camera"), group);
    dxtCheck = new QCheckBox(QStringLiteral("Texturas DXT (melhor desempenho)"), group);
    introVideoCheck = new QCheckBox(QStringLiteral("Reproduzir video de abertura"), group);

    addRow(form, QStringLiteral("Qualidade de modelos"), modelQualityCombo);
    addRow(form, QStringLiteral("Cursor"), cursorCombo);
    addRow(form, QStringLiteral("Teclado"), keyboardCombo);
    addRow(form, QStringLiteral("Visao da camera"), cameraViewSpin);
    addRow(form, cameraRotationCheck);
    addRow(form, dxtCheck);
    addRow(form, introVideoCheck);
}

void SettingsDialog::fillPatchGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    patchUrlEdit = createLineEdit(group);
    websiteEdit = createLineEdit(group);
    newsEdit = createLineEdit(group);

    addRow(form, QStringLiteral("URL base do patch"), patchUrlEdit);
    addRow(form, QStringLiteral("Site"), websiteEdit);
    addRow(form, QStringLiteral("Noticias (URL)"), newsEdit);
}

/// Gives check boxes, spin boxes and combo boxes back the marks that the global style sheet takes
/// from them, gives the clear buttons one that suits both modes, and leaves the standard buttons to
/// their words. The pictures are part of the program; without them everything stays as it is.
void SettingsDialog::useMarks()
{
    if (!QFile::exists(QStringLiteral(":/marks/check.png"))) {
        return;
    }
    setStyleSheet(MessageBox::buttonSheet() + QStringLiteral(R"(
QCheckBox:focus, QSlider:focus { background: rgba(91, 141, 239, 0.2); border-radius: 4px; }
QCheckBox::indicator {
    width: 16px;
    height: 16px;
    border: 1px solid #8484a0;
    border-radius: 4px;
}
QCheckBox::indicator:hover { border-color: #5b8def; }
QCheckBox::indicator:checked {
    background: #4577dd;
    border-color: #4577dd;
    image: url(:/marks/check.png);
}
QCheckBox:disabled { color: #8484a0; }
QCheckBox::indicator:checked:disabled { background: #8484a0; border-color: #8484a0; }
QComboBox#ZelInput::drop-down { border: none; width: 28px; }
QComboBox#ZelInput::down-arrow { image: url(:/marks/down.png); width: 12px; height: 12px; }
QSpinBox#ZelInput::up-button { border: none; width: 18px; margin: 3px 3px 0 0; }
QSpinBox#ZelInput::down-button { border: none; width: 18px; margin: 0 3px 3px 0; }
QSpinBox#ZelInput::up-arrow { image: url(:/marks/up.png); width: 12px; height: 12px; }
QSpinBox#ZelInput::down-arrow { image: url(:/marks/down.png); width: 12px; height: 12px; }
QLineEdit { lineedit-clear-button-icon: url(:/marks/clear.png); }
)"));
}

void SettingsDialog::loadFromSettings()
{
    const LauncherSettings &settings = LauncherSettings::instance();
    clientDirEdit->setText(settings.clientDir);
    clientExeEdit->setText(settings.clientExe);
    currentWinePath = settings.winePath;
    refreshWineInstallations(currentWinePath.isEmpty() ? settings.resolvedWine() : currentWinePath);
    useWineCheck->setChecked(settings.useWine);
    patchUrlEdit->setText(settings.patchBaseUrl);
    serverNameEdit->setText(settings.serverName);
    serverIpEdit->setText(settings.serverIp);
    channelSpin->setValue(settings.channelCount);
    websiteEdit->setText(settings.websiteUrl);
    newsEdit->setText(settings.newsUrl);

    const ClientConfig &config = settings.clientConfig;
    selectData(resolutionCombo, config.resolution);
    windowModeCheck->setChecked(config.windowed);
    selectData(modelQualityCombo, config.modelQuality);
    // The client takes a cursor of 1 for the system's as well.
    selectData(cursorCombo, config.cursor == 1 ? 0 : config.cursor);
    selectData(keyboardCombo, config.keyLayout);
    cameraViewSpin->setValue(config.cameraView);
    cameraRotationCheck->setChecked(config.cameraRotation);
    dxtCheck->setChecked(config.dxtTextures);
    introVideoCheck->setChecked(config.introVideo != 0);

    brightnessSlider->setValue(config.brightness);
    effectsSlider->setValue(ConfigBin::soundPercentFromLevel(config.soundLevel));
    musicSlider->setValue(ConfigBin::musicPercentFromLevel(config.musicLevel));
    // A slider that had its value already told its label nothing.
    const int brightness = brightnessSlider->value();
    const int effects = effectsSlider->value();
    const int music = musicSlider->value();
    setSliderWithLabel(brightnessSlider, brightnessLabel, brightness, percentSuffix());
    setSliderWithLabel(effectsSlider, effectsLabel, effects, volumeSuffix(effects));
    setSliderWithLabel(musicSlider, musicLabel, music, volumeSuffix(music));
}

void SettingsDialog::saveToSettings()
{
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = clientDirEdit->text().trimmed();
    settings.clientExe = clientExeEdit->text().trimmed();
    settings.winePath = selectedWinePath();
    settings.useWine = useWineCheck->isChecked();
    settings.patchBaseUrl = patchUrlEdit->text().trimmed();
    settings.serverName = serverNameEdit->text().trimmed();
    settings.serverIp = serverIpEdit->text().trimmed();
    settings.channelCount = ClientSync::clampChannelCount(channelSpin->value());
    settings.websiteUrl = websiteEdit->text().trimmed();
    settings.newsUrl = newsEdit->text().trimmed();

    // What the dialog does not show is carried over.
    ClientConfig config = settings.clientConfig;
    config.resolution = currentData(resolutionCombo);
    config.windowed = windowModeCheck->isChecked();
    config.modelQuality = currentData(modelQualityCombo);
    config.soundLevel = qint16(ConfigBin::soundLevelFromPercent(effectsSlider->value()));
    config.musicLevel = qint16(ConfigBin::musicLevelFromPercent(musicSlider->value()));
    config.brightness = qint16(brightnessSlider->value());
    config.cursor = currentData(cursorCombo);
    config.keyLayout = currentData(keyboardCombo);
    config.cameraView = qint16(cameraViewSpin->value());
    config.cameraRotation = cameraRotationCheck->isChecked();
    config.dxtTextures = dxtCheck->isChecked();
    config.introVideo = introVideoCheck->isChecked() ? 1 : 0;
    settings.clientConfig = config;

    settings.save();
    QString error;
    if (!settings.syncClientFiles(&error)) {
        MessageBox::warning(
            this, dialogTitle(),
            QStringLiteral("Preferencias salvas, mas falhou ao gravar arquivos do cliente:\n%1")
                .arg(error));
    }
}

/// Fills the list of Wines anew and selects @p preferredPath, the current one without it. A path
/// that was not found becomes an item of its own.
void SettingsDialog::refreshWineInstallations(const QString &preferredPath)
{
    {
        const QSignalBlocker blocker(wineCombo);
        wineCombo->clear();
        wineInstallations = WineDiscovery::discover();
        for (const WineInstallation &wine : std::as_const(wineInstallations)) {
            wineCombo->addItem(wine.label, wine.path);
        }

        QString target = preferredPath;
        if (target.isEmpty()) {
            target = currentWinePath;
        }
        if (target.isEmpty()) {
            target = LauncherSettings::instance().resolvedWine();
        }
        int index = WineDiscovery::indexOfPath(wineInstallations, target);
        if (index < 0 && !target.isEmpty()) {
            wineCombo->addItem(QStringLiteral("Personalizado (%1)").arg(target), target);
            currentWinePath = target;
            index = wineCombo->count() - 1;
        }
        wineCombo->setCurrentIndex(index < 0 && wineCombo->count() > 0 ? 0 : index);
    }
    // The blocked signal's work.
    onWineSelectionChanged(wineCombo->currentIndex());
}

QString SettingsDialog::selectedWinePath() const
{
    return wineCombo->currentIndex() < 0 ? currentWinePath : wineCombo->currentData().toString();
}

/// Tells a slider's value beside it.
void SettingsDialog::setSliderWithLabel(QSlider * /*slider*/, QLabel *label, int value,
                                        const QString &suffix)
{
    label->setText(QString::number(value) + suffix);
}

void SettingsDialog::onBrowseClientDir()
{
    const QString dir =
        QFileDialog::getExistingDirectory(this, clientDirTitle(), startPath(clientDirEdit->text()));
    if (dir.isEmpty()) {
        return;
    }
    clientDirEdit->setText(dir);
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = dir;
    settings.importFromClientFiles();

    // The game's options on screen are the user's and stay.
    if (!settings.serverName.isEmpty()) {
        serverNameEdit->setText(settings.serverName);
    }
    if (!settings.serverIp.isEmpty()) {
        serverIpEdit->setText(settings.serverIp);
    }
    channelSpin->setValue(settings.channelCount);
}

void SettingsDialog::onBrowseClientExe()
{
    const QString path = QFileDialog::getOpenFileName(
        this, QStringLiteral("Executavel do jogo"), startPath(clientDirEdit->text()),
        QStringLiteral("Executavel (*.exe);;Todos (*)"));
    if (!path.isEmpty()) {
        clientExeEdit->setText(path);
    }
}

void SettingsDialog::onBrowseWine()
{
    const QString path =
        QFileDialog::getOpenFileName(this, QStringLiteral("Executavel do Wine"),
                                     startPath(selectedWinePath()), QStringLiteral("Todos (*)"));
    if (!path.isEmpty()) {
        refreshWineInstallations(path);
    }
}

void SettingsDialog::onRefreshWine()
{
    refreshWineInstallations(selectedWinePath());
}

void SettingsDialog::onWineSelectionChanged(int index)
{
    if (index >= 0) {
        currentWinePath = wineCombo->itemData(index).toString();
    }
}

void SettingsDialog::onAccept()
{
    saveToSettings();
    accept();
}
