#pragma once

#include <QMainWindow>
#include <QProcess>

class PatchManager;
class QFrame;
class QLabel;
class QLayout;
class QProgressBar;
class QPushButton;

/// The launcher's only top-level window: the game's picture above a bar with the buttons, the
/// update's progress and a status line. Fixed at 960 by 724 pixels.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(QWidget *parent = nullptr);
    /// Kills the game if it is still running.
    ~MainWindow() override;

private slots:
    void onPlay();
    void onOpenSettings();
    void onCancel();
    void onPatchStatus(const QString &message);
    void onPatchProgress(int percent);
    void onPatchFinished(bool success, const QString &message);
    void onProcessFinished(int exitCode, QProcess::ExitStatus status);

private:
    void setupUi();
    void loadBackground();
    void refreshUi();
    void setBusy(bool nowBusy, const QString &text);
    void launchGame();
    bool prepareClientFiles(QString *error);

    QLayout *createButtonRow();
    void setProgress(int percent);
    void onUpdateResult(bool success, const QString &message);

    QLabel *backgroundLabel = nullptr;
    QFrame *bottomFrame = nullptr;
    QLabel *statusLabel = nullptr;
    QLabel *footerLabel = nullptr;
    QProgressBar *progressBar = nullptr;
    QProgressBar *progressBarLead = nullptr;
    QPushButton *playButton = nullptr;
    QPushButton *settingsButton = nullptr;
    QPushButton *cancelButton = nullptr;
    PatchManager *patchManager = nullptr;
    QProcess *process = nullptr;
    bool busy = false;
};
