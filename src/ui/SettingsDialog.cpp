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
/// Characters of a Wine entry that must fit; a long path is cut instead of widening the dialog.
constexpr int wineComboLength = 20;

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
    QSize sizeHint() const override
    {
        const int widest = fontMetrics().horizontalAdvance(QString::number(0) + volumeSuffix(0));
        return QLabel::sizeHint().expandedTo({widest, 0});
    }
};

/// A list of labels that may be far longer than the box: they are cut in the middle, and the list
/// opens as wide as they are.
class PathComboBox : public QComboBox
{
public:
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

QLineEdit *createLineEdit(ZelTheme::InputStyle style = ZelTheme::InputStyle::Default)
{
    auto *edit = new QLineEdit;
    ZelTheme::styleLineEdit(edit, style);
    if (auto *clearButton = edit->findChild<QToolButton *>()) {
        clearButton->setAccessibleName(QStringLiteral("Limpar"));
    }
    return edit;
}

template<typename ComboBox = QComboBox> ComboBox *createComboBox(const QString &description)
{
    auto *combo = guarded(new ComboBox);
    combo->setAccessibleDescription(description);
    ZelTheme::styleComboBox(combo);
    return combo;
}

QSpinBox *createSpinBox(int minimum, int maximum)
{
    auto *spin = guarded(new QSpinBox);
    spin->setRange(minimum, maximum);
    ZelTheme::styleSpinBox(spin);
    return spin;
}

QSlider *createSlider()
{
    auto *slider = guarded(new QSlider(Qt::Horizontal));
    slider->setRange(0, 100);
    return slider;
}

/// @p path as a place for a chooser to start at. Nothing can start at one with a NUL.
QString startPath(const QString &path)
{
    return path.contains(QChar::Null) ? QString() : path;
}

QPushButton *createBrowseButton(const QString &purpose, const QString &description)
{
    auto *button = new QPushButton(QStringLiteral("..."));
    button->setFixedWidth(browseButtonWidth);
    button->setAccessibleName(purpose);
    button->setAccessibleDescription(description);
    return button;
}

/// Adds a group box and returns the layout of its rows.
QFormLayout *addGroup(QVBoxLayout *groups, const QString &title)
{
    auto *group = new QGroupBox(title);
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
    auto *label = new QLabel(text);
    label->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    label->setBuddy(chief);
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
    loadFromSettings();
}

void SettingsDialog::setupUi()
{
    useMarks();

    // From the outside in: a widget is styled anew whenever one that holds it gets a parent.
    auto *layout = new QVBoxLayout(this);
    scrollArea = new QScrollArea;
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

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsDialog::onAccept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    layout->addWidget(buttons);
    buttons->button(QDialogButtonBox::Ok)->setDefault(true); // else it is the first "..."
}

void SettingsDialog::fillClientGroup(QFormLayout *form)
{
    clientDirEdit = createLineEdit(ZelTheme::InputStyle::Path);
    clientExeEdit = createLineEdit(ZelTheme::InputStyle::Path);
    wineCombo = createComboBox<PathComboBox>(QStringLiteral("Wine que inicia o jogo"));
    wineCombo->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    wineCombo->setMinimumContentsLength(wineComboLength);
    refreshWineButton = new QPushButton(QStringLiteral("Buscar"));
    refreshWineButton->setCursor(Qt::PointingHandCursor);
    useWineCheck = new QCheckBox(QStringLiteral("Usar Wine no Linux"));
    auto *browseDir = createBrowseButton(clientDirTitle(), QStringLiteral("Escolher a pasta"));
    auto *browseExe = createBrowseButton(QStringLiteral("Executavel do jogo"),
                                         QStringLiteral("Escolher o arquivo"));
    auto *browseWine = createBrowseButton(QStringLiteral("Executavel do Wine"),
                                          QStringLiteral("Escolher o arquivo"));

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
    serverNameEdit = createLineEdit();
    serverIpEdit = createLineEdit();
    channelSpin = createSpinBox(1, maxChannels);
    channelHintLabel = new QLabel(
        QStringLiteral("Cada canal e uma linha no serverlist.txt com o mesmo IP (max. %1).")
            .arg(maxChannels));
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
    resolutionCombo = createComboBox(QStringLiteral("Largura e altura da imagem do jogo"));
    for (const ResolutionEntry &entry : ConfigBin::resolutionEntries()) {
        resolutionCombo->addItem(entry.label, entry.code);
    }
    windowModeCheck = new QCheckBox(QStringLiteral("Modo janela"));
    brightnessSlider = createSlider();
    brightnessLabel = new ValueLabel;

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
    effectsSlider = createSlider();
    effectsLabel = new ValueLabel;
    musicSlider = createSlider();
    musicLabel = new ValueLabel;

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
    // The data are the client's own values, not the items' positions.
    modelQualityCombo = createComboBox(QStringLiteral("Detalhe dos modelos do jogo"));
    modelQualityCombo->addItem(QStringLiteral("Baixa"), 1);
    modelQualityCombo->addItem(QStringLiteral("Media"), 2);
    modelQualityCombo->addItem(QStringLiteral("Alta"), 3);
    cursorCombo = createComboBox(QStringLiteral("Ponteiro do mouse no jogo"));
    cursorCombo->addItem(QStringLiteral("Personalizado do jogo"), 2);
    cursorCombo->addItem(QStringLiteral("Padrao do sistema"), 0);
    keyboardCombo = createComboBox(QStringLiteral("Teclas que o jogo usa"));
    keyboardCombo->addItem(QStringLiteral("Teclas ZEL"), 0);
    keyboardCombo->addItem(QStringLiteral("Teclas alternativas"), 1);
    cameraViewSpin = createSpinBox(0, maxCameraView);
    cameraRotationCheck = new QCheckBox(QStringLiteral("Rotacao de camera"));
    dxtCheck = new QCheckBox(QStringLiteral("Texturas DXT (melhor desempenho)"));
    introVideoCheck = new QCheckBox(QStringLiteral("Reproduzir video de abertura"));

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
    patchUrlEdit = createLineEdit();
    websiteEdit = createLineEdit();
    newsEdit = createLineEdit();

    addRow(form, QStringLiteral("URL base do patch"), patchUrlEdit);
    addRow(form, QStringLiteral("Site"), websiteEdit);
    addRow(form, QStringLiteral("Noticias (URL)"), newsEdit);
}

/// Gives check boxes, spin boxes and combo boxes back the marks that the global style sheet takes
/// from them. The pictures are part of the program; without them everything stays as it is.
void SettingsDialog::useMarks()
{
    if (!QFile::exists(QStringLiteral(":/marks/check.png"))) {
        return;
    }
    setStyleSheet(QStringLiteral(R"(
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
