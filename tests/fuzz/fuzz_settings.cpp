// The input is the launcher's settings file, as a user or a failing disk may leave it. It always
// loads, and what was loaded survives a save.

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#include "FuzzTarget.h"
#include "settings/LauncherSettings.h"
#include "support/TestMain.h"

using Fuzz::require;

namespace
{

/// The settings library reads a file again only when its size or time of change differ, so every
/// writer here moves the clock on.
void touchSettings()
{
    static qint64 seconds = 1'000'000'000;
    QFile file(TestEnvironment::settingsFile());
    require(file.open(QIODevice::ReadWrite) &&
                file.setFileTime(QDateTime::fromSecsSinceEpoch(++seconds),
                                 QFileDevice::FileModificationTime),
            "the settings file is there");
}

/// The saved fields but the client folder, as text.
QStringList fields(const LauncherSettings &s)
{
    return {s.clientExe,  s.winePath,    QString::number(s.useWine),      s.patchBaseUrl,
            s.serverName, s.serverIp,    QString::number(s.channelCount), s.websiteUrl,
            s.newsUrl,    s.localVersion};
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    static LauncherSettings &settings = LauncherSettings::instance();
    static const QString emptyFolder = [] {
        const QString folder = Fuzz::path(QStringLiteral("client"));
        require(QDir().mkpath(folder), "the client folder is made");
        require(QDir().mkpath(QFileInfo(TestEnvironment::settingsFile()).path()),
                "the settings folder is made");
        return folder;
    }();

    // A value in the library's own serialised form is the library's to read, who believes any
    // length that it announces. The launcher writes none.
    if (input.contains("@Variant(") || input.contains("@DateTime(")) {
        return;
    }

    Fuzz::writeFile(TestEnvironment::settingsFile(), input);
    touchSettings();
    settings.load();
    require(settings.channelCount >= 1 && settings.channelCount <= 10,
            "there are 1 to 10 channels");
    require(!settings.clientDir.isEmpty(), "the launcher's own folder stands in for none");

    // Half a surrogate pair is no character and does not survive the way through UTF-8.
    const QString loadedDir = settings.clientDir;
    const QStringList loadedFields = fields(settings);
    if (!loadedDir.isValidUtf16() ||
        !std::all_of(loadedFields.begin(), loadedFields.end(),
                     [](const QString &text) { return text.isValidUtf16(); })) {
        return;
    }

    settings.save();
    touchSettings();
    settings.load();
    require(settings.clientDir == loadedDir, "the client folder survives a save");

    settings.clientDir = emptyFolder;
    settings.clientExe = loadedFields[0];
    settings.save();
    touchSettings();
    settings.load();
    require(settings.clientDir == emptyFolder && fields(settings) == loadedFields,
            "every field survives a save");
}
