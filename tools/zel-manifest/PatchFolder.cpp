#include "zel-manifest/PatchFolder.h"

#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vector>

#include "zel-manifest/Text.h"

namespace fs = std::filesystem;

namespace
{

/// The launcher replaces a file through a temporary one whose name is seven bytes longer, and no
/// name may have more than 255.
constexpr qsizetype longestFileName = 255 - 7;

/// Longest path below "C:\" that Windows programs open without the prefix "\\?\".
constexpr qsizetype longestWindowsPath = 256;

constexpr const char *manifestName = "manifest.json";
constexpr const char *signatureName = "manifest.json.minisig";

QByteArray toBytes(const fs::path &path)
{
    return QByteArray::fromStdString(path.native());
}

/// Why Windows does not allow @p name for a file or folder; nothing if it does.
std::optional<QString> windowsObjection(const QString &name)
{
    static const QRegularExpression reserved(
        QStringLiteral("^(CON|PRN|AUX|NUL|CONIN\\$|CONOUT\\$|(COM|LPT)[1-9\u00B9\u00B2\u00B3])"
                       " *(\\.|$)"),
        QRegularExpression::CaseInsensitiveOption);

    for (const QChar c : name) {
        if (c < u' ' || QStringView(u"<>:\"|?*\\").contains(c)) {
            return QStringLiteral("Windows allows no %1 in a name").arg(quoted(QString(c)));
        }
    }
    if (name.endsWith(u'.') || name.endsWith(u' ')) {
        return QStringLiteral("Windows drops the last character of the name");
    }
    const QRegularExpressionMatch match = reserved.match(name);
    if (match.hasMatch()) {
        return QStringLiteral("Windows keeps the name %1 for a device")
            .arg(match.captured(1).toUpper());
    }
    return std::nullopt;
}

class Walk
{
public:
    Walk(QByteArray manifest, const QList<ExcludePattern> &excludePatterns)
        : excludes(excludePatterns)
        , ownManifest(std::move(manifest))
        , usedExcludes(size_t(excludePatterns.size()), false)
    {
    }

    PatchFolderScan run(const fs::path &folder)
    {
        std::error_code error;
        root = fs::canonical(folder, error);
        if (error) {
            fail(toBytes(folder), error);
            return result;
        }
        walkFolder(root, {});
        std::sort(result.files.begin(), result.files.end());
        compareWithoutCase();
        for (size_t i = 0; i < usedExcludes.size(); ++i) {
            if (!usedExcludes[i]) {
                result.warnings.append(QStringLiteral("the pattern %1 excludes nothing")
                                           .arg(quoted(excludes.at(qsizetype(i)).text())));
            }
        }
        return result;
    }

private:
    /// Lists the content of the folder @p real, which is published as @p path.
    void walkFolder(const fs::path &real, const QByteArray &path)
    {
        std::error_code error;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator it(real, error), end; !error && it != end;
             it.increment(error)) {
            entries.push_back(*it);
        }
        if (error) {
            fail(path.isEmpty() ? toBytes(real) : path, error);
            return;
        }
        if (entries.empty() && !path.isEmpty()) {
            warn(path, QStringLiteral("the folder is empty; the launcher will not make it"));
        }
        std::sort(entries.begin(), entries.end());

        openFolders.push_back(real);
        for (const fs::directory_entry &entry : entries) {
            const QByteArray name = toBytes(entry.path().filename());
            visit(entry.path(), path.isEmpty() ? name : path + '/' + name, name);
        }
        openFolders.pop_back();
    }

    void visit(const fs::path &place, const QByteArray &path, const QByteArray &name)
    {
        struct stat status = {};
        if (::lstat(place.c_str(), &status) != 0) {
            fail(path, std::error_code(errno, std::generic_category()));
            return;
        }
        const bool isLink = S_ISLNK(status.st_mode);
        if (isLink) {
            // If this fails, the status remains that of the link, which followLink() reports unless
            // the link is excluded.
            ::stat(place.c_str(), &status);
        }
        const bool isFolder = S_ISDIR(status.st_mode);
        const bool isFile = S_ISREG(status.st_mode);
        if (isExcluded(textOf(path).value_or(QString::fromUtf8(path)), isFolder) ||
            (path == signatureName && isFile)) {
            result.excluded.append(path);
            return;
        }
        if (path == manifestName && isFolder) {
            refuse(path, QStringLiteral("is a folder; the launcher fetches the manifest there"));
            return;
        }
        if (path == manifestName || (!isLink && toBytes(place) == ownManifest)) {
            result.absent.append(path);
            return;
        }
        const fs::path real = isLink ? followLink(place, path) : place;
        if (real.empty() || !isNameFit(path, name, isFile)) {
            return;
        }
        if (isFolder) {
            walkFolder(real, path);
        } else if (isFile) {
            result.files.append(path);
            result.totalSize += status.st_size;
        } else {
            refuse(path, QStringLiteral("is neither a file nor a folder"));
        }
    }

    bool isExcluded(const QString &path, bool isFolder)
    {
        bool excluded = false;
        for (qsizetype i = 0; i < excludes.size(); ++i) {
            if (excludes.at(i).matches(path, isFolder)) {
                usedExcludes[size_t(i)] = true;
                excluded = true;
            }
        }
        return excluded;
    }

    /// The final target of a link; empty if it must not be followed.
    fs::path followLink(const fs::path &place, const QByteArray &path)
    {
        std::error_code error;
        fs::path target = fs::canonical(place, error);
        if (error == std::errc::too_many_symbolic_link_levels) {
            refuse(path, QStringLiteral("is a symbolic link that leads to itself"));
            return {};
        }
        if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) {
            refuse(path, QStringLiteral("is a symbolic link that leads nowhere"));
            return {};
        }
        if (error) {
            fail(path, error);
            return {};
        }
        const auto [rootEnd, ignored] =
            std::mismatch(root.begin(), root.end(), target.begin(), target.end());
        if (rootEnd != root.end()) {
            refuse(path, QStringLiteral("is a symbolic link that leaves the folder, to %1")
                             .arg(quoted(toBytes(target))));
            return {};
        }
        if (std::find(openFolders.begin(), openFolders.end(), target) != openFolders.end()) {
            refuse(path, QStringLiteral("is a symbolic link to a folder that it is in itself"));
            return {};
        }
        if (toBytes(target) == ownManifest || target == root / manifestName) {
            refuse(path, QStringLiteral("is a symbolic link to the manifest"));
            return {};
        }
        return target;
    }

    /// Whether the launcher can store the name; refuses it if not. Only warns of a name that
    /// Windows does not allow.
    bool isNameFit(const QByteArray &path, const QByteArray &name, bool isFile)
    {
        const std::optional<QString> text = textOf(name);
        if (!text) {
            refuse(path, QStringLiteral("the name is not UTF-8"));
            return false;
        }
        if (path.startsWith(':')) {
            refuse(path, QStringLiteral("the launcher would not store a path that begins with "
                                        "\":\" in the client folder"));
            return false;
        }
        if (isFile && name.size() > longestFileName) {
            refuse(path, QStringLiteral("the name has more than %1 bytes; the launcher could "
                                        "store the file once and never replace it")
                             .arg(longestFileName));
            return false;
        }
        if (const std::optional<QString> objection = windowsObjection(*text)) {
            warn(path, *objection);
        }
        if (isFile && QString::fromUtf8(path).size() > longestWindowsPath) {
            warn(path, QStringLiteral("the path has more than %1 characters; most Windows "
                                      "programs cannot open it")
                           .arg(longestWindowsPath));
        }
        return true;
    }

    /// Refuses paths that differ only in letter case.
    void compareWithoutCase()
    {
        QHash<QString, QByteArray> known; // first path by case-folded path
        QSet<QByteArray> refused;
        for (const QByteArray &path : std::as_const(result.files)) {
            for (const QByteArray &part : pathsTo(path)) {
                QByteArray &first = known[withoutCase(QString::fromUtf8(part))];
                if (first.isEmpty()) {
                    first = part;
                } else if (first != part) {
                    if (!refused.contains(part)) {
                        refused.insert(part);
                        result.caseTwins.append(part);
                        refuse(part, QStringLiteral("differs from %1 only in letter case, which "
                                                    "Windows ignores")
                                         .arg(quoted(first)));
                    }
                    break;
                }
            }
        }
    }

    void warn(const QByteArray &path, const QString &text)
    {
        result.warnings.append(quoted(path) + QLatin1String(": ") + text);
    }

    void refuse(const QByteArray &path, const QString &text)
    {
        result.problems.append(quoted(path) + QLatin1String(": ") + text);
    }

    void fail(const QByteArray &path, const std::error_code &error)
    {
        result.failures.append(quoted(path) + QLatin1String(": ") +
                               QString::fromStdString(error.message()));
    }

    const QList<ExcludePattern> &excludes;
    const QByteArray ownManifest;
    std::vector<bool> usedExcludes;
    fs::path root;
    std::vector<fs::path> openFolders; // from the root to the current one, links resolved
    PatchFolderScan result;
};

} // namespace

ExcludePattern::ExcludePattern(const QString &text)
    : pattern(text)
{
    QString wildcard = text;
    if (wildcard.endsWith(u'/')) {
        foldersOnly = true;
        wildcard.chop(1);
    }
    wholePath = wildcard.contains(u'/');
    if (wildcard.startsWith(u'/')) {
        wildcard.remove(0, 1);
    }
    if (!wildcard.isEmpty()) {
        expression.setPattern(QRegularExpression::wildcardToRegularExpression(wildcard));
    }
}

bool ExcludePattern::isValid() const
{
    return !expression.pattern().isEmpty() && expression.isValid();
}

bool ExcludePattern::matches(const QString &path, bool isFolder) const
{
    if (foldersOnly && !isFolder) {
        return false;
    }
    return expression.match(wholePath ? path : path.section(u'/', -1)).hasMatch();
}

PatchFolderScan PatchFolder::scan(const QString &folder, const QString &manifest,
                                  const QList<ExcludePattern> &excludes)
{
    return Walk(realPath(manifest), excludes)
        .run(fs::path(QFile::encodeName(folder).toStdString()));
}

QByteArray PatchFolder::realPath(const QString &path)
{
    std::error_code error;
    const fs::path given(QFile::encodeName(path).toStdString());
    const fs::path existing = fs::canonical(given, error);
    if (!error) {
        return toBytes(existing);
    }
    const fs::path folder = fs::canonical(fs::absolute(given, error).parent_path(), error);
    return error ? QByteArray() : toBytes(folder / given.filename());
}

bool PatchFolder::isPlayersOwn(const QString &path)
{
    static const QStringList names{QStringLiteral("Config.bin"), QStringLiteral("serverlist.txt"),
                                   QStringLiteral("sn.bin"), QStringLiteral("server.txt"),
                                   QStringLiteral("zel_login.ini")};
    return names.contains(path, Qt::CaseInsensitive);
}
