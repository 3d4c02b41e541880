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
        QStringLiteral("Version of the patch, any text that is not empty. Required."),
        QStringLiteral("TEXT")};
    const QCommandLineOption allowEmptyVersion{
        QStringLiteral("allow-empty-version"),
        QStringLiteral("Allow an empty or missing version; see below.")};
    const QCommandLineOption exclude{
        {QStringLiteral("x"), QStringLiteral("exclude")},
        QStringLiteral("Do not list files and folders that match GLOB (*, ?, [...]). A GLOB that "
                       "contains \"/\" is compared with the path in FOLDER, any other one with "
                       "the name. A GLOB that ends with \"/\" matches only folders. May be "
                       "repeated."),
        QStringLiteral("GLOB")};
    const QCommandLineOption excludeFrom{
        QStringLiteral("exclude-from"),
        QStringLiteral("Read patterns for --exclude from FILE, one per line. Blank lines and lines "
                       "that begin with \"#\" are ignored. May be repeated."),
        QStringLiteral("FILE")};
    const QCommandLineOption base{
        QStringLiteral("base"),
        QStringLiteral("List only files that players need: FOLDER is the client as they have it, "
                       "and files that are equal in it are left out."),
        QStringLiteral("FOLDER")};
    const QCommandLineOption baseManifest{
        QStringLiteral("base-manifest"),
        QStringLiteral("Like --base, with a manifest of that client. It was made without --base."),
        QStringLiteral("FILE")};
    const QCommandLineOption since{
        QStringLiteral("since"),
        QStringLiteral("Also list every file that MANIFEST lists. It is the manifest of a release "
                       "that was published since the base: its players have other files than the "
                       "base's. May be repeated."),
        QStringLiteral("MANIFEST")};
    const QCommandLineOption fixCase{
        QStringLiteral("fix-case"),
        QStringLiteral("If a path differs only in letter case from one that players have, publish "
                       "the file under theirs. Without this option such a path is refused.")};
    const QCommandLineOption warnSize{
        QStringLiteral("warn-size"),
        QStringLiteral("Warn of listed files that are larger than MIB (default: %1). The launcher "
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
        QStringLiteral("Write no file; print the manifest on standard output.")};
    const QCommandLineOption baseUrl{
        {QStringLiteral("u"), QStringLiteral("base-url")},
        QStringLiteral("Check the patch that is published at URL, the patch address that players "
                       "enter in the launcher."),
        QStringLiteral("URL")};
    const QCommandLineOption manifestName{
        QStringLiteral("manifest-name"),
        QStringLiteral(
            "With --base-url: the name of the manifest to check (default: %1). Launchers "
            "know only the default.")
            .arg(Options().manifestName),
        QStringLiteral("NAME")};
    const QCommandLineOption key{
        QStringLiteral("key"),
        QStringLiteral("With --base-url: first check with minisign that the manifest is signed by "
                       "KEY, a public key or a file with one. The signature's URL is the "
                       "manifest's with \".minisig\" at the end."),
        QStringLiteral("KEY")};
    const QCommandLineOption strict{
        QStringLiteral("strict"),
        QStringLiteral("With --base-url: treat warnings about the server's answers as errors, with "
                       "exit code 4.")};
    const QCommandLineOption timeout{
        QStringLiteral("timeout"),
        QStringLiteral("With --base-url: give up a transfer that receives no data for SECONDS "
                       "(default: %1).")
            .arg(Options().timeout),
        QStringLiteral("SECONDS")};
};
