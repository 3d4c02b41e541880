#include "app/MainWindow.h"

#include <QFileInfo>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "patch/PatchManager.h"
#include "settings/LauncherSettings.h"
#include "ui/MessageBox.h"
#include "ui/SettingsDialog.h"

namespace
{

constexpr QSize pictureSize(960, 592);
constexpr int barHeight = 132;
/// Percentage points that the lower progress bar runs ahead of the upper one.
constexpr int progressLead = 8;
constexpr int processStartTimeoutMs = 5000;

QString launcherTitle()
{
    return QStringLiteral("ZEL Launcher");
}

QString updateTitle()
{
    return QStringLiteral("Atualizacao");
}

/// The grey bevel of the window's buttons, the same in every theme mode.
QString classicButtonStyle(int fontPx, int minWidthPx)
{
    const QString sheet = QStringLiteral(R"(
QPushButton {
    color: #ffffff;
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1,
        stop:0 #8a8a8a, stop:0.45 #5e5e5e, stop:1 #3a3a3a);
    border: 1px solid #d8d8d8;
    border-radius: 2px;
    font-size: %1px;
    font-weight: 700;
    padding: 6px 12px;
}
QPushButton:hover {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1,
        stop:0 #a0a0a0, stop:0.45 #707070, stop:1 #4a4a4a);
}
QPushButton:pressed {
    background: qlineargradient(x1:0, y1:0, x2:0, y2:1, stop:0 #4a4a4a, stop:1 #2a2a2a);
    border-color: #aaaaaa;
}
QPushButton:disabled { background: #3a3a3a; color: #888888; border-color: #555555; }
)");
    return sheet.arg(fontPx) + QStringLiteral(" QPushButton { min-width: %1px; }").arg(minWidthPx);
}

QPushButton *createButton(QWidget *parent, const QString &text, int width, int fontPx)
{
    auto *button = new QPushButton(text, parent);
    // The style sheet's minimum width excludes padding and border, so the button is drawn wider.
    button->setFixedSize(width, 54);
    button->setCursor(Qt::PointingHandCursor);
    button->setStyleSheet(classicButtonStyle(fontPx, width));
    return button;
}

QProgressBar *createProgressBar(QWidget *parent)
{
    auto *bar = new QProgressBar(parent);
    bar->setRange(0, 100);
    bar->setTextVisible(false);
    bar->setFixedHeight(12);
    bar->setStyleSheet(QStringLiteral(R"(
QProgressBar {
    background-color: #101018;
    border: 1px solid #4a4a58;
    border-radius: 0px;
    min-height: 12px;
    max-height: 12px;
}
QProgressBar::chunk {
    background: qlineargradient(x1:0, y1:0, x2:1, y2:0,
        stop:0 #1a3a6a, stop:0.5 #3a6aaa, stop:1 #1a3a6a);
    margin: 1px;
}
)"));
    return bar;
}

/// @p word quoted as a single word for the shell.
QString shellQuote(const QString &word)
{
    QString escaped = word;
    escaped.replace(u'\'', QLatin1String(R"('\'')"));
    return u'\'' + escaped + u'\'';
}

/// Runs in the child before exec. QProcess would buffer the game's output in memory; redirecting
/// both channels with setStandardOutputFile() would drop ReadOnly from the open mode.
void silenceOutput()
{
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ::dup2(null, STDOUT_FILENO);
    ::dup2(null, STDERR_FILENO);
}

} // namespace

MainWindow::MainWindow(QWidget *parent)
    : QMainWindow(parent)
    , patchManager(new PatchManager(this))
    , process(new QProcess(this))
{
    process->setChildProcessModifier(silenceOutput);

    setWindowTitle(launcherTitle());
    setFixedSize(pictureSize.width(), pictureSize.height() + barHeight);
    setupUi();
    loadBackground();
    refreshUi();

    connect(patchManager, &PatchManager::statusChanged, this, &MainWindow::onPatchStatus);
    connect(patchManager, &PatchManager::progressChanged, this, &MainWindow::onPatchProgress);
    connect(patchManager, &PatchManager::finished, this, &MainWindow::onPatchFinished);
    connect(process, &QProcess::finished, this, &MainWindow::onProcessFinished);
}

MainWindow::~MainWindow()
{
    // Disconnect first: finished() must not reach a window being destroyed. End the child too, or
    // ~QProcess prints a warning.
    process->disconnect();
    if (process->state() != QProcess::NotRunning) {
        process->kill();
        process->waitForFinished();
    }
}

void MainWindow::setupUi()
{
    // Create each widget with its final parent: reparenting repeats style-sheet polishing.
    auto *root = new QWidget(this);
    root->setObjectName(QStringLiteral("LauncherRoot"));
    root->setStyleSheet(QStringLiteral("QWidget#LauncherRoot { background-color: #000000; }"));
    setCentralWidget(root);

    backgroundLabel = new QLabel(root);
    backgroundLabel->setFixedSize(pictureSize);
    backgroundLabel->setScaledContents(true);
    backgroundLabel->setAccessibleName(QStringLiteral("Imagem do jogo"));
    backgroundLabel->setAccessibleDescription(QStringLiteral("Launcher.bmp da pasta do cliente"));

    bottomFrame = new QFrame(root);
    bottomFrame->setObjectName(QStringLiteral("LauncherBottom"));
    bottomFrame->setFixedHeight(barHeight);
    bottomFrame->setStyleSheet(QStringLiteral("QFrame#LauncherBottom {  background-color: #080808;"
                                              "  border-top: 1px solid #2a2a2a;}"));

    auto *rootLayout = new QVBoxLayout(root);
    rootLayout->setContentsMargins(0, 0, 0, 0);
    rootLayout->setSpacing(0);
    rootLayout->addWidget(backgroundLabel);
    rootLayout->addWidget(bottomFrame);

    auto *bottomLayout = new QVBoxLayout(bottomFrame);
    bottomLayout->setContentsMargins(14, 10, 14, 6);
    bottomLayout->setSpacing(6);
    bottomLayout->addLayout(createButtonRow());

    statusLabel = new QLabel(QStringLiteral("Pronto para iniciar."), bottomFrame);
    statusLabel->setTextFormat(Qt::PlainText);
    statusLabel->setStyleSheet(
        QStringLiteral("color: #9a9a9a; font-size: 11px; background: transparent;"));
    bottomLayout->addWidget(statusLabel);

    footerLabel = new QLabel(QStringLiteral("ZEL Launcher - Orvandale"), bottomFrame);
    footerLabel->setAlignment(Qt::AlignCenter);
    footerLabel->setStyleSheet(
        QStringLiteral("color: #666666; font-size: 9px; background: transparent;"));
    bottomLayout->addWidget(footerLabel);

    connect(playButton, &QPushButton::clicked, this, &MainWindow::onPlay);
    connect(settingsButton, &QPushButton::clicked, this, &MainWindow::onOpenSettings);
    connect(cancelButton, &QPushButton::clicked, this, &MainWindow::onCancel);
}

/// The buttons, with the progress bars between them.
QLayout *MainWindow::createButtonRow()
{
    playButton = createButton(bottomFrame, QStringLiteral("Iniciar"), 136, 17);
    progressBar = createProgressBar(bottomFrame);
    progressBar->setAccessibleName(QStringLiteral("Progresso da atualizacao"));
    progressBar->setAccessibleDescription(QStringLiteral("Quanto ja foi baixado, em porcentagem"));
    progressBarLead = createProgressBar(bottomFrame);
    progressBarLead->setAccessibleName(QStringLiteral("Progresso da atualizacao, adiantado"));
    progressBarLead->setAccessibleDescription(QStringLiteral("Um pouco a frente da outra barra"));
    settingsButton = createButton(bottomFrame, QStringLiteral("Configuracao"), 112, 12);
    cancelButton = createButton(bottomFrame, QStringLiteral("Cancelar"), 96, 12);

    auto *bars = new QVBoxLayout;
    bars->setSpacing(8);
    bars->addWidget(progressBar);
    bars->addWidget(progressBarLead);

    auto *row = new QHBoxLayout;
    row->setSpacing(12);
    row->addWidget(playButton);
    row->addLayout(bars, 1);
    row->addWidget(settingsButton);
    row->addWidget(cancelButton);
    return row;
}

void MainWindow::loadBackground()
{
    const QString path = LauncherSettings::instance().launcherBmpPath();
    const QPixmap picture(path);
    if (picture.isNull()) {
        backgroundLabel->setPixmap(QPixmap());
        backgroundLabel->setStyleSheet(QStringLiteral("background-color: #000000;"));
        statusLabel->setText(QStringLiteral("Launcher.bmp nao encontrado: ") + path);
        return;
    }
    // Keep the picture sharp on a scaled display: 960 by 592 are device-independent pixels.
    const qreal ratio = devicePixelRatio();
    QPixmap scaled =
        picture.scaled(pictureSize * ratio, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    scaled.setDevicePixelRatio(ratio);
    backgroundLabel->setPixmap(scaled);
}

void MainWindow::refreshUi()
{
    const LauncherSettings &settings = LauncherSettings::instance();
    statusLabel->setText(QStringLiteral("%1  |  %2  |  Versao %3")
                             .arg(settings.serverName, settings.serverIp, settings.localVersion));
}

void MainWindow::setBusy(bool nowBusy, const QString &text)
{
    busy = nowBusy;
    playButton->setEnabled(!busy);
    settingsButton->setEnabled(!busy);
    if (!text.isEmpty()) {
        statusLabel->setText(text);
    }
}

void MainWindow::setProgress(int percent)
{
    progressBar->setValue(percent);
    progressBarLead->setValue(percent);
}

void MainWindow::onPatchStatus(const QString &message)
{
    statusLabel->setText(message);
}

void MainWindow::onPatchProgress(int percent)
{
    progressBar->setValue(percent);
    // The lower bar runs ahead of the upper one on purpose; both reach 100 together.
    progressBarLead->setValue(std::min(percent + progressLead, 100));
}

void MainWindow::onPlay()
{
    if (busy) {
        return;
    }
    const LauncherSettings &settings = LauncherSettings::instance();
    QString error;
    if (!settings.syncServerFilesOnly(&error)) {
        MessageBox::warning(this, launcherTitle(), error);
        return;
    }
    const QString exe = settings.resolvedClientExe();
    if (!QFileInfo::exists(exe)) {
        MessageBox::warning(this, launcherTitle(),
                            QStringLiteral("Executavel nao encontrado:\n") + exe);
        return;
    }
    if (settings.patchBaseUrl.isEmpty()) {
        launchGame();
        return;
    }

    setBusy(true, QStringLiteral("Verificando atualizacoes..."));
    patchManager->clientDir = settings.clientDir;
    patchManager->baseUrl = settings.patchBaseUrl;
    connect(patchManager, &PatchManager::finished, this, &MainWindow::onUpdateResult,
            Qt::SingleShotConnection);
    patchManager->checkAndUpdate();
}

/// Continues "Iniciar" after the update check: starts the game, or asks first if the update failed.
void MainWindow::onUpdateResult(bool success, const QString &message)
{
    // This disconnects onPatchFinished() too, on purpose: only the window's first check shows its
    // result in a box.
    disconnect(patchManager, &PatchManager::finished, this, nullptr);

    if (success) {
        statusLabel->setText(message);
        launchGame();
        return;
    }
    if (MessageBox::ask(this, updateTitle(),
                        message + QStringLiteral("\n\nDeseja iniciar mesmo assim?"))) {
        launchGame();
        return;
    }
    setBusy(false, QStringLiteral("Atualizacao cancelada."));
    setProgress(0);
}

void MainWindow::onPatchFinished(bool success, const QString &message)
{
    if (success) {
        setProgress(100);
    }
    statusLabel->setText(message);
    refreshUi(); // replaces the message, which the box below shows
    if (process->state() != QProcess::NotRunning) {
        return;
    }
    setBusy(false, QString());

    const bool isSwitchedOff = message.contains(QLatin1String("desativada"), Qt::CaseInsensitive);
    const bool isCancelled = message.contains(QLatin1String("cancelada"), Qt::CaseInsensitive);
    if (success && !isSwitchedOff) {
        MessageBox::information(this, updateTitle(), message);
    } else if (!success && !isSwitchedOff && !isCancelled) {
        MessageBox::warning(this, updateTitle(), message);
    }
}

void MainWindow::launchGame()
{
    const LauncherSettings &settings = LauncherSettings::instance();
    const QString exe = settings.resolvedClientExe();
    const QString workDir = QFileInfo(exe).absolutePath();

    QString program = exe;
    QStringList arguments;
    if (settings.useWine) {
        // A login shell reads the user's profile, which may set Wine variables. With exec the
        // process watched here is Wine itself.
        program = QStringLiteral("/bin/bash");
        arguments = {
            QStringLiteral("-lc"),
            QStringLiteral("cd %1 && exec %2 %3")
                .arg(shellQuote(workDir), shellQuote(settings.resolvedWine()), shellQuote(exe))};
    }
    process->setWorkingDirectory(workDir);
    process->setProgram(program);
    process->setArguments(arguments);
    process->start(QIODevice::ReadWrite);
    if (!process->waitForStarted(processStartTimeoutMs)) {
        MessageBox::warning(this, launcherTitle(),
                            QStringLiteral("Nao foi possivel iniciar o cliente:\n") + program);
        setBusy(false, QStringLiteral("Falha ao iniciar o jogo."));
        return;
    }
    setBusy(true, QStringLiteral("Jogo em execucao..."));
}

bool MainWindow::prepareClientFiles(QString *error)
{
    return LauncherSettings::instance().syncServerFilesOnly(error);
}

void MainWindow::onProcessFinished(int exitCode, QProcess::ExitStatus status)
{
    Q_UNUSED(status) // a crash is reported like a normal exit
    setBusy(false, QStringLiteral("Jogo encerrado (codigo %1).").arg(exitCode));
    setProgress(0);
}

void MainWindow::onCancel()
{
    if (busy && process->state() != QProcess::NotRunning) {
        if (!MessageBox::ask(
                this, launcherTitle(),
                QStringLiteral("O jogo esta em execucao. Deseja encerrar o launcher?"))) {
            return;
        }
    }
    close();
}

void MainWindow::onOpenSettings()
{
    SettingsDialog dialog(this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    loadBackground();
    refreshUi();
}
