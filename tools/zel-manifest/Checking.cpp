#include "zel-manifest/Checking.h"

#include "zel-manifest/Console.h"
#include "zel-manifest/Signature.h"

Checking::Checking(const Options &itsOptions, Console *itsConsole)
    : options(itsOptions)
    , console(itsConsole)
{
}

ExitCode Checking::run()
{
    std::optional<QByteArray> expected;
    if (!options.manifest.isEmpty()) {
        QString error;
        expected = readWhole(options.manifest, &error);
        if (!expected) {
            console->error(quoted(options.manifest) + QLatin1String(": ") + error);
            return Failed;
        }
    }

    if (!options.key.isEmpty() && !Signature::canBeChecked()) {
        console->error(QStringLiteral("--key needs the program minisign, which is not installed"));
        return Failed;
    }

    PatchCheck check(options.baseUrl, options.timeout * 1000,
                     [this](const Finding &finding) { show(finding); });
    const ExitCode code = fetchManifest(&check);
    if (code == Done) {
        compare(&check, expected);
    }
    check.reportFaults(options.strict ? Finding::Error : Finding::Warning);
    if (code != Done) {
        return code;
    }
    summarize(check);
    return check.errorCount() == 0 ? Done : Different;
}

/// Fetches the manifest, checks its signature and reads it. Returns Done when it can be used.
ExitCode Checking::fetchManifest(PatchCheck *check)
{
    if (!check->fetchManifest(options.manifestName)) {
        return Unpublished;
    }
    if (!options.key.isEmpty()) {
        QByteArray signature;
        if (!check->fetchSignature(&signature)) {
            return Unpublished;
        }
        if (!check->checkSignature(signature, options.key)) {
            return Different;
        }
    }
    return check->readManifest() ? Done : Unpublished;
}

void Checking::compare(PatchCheck *check, const std::optional<QByteArray> &expected)
{
    if (expected) {
        check->compareManifest(*expected, options.manifest);
    }
    check->compareFiles([&](const FileAmount &done) {
        console->progress(QStringLiteral("fetching"), done, check->manifest().amount());
    });
}

void Checking::show(const Finding &finding)
{
    const QString line = finding.path.isEmpty()
                             ? finding.text
                             : quoted(finding.path) + QLatin1String(": ") + finding.text;
    if (finding.kind == Finding::Warning) {
        console->warning(line);
    } else {
        console->error(line);
    }
}

void Checking::summarize(const PatchCheck &check)
{
    const FileAmount amount = check.manifest().amount();
    const QString what =
        QStringLiteral("version %1, %2, %3")
            .arg(quoted(check.manifest().version), filesText(amount.files), sizeText(amount.bytes));
    console->note(check.errorCount() == 0
                      ? QStringLiteral("published as it should be: ") + what
                      : QStringLiteral("%1 wrong in: ").arg(check.errorCount()) + what);
}
