#include "client/ConfigBin.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <array>

#include "client/Files.h"

namespace
{

constexpr qsizetype wordCount = 15;
constexpr qsizetype fileSize = wordCount * qsizetype(sizeof(qint16));

/// Index of each word. Word 5 has no field: it is kept, but -1 is written for 0.
enum Word : qsizetype {
    HeaderValue = 0,
    Resolution = 1,
    ModelQuality = 2,
    SoundLevel = 3,
    MusicLevel = 4,
    ClientOwned = 5,
    Brightness = 6,
    Cursor = 7,
    IntroVideo = 8,
    Windowed = 9,
    AuxValue = 10,
    CameraRotation = 11,
    DxtTextures = 12,
    KeyLayout = 13,
    CameraView = 14,
};

/// The words to write for @p cfg.
QList<short> wordsOf(const ClientConfig &cfg)
{
    QList<short> words = cfg.raw;
    if (words.size() != wordCount) {
        words.fill(0, wordCount);
    }
    // The client treats 0 here as unset.
    if (words[ClientOwned] == 0) {
        words[ClientOwned] = -1;
    }

    words[HeaderValue] = cfg.headerValue;
    words[Resolution] = cfg.resolution;
    words[ModelQuality] = std::clamp<qint16>(cfg.modelQuality, 1, 3);
    words[SoundLevel] = std::clamp<qint16>(cfg.soundLevel, 0, 200);
    words[MusicLevel] = std::clamp<qint16>(cfg.musicLevel, 0, 200);
    words[Brightness] = std::clamp<qint16>(cfg.brightness, 0, 100);
    words[Cursor] = cfg.cursor;
    words[IntroVideo] = cfg.introVideo != 0 ? 1 : 0;
    words[Windowed] = cfg.windowed ? 1 : 0;
    words[AuxValue] = cfg.auxValue;
    words[CameraRotation] = cfg.cameraRotation ? 1 : 0;
    words[DxtTextures] = cfg.dxtTextures ? 0 : 1;
    words[KeyLayout] = cfg.keyLayout;
    words[CameraView] = cfg.cameraView;
    return words;
}

int percentFromLevel(int level)
{
    return level < 1 ? 0 : std::clamp(level - 99, 1, 100);
}

int levelFromPercent(int percent)
{
    return percent < 1 ? 0 : std::min(percent, 101) + 99; // clamp first: the sum could overflow
}

} // namespace

bool ConfigBin::load(const QString &path, ClientConfig *cfg, QString *error)
{
    if (cfg == nullptr) {
        return Files::fail(error, QStringLiteral("Config invalido."));
    }
    if (!QFileInfo::exists(path)) {
        *cfg = ClientConfig();
        cfg->raw = wordsOf(*cfg);
        return true;
    }

    QFile file(path);
    if (!Files::open(file, QIODevice::ReadOnly)) {
        return Files::fail(error, QStringLiteral("Nao foi possivel abrir %1").arg(path));
    }
    const QByteArray bytes = file.readAll();
    if (bytes.size() != fileSize) {
        return Files::fail(error,
                           QStringLiteral("Config.bin invalido (%1 bytes, esperado %2).")
                               .arg(QString::number(bytes.size()), QString::number(fileSize)));
    }

    std::array<qint16, wordCount> words{};
    qFromLittleEndian<qint16>(bytes.constData(), wordCount, words.data());
    cfg->raw = QList<short>(words.begin(), words.end());

    cfg->headerValue = words[HeaderValue];
    cfg->resolution = words[Resolution];
    cfg->modelQuality = words[ModelQuality];
    cfg->soundLevel = words[SoundLevel];
    cfg->musicLevel = words[MusicLevel];
    cfg->brightness = words[Brightness];
    cfg->cursor = words[Cursor];
    cfg->introVideo = words[IntroVideo];
    cfg->windowed = words[Windowed] != 0;
    cfg->auxValue = words[AuxValue];
    // The client rotates the camera only for values above 0, unlike its other switches.
    cfg->cameraRotation = words[CameraRotation] > 0;
    // The client stores "no DXT", so 0 means on.
    cfg->dxtTextures = words[DxtTextures] == 0;
    cfg->keyLayout = words[KeyLayout];
    cfg->cameraView = words[CameraView];
    return true;
}

bool ConfigBin::save(const QString &path, const ClientConfig &cfg, QString *error)
{
    const QList<short> words = wordsOf(cfg);
    QByteArray bytes(fileSize, Qt::Uninitialized);
    qToLittleEndian<qint16>(words.constData(), wordCount, bytes.data());
    return Files::write(path, bytes, error);
}

int ConfigBin::soundPercentFromLevel(int level)
{
    return percentFromLevel(level);
}

int ConfigBin::soundLevelFromPercent(int percent)
{
    return levelFromPercent(percent);
}

int ConfigBin::musicPercentFromLevel(int level)
{
    return percentFromLevel(level);
}

int ConfigBin::musicLevelFromPercent(int percent)
{
    return levelFromPercent(percent);
}

QList<ResolutionEntry> ConfigBin::resolutionEntries()
{
    return {
        {1, QStringLiteral("640 x 480")},    {2, QStringLiteral("800 x 600")},
        {3, QStringLiteral("1024 x 768")},   {4, QStringLiteral("1280 x 720")},
        {5, QStringLiteral("1280 x 800")},   {6, QStringLiteral("1280 x 960")},
        {7, QStringLiteral("1280 x 1024")},  {8, QStringLiteral("1440 x 900")},
        {9, QStringLiteral("1600 x 900")},   {10, QStringLiteral("1600 x 1024")},
        {11, QStringLiteral("1600 x 1080")}, // Deliberate: the client says 1600, not 1920.
    };
}

QString ConfigBin::resolutionLabel(int code)
{
    const QList<ResolutionEntry> entries = resolutionEntries();
    const auto entry = std::find_if(entries.cbegin(), entries.cend(),
                                    [code](const ResolutionEntry &e) { return e.code == code; });
    return entry != entries.cend() ? entry->label : QStringLiteral("Personalizado (%1)").arg(code);
}
