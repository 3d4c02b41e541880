#include "zel-manifest/CommandLine.h"

#include <QDir>

#include "zel-manifest/Manifest.h"
#include "zel-manifest/Text.h"

namespace
{

const char *const usage = R"(Usage: zel-manifest [options] --patch-version TEXT FOLDER
       zel-manifest [options] --base-url URL [FOLDER]
)";

const char *const description = R"(
Turns FOLDER into a patch for the ZEL launcher: writes the manifest.json that
lists all files in it, to be published by a web server together with them.

With --base-url, checks a published patch instead: fetches its manifest and all
files listed there as the launcher would, and compares their sizes and SHA-256
digests. If FOLDER is given, the published manifest must be the one in it.
Warns of other faults in the server's answers. Writes nothing.)";

const char *const epilogue = R"(
What the launcher does with the version:
  The launcher downloads all listed files at every start, whatever the version,
  and then stores the version as the installed one. If no file is listed, it
  only stores the version.
  An empty version (--allow-empty-version) is stored only if no file is listed;
  otherwise the launcher keeps the installed version.

What a base leaves out:
  With --base or --base-manifest, files that are equal in the base are not
  listed. Give the manifests of all releases since then with --since: a file
  that changed and now equals the base again must be listed for their players.

Exit codes:
  0  the manifest is written; or, with --base-url, the published patch is right
  1  refused: FOLDER holds something that cannot be published
  2  wrong usage
  3  something could not be read or written
  4  with --base-url: a published file, the manifest or its signature is wrong,
     or with --strict an answer has a fault
  5  with --base-url: no manifest could be fetched, or with --key no signature
With any other code than 0, an older manifest is unchanged.
)";

} // namespace

CommandLine::CommandLine()
{
    parser.setApplicationDescription(QString::fromLatin1(description));
    parser.addOptions(
        {patchVersion, exclude,       excludeFrom, base,      baseManifest,      since,
         fixCase,      warnSize,      output,      urlPrefix, allowEmptyVersion, dryRun,
         baseUrl,      manifestName,  key,         strict,    timeout,           quiet,
         help,         programVersion});
    parser.addPositionalArgument(QStringLiteral("FOLDER"),
                                 QStringLiteral("The folder with the files of the patch."));
}

Options CommandLine::read(const QStringList &arguments, QString *error)
{
    Options options;
    const bool parsed = parser.parse(arguments);
    options.quiet = parser.isSet(quiet);
    if (!parsed) {
        *error = parser.errorText();
        return options;
    }
    if (parser.isSet(help) || parser.isSet(programVersion)) {
        options.task = Options::ShowText;
        options.text =
            parser.isSet(help) ? helpText() : QStringLiteral("zel-manifest " ZEL_VERSION "\n");
        return options;
    }
    const QStringList folders = parser.positionalArguments();
    if (folders.size() > 1) {
        *error = QStringLiteral("one folder at a time: %1 is too much").arg(quoted(folders.at(1)));
        return options;
    }
    options.folder = folders.value(0);
    options.manifest = parser.isSet(output)
                           ? parser.value(output)
                           : QDir(options.folder).filePath(QStringLiteral("manifest.json"));
    if (parser.isSet(baseUrl)) {
        readChecking(&options, error);
    } else {
        readPublishing(&options, error);
    }
    return options;
}

void CommandLine::readPublishing(Options *options, QString *error) const
{
    if (options->folder.isEmpty()) {
        *error = QStringLiteral("which folder?");
        return;
    }
    for (const QCommandLineOption &option : {manifestName, key, strict, timeout}) {
        if (parser.isSet(option)) {
            *error = QStringLiteral("--%1 is for --base-url").arg(option.names().constFirst());
            return;
        }
    }
    options->dryRun = parser.isSet(dryRun);
    options->version = parser.value(patchVersion);
    if (options->version.isEmpty() && !parser.isSet(allowEmptyVersion)) {
        *error = QStringLiteral("the version is empty; give one with --patch-version (or "
                                "--allow-empty-version if you know what the launcher then does)");
        return;
    }
    if (options->version.contains(QChar::ReplacementCharacter)) {
        *error = QStringLiteral("the version is not UTF-8");
        return;
    }
    const QStringList patterns = parser.values(exclude);
    for (const QString &pattern : patterns) {
        options->excludes.append(ExcludePattern(pattern));
        if (!options->excludes.constLast().isValid()) {
            *error = QStringLiteral("%1 is no pattern for --exclude").arg(quoted(pattern));
            return;
        }
    }
    options->excludeFiles = parser.values(excludeFrom);
    if (parser.isSet(warnSize)) {
        bool isNumber = false;
        options->warnSize = parser.value(warnSize).toInt(&isNumber);
        if (!isNumber || options->warnSize < 0) {
            *error = QStringLiteral("--warn-size takes a whole number of MiB");
            return;
        }
    }
    if (parser.isSet(urlPrefix)) {
        QString path = parser.value(urlPrefix);
        if (!path.endsWith(u'/')) {
            path += u'/';
        }
        const QStringList names = path.chopped(1).split(u'/');
        if (names.contains(QString()) || names.contains(QStringLiteral(".")) ||
            names.contains(QStringLiteral(".."))) {
            *error = QStringLiteral("%1 is no path of a folder below the base URL")
                         .arg(quoted(parser.value(urlPrefix)));
            return;
        }
        options->urlPrefix = Manifest::urlOf(path.toUtf8());
    }
    readBase(options, error);
}

void CommandLine::readBase(Options *options, QString *error) const
{
    // An empty name, such as that of an unset variable, must not list everything.
    for (const QCommandLineOption &option : {base, baseManifest, since}) {
        if (parser.values(option).contains(QString())) {
            *error = QStringLiteral("--%1 has an empty name").arg(option.names().constFirst());
            return;
        }
    }
    options->base = parser.value(base);
    options->baseManifest = parser.value(baseManifest);
    options->since = parser.values(since);
    options->fixCase = parser.isSet(fixCase);
    if (parser.isSet(base) && parser.isSet(baseManifest)) {
        *error = QStringLiteral("--base and --base-manifest exclude each other");
    } else if (options->fixCase && !parser.isSet(base) && !parser.isSet(baseManifest) &&
               !parser.isSet(since)) {
        *error = QStringLiteral("--fix-case is for --base, --base-manifest and --since");
    }
}

void CommandLine::readChecking(Options *options, QString *error) const
{
    for (const QCommandLineOption &option :
         {patchVersion, allowEmptyVersion, exclude, excludeFrom, base, baseManifest, since, fixCase,
          warnSize, urlPrefix, dryRun}) {
        if (parser.isSet(option)) {
            *error = QStringLiteral("--%1 is not for --base-url, which writes no manifest")
                         .arg(option.names().constLast());
            return;
        }
    }
    if (options->folder.isEmpty() && !parser.isSet(output)) {
        options->manifest.clear();
    }
    options->task = Options::Check;
    options->baseUrl = parser.value(baseUrl);
    options->strict = parser.isSet(strict);
    options->key = parser.value(key);
    if (parser.isSet(key) && options->key.isEmpty()) {
        *error = QStringLiteral("the key is empty");
        return;
    }
    if (options->baseUrl.trimmed().isEmpty()) {
        *error = QStringLiteral("the base URL is empty; launchers then look for no updates");
        return;
    }
    if (parser.isSet(manifestName)) {
        options->manifestName = parser.value(manifestName);
        static const QStringList folders{QString(), QStringLiteral("."), QStringLiteral("..")};
        if (folders.contains(options->manifestName) || options->manifestName.contains(u'/')) {
            *error = QStringLiteral("%1 is no file name").arg(quoted(options->manifestName));
            return;
        }
    }
    if (parser.isSet(timeout)) {
        bool isNumber = false;
        options->timeout = parser.value(timeout).toInt(&isNumber);
        constexpr int longest = 24 * 60 * 60;
        if (!isNumber || options->timeout < 1 || options->timeout > longest) {
            *error = QStringLiteral("--timeout takes 1 to %1 seconds").arg(longest);
            return;
        }
    }
}

QString CommandLine::helpText() const
{
    // Replace the parser's usage line: it shows only one usage, with the path of the program.
    return QString::fromLatin1(usage) + parser.helpText().section(u'\n', 1) +
           QString::fromLatin1(epilogue);
}
