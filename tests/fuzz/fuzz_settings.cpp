// The input is the launcher's settings file, perhaps damaged. It must always load, and the loaded
// values must survive a save.

#include <algorithm>

#include "FuzzTarget.h"
#include "support/files/Settings.h"

using namespace Qt::StringLiterals;
using Fuzz::require;

namespace
{

/// The saved fields but the client folder, as text.
QStringList fields(const LauncherSettings &s)
{
    return {s.clientExe,  s.winePath,    QString::number(s.useWine),      s.patchBaseUrl,
            s.serverName, s.serverIp,    QString::number(s.channelCount), s.websiteUrl,
            s.newsUrl,    s.localVersion};
}

void saveAndLoad()
{
    settings().save();
    touchSettings();
    settings().load();
}

} // namespace

void fuzzOne(const QByteArray &input)
{
    // QSettings trusts the lengths in values serialised by QDataStream. The launcher writes no such
    // values.
    if (input.contains("@Variant(") || input.contains("@DateTime(")) {
        return;
    }

    writeSettings(input);
    settings().load();
    require(settings().channelCount >= 1 && settings().channelCount <= 10,
            "there are 1 to 10 channels");
    require(!settings().clientDir.isEmpty(), "the launcher's own folder stands in for none");

    // A lone surrogate does not survive the conversion to UTF-8.
    const QString loadedDir = settings().clientDir;
    const QStringList loadedFields = fields(settings());
    if (!loadedDir.isValidUtf16() ||
        !std::all_of(loadedFields.begin(), loadedFields.end(),
                     [](const QString &text) { return text.isValidUtf16(); })) {
        return;
    }

    saveAndLoad();
    require(settings().clientDir == loadedDir, "the client folder survives a save");

    const QString emptyFolder = Fuzz::path(u"client"_s);
    Disk::makeFolder(emptyFolder);
    settings().clientDir = emptyFolder;
    settings().clientExe = loadedFields[0];
    saveAndLoad();
    require(settings().clientDir == emptyFolder && fields(settings()) == loadedFields,
            "every field survives a save");
}
