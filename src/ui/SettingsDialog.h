#pragma once

#include <QDialog>
#include <QList>
#include <QString>

#include "wine/WineDiscovery.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;
class QScrollArea;
class QSlider;
class QSpinBox;

/// The modal dialog in which the user edits the launcher's settings and the client's options.
///
/// Shows what LauncherSettings holds at construction; OK stores the fields, saves the settings and
/// writes the client's files. Choosing a client folder imports that folder's server settings at
/// once, in memory; Cancel does not undo that.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    /// Blocks for the search for Wine, up to 2000 ms.
    explicit SettingsDialog(QWidget *parent = nullptr);

private slots:
    void onBrowseClientDir();
    void onBrowseClientExe();
    void onBrowseWine();
    void onRefreshWine();
    void onWineSelectionChanged(int index);
    void onAccept();

private:
    void setupUi();
    void loadFromSettings();
    void saveToSettings();
    void refreshWineInstallations(const QString &preferredPath);
    QString selectedWinePath() const;
    static void setSliderWithLabel(QSlider *slider, QLabel *label, int value,
                                   const QString &suffix);

    void fillClientGroup(QFormLayout *form);
    void fillServerGroup(QFormLayout *form);
    void fillVideoGroup(QFormLayout *form);
    void fillAudioGroup(QFormLayout *form);
    void fillGameGroup(QFormLayout *form);
    void fillPatchGroup(QFormLayout *form);
    void applyIndicatorStyle();

    QScrollArea *scrollArea = nullptr;
    QLineEdit *clientDirEdit = nullptr;
    QLineEdit *clientExeEdit = nullptr;
    QComboBox *wineCombo = nullptr;
    QPushButton *refreshWineButton = nullptr;
    QCheckBox *useWineCheck = nullptr;
    QLineEdit *patchUrlEdit = nullptr;
    QLineEdit *serverNameEdit = nullptr;
    QLineEdit *serverIpEdit = nullptr;
    QSpinBox *channelSpin = nullptr;
    QLabel *channelHintLabel = nullptr;
    QComboBox *resolutionCombo = nullptr;
    QCheckBox *windowModeCheck = nullptr;
    QSlider *brightnessSlider = nullptr;
    QLabel *brightnessLabel = nullptr;
    QSlider *effectsSlider = nullptr;
    QLabel *effectsLabel = nullptr;
    QSlider *musicSlider = nullptr;
    QLabel *musicLabel = nullptr;
    QComboBox *modelQualityCombo = nullptr;
    QComboBox *cursorCombo = nullptr;
    QComboBox *keyboardCombo = nullptr;
    QSpinBox *cameraViewSpin = nullptr;
    QCheckBox *cameraRotationCheck = nullptr;
    QCheckBox *dxtCheck = nullptr;
    QCheckBox *introVideoCheck = nullptr;
    QLineEdit *websiteEdit = nullptr;
    QLineEdit *newsEdit = nullptr;
    QList<WineInstallation> wineInstallations; ///< Result of the last search.
    QString currentWinePath;                   ///< The selected Wine; kept when wineCombo is empty.
};
