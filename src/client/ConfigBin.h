#pragma once

#include <QList>
#include <QString>
#include <QtGlobal>

/// The client's options as "Config.bin" holds them. A default-constructed record holds the
/// values of a client that was never configured.
struct ClientConfig {
    qint16 headerValue = 7000;   ///< Word 0; not shown to the user.
    qint16 resolution = 3;       ///< Word 1; a ResolutionEntry code or any other value.
    bool windowed = true;        ///< Word 9.
    qint16 modelQuality = 2;     ///< Word 2; 1 low, 2 medium, 3 high.
    qint16 soundLevel = 0;       ///< Word 3; 0 mute, else 100..199 for 1..100 %.
    qint16 musicLevel = 0;       ///< Word 4; like soundLevel.
    qint16 brightness = 57;      ///< Word 6; percent, 0..100.
    qint16 cursor = 2;           ///< Word 7; 2 the game's own, 0 the system's.
    qint16 introVideo = 1;       ///< Word 8; any value but 0 plays the video.
    qint16 auxValue = 1;         ///< Word 10; not shown to the user.
    bool cameraRotation = false; ///< Word 11.
    bool dxtTextures = true;     ///< Word 12, inverted in the file.
    qint16 keyLayout = 0;        ///< Word 13; 0 the game's keys, 1 the alternative ones.
    qint16 cameraView = 1;       ///< Word 14; 0..3.
    /// The 15 words as last loaded; empty in a record that was never loaded. save() takes the
    /// words that have no field of their own from here.
    QList<short> raw;
};

/// A screen resolution that the client offers. The label is display text only.
struct ResolutionEntry {
    int code = 0; ///< Value of word 1.
    QString label;
};

/// Reads and writes "Config.bin": 30 bytes, 15 signed 16-bit little-endian words.
class ConfigBin
{
public:
    /// Fills @p cfg from the file at @p path. A missing file is not an error: it gives the
    /// defaults, and nothing is written to disk. Values are taken as stored, without clamping.
    ///
    /// Returns false and sets @p error (which may be null) when @p cfg is null, the file cannot
    /// be opened or its size is not 30 bytes; @p cfg is then untouched.
    static bool load(const QString &path, ClientConfig *cfg, QString *error = nullptr);

    /// Writes @p cfg to @p path, clamping the model quality (1..3), both volume levels (0..200)
    /// and the brightness (0..100). The existing file is not read.
    ///
    /// Returns false and sets @p error (which may be null) when the file cannot be opened or
    /// written whole; a failed write may leave a truncated file.
    static bool save(const QString &path, const ClientConfig &cfg, QString *error = nullptr);

    /// Effects volume in percent, 0..100, of a stored level. Levels below 1 are mute.
    static int soundPercentFromLevel(int level);
    /// Stored level, 0 or 100..200, of an effects volume in percent. 200 results only
    /// from more than 100 %.
    static int soundLevelFromPercent(int percent);
    /// Music volume in percent, converted like soundPercentFromLevel().
    static int musicPercentFromLevel(int level);
    /// Stored music level, converted like soundLevelFromPercent().
    static int musicLevelFromPercent(int percent);

    /// The eleven resolutions that the client knows, in the order of their codes.
    static QList<ResolutionEntry> resolutionEntries();
    /// Display text of a resolution code; "Personalizado (%1)" for one outside the table.
    static QString resolutionLabel(int code);
};
