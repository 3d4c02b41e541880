#pragma once

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QList>
#include <QString>
#include <QStringList>

#include "zel-manifest/PatchFolder.h"

/// Exit codes of the program.
enum ExitCode {
    Done = 0,
    Refused = 1,     ///< The folder cannot be published as it is.
    WrongUsage = 2,  ///< The command line is invalid.
    Failed = 3,      ///< Something could not be read or written.
    Different = 4,   ///< A published file, the manifest or its signature is not as expected.
    Unpublished = 5, ///< No usable manifest, or no signature of it, could be fetched.
};

/// The parsed command line.
struct Options {
    enum Task {
        Publish,  ///< Write the manifest of a folder.
        Check,    ///< Check a published patch.
        ShowText, ///< Print a text: the help, or the version of the program.
    };
    Task task = Publish;
    QString text;
    bool quiet = false;

    QString folder;
    /// The file to write, or to compare the published manifest with; may then be empty.
    QString manifest;

    // For Publish.
    QString version;
    QString urlPrefix; ///< Percent-encoded; empty or with "/" at its end.
    QList<ExcludePattern> excludes;
    QStringList excludeFiles; ///< Files with more patterns.
    QString base;             ///< The folder of the client that players have; may be empty.
    QString baseManifest;     ///< A manifest of that client instead; may be empty.
    QStringList since;        ///< Manifests of the releases that were published since.
    bool fixCase = false;
    int warnSize = 256; ///< MiB.
    bool dryRun = false;

    // For Check.
    QString baseUrl;
    QString key; ///< Public key for the manifest's signature; empty to skip that check.
    QString manifestName = QStringLiteral("manifest.json");
    int timeout = 60;    ///< Seconds.
    bool strict = false; ///< Faulty answers are errors.
};

/// Parses the command line.
class CommandLine
{
public:
    CommandLine();

    /// Parses @p arguments; the first one is the program's name. If they are invalid, sets @p error
    /// to the reason; of the result only "quiet" is valid then.
    Options read(const QStringList &arguments, QString *error);

private:
    void readPublishing(Options *options, QString *error) const;
    void readBase(Options *options, QString *error) const;
    void readChecking(Options *options, QString *error) const;
    QString helpText() const;

    QCommandLineParser parser;
    const QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")},
                                  QStringLiteral("Show this help.")};
    const QCommandLineOption programVersion{{QStringLiteral("v"), QStringLiteral("version")},
                                            QStringLiteral("Show the version of this program.")};
    const QCommandLineOption quiet{{QStringLiteral("q"), QStringLiteral("quiet")},
                                   QStringLiteral("Show warnings and errors only.")};
    const QCommandLineOption patchVersion{
        {QStringLiteral("p"), QStringLiteral("patch-version")},
        QStringLiteral("Version of the patch, any text but an empty one. Required."),
        QStringLiteral("TEXT")};
    const QCommandLineOption allowEmptyVersion{
        QStringLiteral("allow-empty-version"),
        QStringLiteral("Let the version be empty or left out; see below.")};
    const QCommandLineOption exclude{
        {QStringLiteral("x"), QStringLiteral("exclude")},
        QStringLiteral("Do not list the files and folders that match GLOB (*, ?, [...]): with a "
                       "\"/\" in it by their path in FOLDER, otherwise by their name; with one at "
                       "its end folders only. Can be given many times."),
        QStringLiteral("GLOB")};
    const QCommandLineOption excludeFrom{
        QStringLiteral("exclude-from"),
        QStringLiteral("Read patterns for --exclude from FILE, one a line; blank lines and those "
                       "that begin with \"#\" are skipped. Can be given many times."),
        QStringLiteral("FILE")};
    const QCommandLineOption base{
        QStringLiteral("base"),
        QStringLiteral("List only the files that are missing in FOLDER, the client as players "
                       "have it, or differ from it."),
        QStringLiteral("FOLDER")};
    const QCommandLineOption baseManifest{
        QStringLiteral("base-manifest"),
        QStringLiteral("The same with FILE, a manifest made from that client without --base."),
        QStringLiteral("FILE")};
    const QCommandLineOption since{
        QStringLiteral("since"),
        QStringLiteral("List also what MANIFEST lists, that of a release published since the "
                       "base: players of it have other files. Can be given many times."),
        QStringLiteral("MANIFEST")};
    const QCommandLineOption fixCase{
        QStringLiteral("fix-case"),
        QStringLiteral("Publish a path that differs from one that players have only in letter "
                       "case under theirs; without it such a path is refused.")};
    const QCommandLineOption warnSize{
        QStringLiteral("warn-size"),
        QStringLiteral("Warn of listed files of more than so many MiB (default: %1): the launcher "
                       "holds a whole file in memory.")
            .arg(Options().warnSize),
        QStringLiteral("MIB")};
    const QCommandLineOption output{
        {QStringLiteral("o"), QStringLiteral("output")},
        QStringLiteral(
            "Write the manifest to FILE, not to manifest.json in FOLDER; with --base-url, "
            "compare the published one with FILE."),
        QStringLiteral("FILE")};
    const QCommandLineOption urlPrefix{
        QStringLiteral("url-prefix"),
        QStringLiteral("The files are published in the folder PATH below the base URL, not beside "
                       "the manifest."),
        QStringLiteral("PATH")};
    const QCommandLineOption dryRun{
        {QStringLiteral("n"), QStringLiteral("dry-run")},
        QStringLiteral("Do all but write: print the manifest on standard output.")};
    const QCommandLineOption baseUrl{
        {QStringLiteral("u"), QStringLiteral("base-url")},
        QStringLiteral("Check the patch that is published at URL, which is the patch address that "
                       "players enter in the launcher."),
        QStringLiteral("URL")};
    const QCommandLineOption manifestName{
        QStringLiteral("manifest-name"),
        QStringLiteral("With --base-url: fetch the manifest under NAME, which may be one that no "
                       "launcher asks for (default: %1).")
            .arg(Options().manifestName),
        QStringLiteral("NAME")};
    const QCommandLineOption key{
        QStringLiteral("key"),
        QStringLiteral("With --base-url: check first, with the program minisign, that the manifest "
                       "is signed by KEY, which is a public key or a file with one. The signature "
                       "is beside the manifest, with \".minisig\" at the end of its name."),
        QStringLiteral("KEY")};
    const QCommandLineOption strict{
        QStringLiteral("strict"),
        QStringLiteral("With --base-url: let the check fail, with exit code 4, for what it else "
                       "warns of in the server's answers.")};
    const QCommandLineOption timeout{
        QStringLiteral("timeout"),
        QStringLiteral(
            "With --base-url: give up a transfer that receives no data for so many seconds "
            "(default: %1).")
            .arg(Options().timeout),
        QStringLiteral("SECONDS")};
};
