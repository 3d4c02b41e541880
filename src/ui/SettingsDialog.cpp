#include "ui/SettingsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFile>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include "client/ClientSync.h"
#include "client/ConfigBin.h"
#include "settings/LauncherSettings.h"
#include "ui/FieldWidgets.h"
#include "ui/MessageBox.h"
#include "ui/ZelTheme.h"

using namespace FieldWidgets;

namespace
{

constexpr int maxChannels = 10;
constexpr int maxCameraView = 3;
/// Leaves room for the handle, which is taller than the groove.
constexpr int sliderHeight = 24;

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

/// A volume of 0 is shown as mute, unlike a brightness of 0.
QString volumeSuffix(int volume)
{
    return volume == 0 ? QStringLiteral(" (mudo)") : percentSuffix();
}

/// The widest text beside a slider; it gives all sliders the same width.
QString widestValue()
{
    return QString::number(0) + volumeSuffix(0);
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

/// Selects the item whose data is @p value, if there is one.
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
    loadFromSettings();
}

void SettingsDialog::setupUi()
{
    applyIndicatorStyle();

    // Create each widget with its final parent: reparenting repeats style-sheet polishing.
    auto *layout = new QVBoxLayout(this);
    scrollArea = new QScrollArea(this);
    scrollArea->setWidgetResizable(true);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setFocusPolicy(Qt::NoFocus); // only its fields take part in the tab order
    layout->addWidget(scrollArea, 1);

    auto *content = new QWidget;
    scrollArea->setWidget(content);
    content->setAutoFillBackground(false); // show the scroll area's background
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
    buttons->button(QDialogButtonBox::Ok)->setDefault(true); // otherwise the first "..." is
}

void SettingsDialog::fillClientGroup(QFormLayout *form)
{
    QWidget *group = form->parentWidget();
    // The order of creation is the tab order.
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
    brightnessLabel = createValueLabel(group, widestValue());

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
    effectsLabel = createValueLabel(group, widestValue());
    musicSlider = createSlider(group);
    musicLabel = createValueLabel(group, widestValue());

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
    // The item data are the values in "Config.bin", not the indexes.
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

/// Restores the indicators of check boxes, spin boxes and combo boxes, which the global style sheet
/// hides, and sets a clear button that is visible in both modes. Does nothing in a program that was
/// built without the images.
void SettingsDialog::applyIndicatorStyle()
{
    if (!QFile::exists(QStringLiteral(":/indicators/check.png"))) {
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
    image: url(:/indicators/check.png);
}
QCheckBox:disabled { color: #8484a0; }
QCheckBox::indicator:checked:disabled { background: #8484a0; border-color: #8484a0; }
QComboBox#ZelInput::drop-down { border: none; width: 28px; }
QComboBox#ZelInput::down-arrow { image: url(:/indicators/down.png); width: 12px; height: 12px; }
QSpinBox#ZelInput::up-button { border: none; width: 18px; margin: 3px 3px 0 0; }
QSpinBox#ZelInput::down-button { border: none; width: 18px; margin: 0 3px 3px 0; }
QSpinBox#ZelInput::up-arrow { image: url(:/indicators/up.png); width: 12px; height: 12px; }
QSpinBox#ZelInput::down-arrow { image: url(:/indicators/down.png); width: 12px; height: 12px; }
QLineEdit { lineedit-clear-button-icon: url(:/indicators/clear.png); }
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
    // The client treats 1 as the system's cursor, too.
    selectData(cursorCombo, config.cursor == 1 ? 0 : config.cursor);
    selectData(keyboardCombo, config.keyLayout);
    cameraViewSpin->setValue(config.cameraView);
    cameraRotationCheck->setChecked(config.cameraRotation);
    dxtCheck->setChecked(config.dxtTextures);
    introVideoCheck->setChecked(config.introVideo != 0);

    brightnessSlider->setValue(config.brightness);
    effectsSlider->setValue(ConfigBin::soundPercentFromLevel(config.soundLevel));
    musicSlider->setValue(ConfigBin::musicPercentFromLevel(config.musicLevel));
    // A slider that already has the value emits no valueChanged(): set the labels here.
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

    // Options that the dialog does not show keep their values.
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

/// Searches for Wine again and selects @p preferredPath, or the current path if that is empty. A
/// path that was not found is added as an item.
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
        const int index = WineDiscovery::indexOfPath(wineInstallations, target);
        if (index >= 0) {
            wineCombo->setCurrentIndex(index);
        } else if (!target.isEmpty()) {
            wineCombo->addItem(QStringLiteral("Personalizado (%1)").arg(target), target);
            wineCombo->setCurrentIndex(wineCombo->count() - 1);
            currentWinePath = target;
        } else if (wineCombo->count() > 0) {
            wineCombo->setCurrentIndex(0);
        }
    }
    // Signals were blocked; apply the selection here.
    onWineSelectionChanged(wineCombo->currentIndex());
}

QString SettingsDialog::selectedWinePath() const
{
    return wineCombo->currentIndex() < 0 ? currentWinePath : wineCombo->currentData().toString();
}

/// Shows a slider's value beside it.
void SettingsDialog::setSliderWithLabel(QSlider * /*slider*/, QLabel *label, int value,
                                        const QString &suffix)
{
    label->setText(QString::number(value) + suffix);
}

void SettingsDialog::onBrowseClientDir()
{
    const QString dir =
        QFileDialog::getExistingDirectory(this, clientDirTitle(), clientDirEdit->text());
    if (dir.isEmpty()) {
        return;
    }
    clientDirEdit->setText(dir);
    LauncherSettings &settings = LauncherSettings::instance();
    settings.clientDir = dir;
    settings.importFromClientFiles();

    // Deliberate: the game options on screen are not replaced by those of the new folder.
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
        this, QStringLiteral("Executavel do jogo"), clientDirEdit->text(),
        QStringLiteral("Executavel (*.exe);;Todos (*)"));
    if (!path.isEmpty()) {
        clientExeEdit->setText(path);
    }
}

void SettingsDialog::onBrowseWine()
{
    const QString path =
        QFileDialog::getOpenFileName(this, QStringLiteral("Executavel do Wine"), selectedWinePath(),
                                     QStringLiteral("Todos (*)"));
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
