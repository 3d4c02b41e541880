#include "zel-doctor/ClientChecks.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <functional>
#include <sys/mman.h>
#include <unistd.h>

#include "client/ClientSync.h"
#include "client/ConfigBin.h"
#include "client/ServerList.h"
#include "client/SnBin.h"
#include "settings/SettingsFile.h"
#include "zel-doctor/LoadedSettings.h"
#include "zel-doctor/ProgramFile.h"
#include "zel-manifest/PatchFolder.h"
#include "zel-manifest/Text.h"

namespace
{

/// Whether a file can be created at @p path, together with missing folders.
bool canBeMade(const QString &path)
{
    QFileInfo parent(QFileInfo(path).absolutePath());
    while (!parent.exists() && !parent.isRoot()) {
        parent.setFile(parent.absolutePath());
    }
    return parent.isDir() && parent.isWritable() && parent.isExecutable();
}

/// What @p write writes. Gives it the path of a file in memory.
QByteArray writtenBy(const std::function<bool(const QString &path)> &write)
{
    QFile memory;
    const int descriptor = ::memfd_create("zel-doctor", MFD_CLOEXEC);
    if (descriptor < 0 ||
        !memory.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle) ||
        !write(QStringLiteral("/proc/self/fd/%1").arg(descriptor))) {
        return {};
    }
    return memory.readAll();
}

/// One of the client's files.
class ClientFile
{
public:
    explicit ClientFile(const QString &fileName)
        : name(fileName)
        , path(QDir(loadedSettings().clientDir).filePath(fileName))
    {
    }

    /// The result for a missing, unreadable or read-only file; nothing for any other.
    Results obstacles(const QString &whenMissing) const
    {
        const QFileInfo info(path);
        if (!info.exists()) {
            return {ok(whenMissing)};
        }
        if (!info.isFile() || !info.isReadable()) {
            return {error(QStringLiteral("nao pode ser lido: %1.").arg(path), permissionRemedy())};
        }
        if (!info.isWritable()) {
            return {
                error(QStringLiteral("nao pode ser gravado: %1.").arg(path), permissionRemedy())};
        }
        return {};
    }

    QByteArray content() const
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    Result ok(const QString &text) const { return Result::ok(name, text); }
    Result warning(const QString &text, const QString &remedy) const
    {
        return Result::warning(name, text, remedy);
    }
    Result error(const QString &text, const QString &remedy) const
    {
        return Result::error(name, text, remedy);
    }

    const QString name;
    const QString path;
};

QString writtenAtStart()
{
    return QStringLiteral("ainda nao existe; o launcher o cria ao iniciar o jogo.");
}

QString startRemedy()
{
    return QStringLiteral("Clique em Iniciar: o launcher grava o arquivo de novo.");
}

QString saveRemedy()
{
    return QStringLiteral("Confira o servidor em Configuracao e clique em OK.");
}

QString chooseExeRemedy()
{
    return QStringLiteral("Escolha o executavel do jogo em Configuracao.");
}

} // namespace

Results ClientChecks::settingsFile()
{
    const QString subject = QStringLiteral("configuracoes");
    const SettingsFile store; // read only: its isWritable() would create the file
    const QString path = store.fileName();
    const QFileInfo info(path);
    if (!info.exists()) {
        return {
            canBeMade(path)
                ? Result::ok(
                      subject,
                      QStringLiteral("%1 ainda nao existe; valem os valores iniciais.").arg(path))
                : Result::error(subject, QStringLiteral("%1 nao pode ser criado.").arg(path),
                                QStringLiteral("Corrija as permissoes da pasta."))};
    }
    if (!info.isFile() || !info.isReadable()) {
        return {Result::error(subject, QStringLiteral("%1 nao pode ser lido.").arg(path),
                              permissionRemedy())};
    }
    if (store.status() != QSettings::NoError) {
        return {Result::error(subject, QStringLiteral("%1 nao esta no formato esperado.").arg(path),
                              QStringLiteral("Apague o arquivo e configure o launcher de novo."))};
    }
    // QSettings creates a temporary file in the folder and renames it.
    if (!info.isWritable() || !QFileInfo(info.canonicalPath()).isWritable()) {
        return {Result::error(subject, QStringLiteral("%1 nao pode ser gravado.").arg(path),
                              permissionRemedy())};
    }
    return {Result::ok(subject, QStringLiteral("%1 pode ser lido e gravado.").arg(path))};
}

Results ClientChecks::folder()
{
    const QString subject = QStringLiteral("pasta do cliente");
    const QString choose = QStringLiteral("Escolha a pasta do jogo em Configuracao.");
    const LauncherSettings &settings = loadedSettings();
    const QString dir = settings.clientDir;
    const QFileInfo info(dir);
    // Without a choice the launcher takes its own folder, which may be the client's.
    if (SettingsFile().value(u"client/dir").toString().isEmpty() &&
        !QFileInfo::exists(settings.resolvedClientExe())) {
        return {Result::error(subject, QStringLiteral("nenhuma foi escolhida."), choose)};
    }
    if (!info.exists()) {
        return {Result::error(subject, QStringLiteral("nao existe: %1.").arg(dir), choose)};
    }
    if (!info.isDir()) {
        return {Result::error(subject, QStringLiteral("nao e uma pasta: %1.").arg(dir), choose)};
    }
    if (!info.isReadable() || !info.isExecutable()) {
        return {
            Result::error(subject, QStringLiteral("nao pode ser lida: %1.").arg(dir),
                          QStringLiteral("Corrija as permissoes, por exemplo com chmod u+rwx."))};
    }
    if (!info.isWritable()) {
        return {Result::error(
            subject, QStringLiteral("nao pode ser gravada: %1.").arg(dir),
            QStringLiteral("Copie o jogo para uma pasta sua ou corrija as permissoes."))};
    }
    return {Result::ok(subject, QStringLiteral("%1 pode ser lida e gravada.").arg(dir))};
}

Result ClientChecks::roomResult(qint64 bytes)
{
    constexpr qint64 MiB = 1 << 20;
    const QString subject = QStringLiteral("espaco em disco");
    const QString text = QStringLiteral("%1 MiB livres.").arg(bytes / MiB);
    const QString remedy = QStringLiteral("Libere espaco no disco da pasta do cliente.");
    if (bytes < 64 * MiB) {
        return Result::error(subject, text, remedy);
    }
    if (bytes < 1024 * MiB) {
        return Result::warning(subject, text, remedy);
    }
    return Result::ok(subject, text);
}

Results ClientChecks::room()
{
    // Not QStorageInfo: in a chroot it knows no mount point of the folder.
    std::error_code failure;
    const std::filesystem::space_info disk = std::filesystem::space(
        QFile::encodeName(loadedSettings().clientDir).toStdString(), failure);
    if (failure) {
        return {}; // folder() reports the missing folder
    }
    return {roomResult(qint64(disk.available))};
}

Results ClientChecks::executable()
{
    const QString subject = QStringLiteral("executavel");
    const LauncherSettings &settings = loadedSettings();
    const QString exe = settings.resolvedClientExe();
    if (!QFileInfo::exists(exe)) {
        return {Result::error(
            subject, QStringLiteral("nao foi encontrado: %1.").arg(exe),
            QStringLiteral("Confira a pasta do cliente e o executavel em Configuracao."))};
    }
    const ProgramKind kind = programKind(exe);
    if (kind == ProgramKind::Unreadable) {
        return {Result::error(subject, QStringLiteral("nao pode ser lido: %1.").arg(exe),
                              permissionRemedy())};
    }
    if (settings.useWine && kind == ProgramKind::Foreign) {
        return {Result::error(subject, QStringLiteral("nao e um programa do Windows: %1.").arg(exe),
                              chooseExeRemedy())};
    }
    if (!settings.useWine && !QFileInfo(exe).isExecutable()) {
        return {Result::error(
            subject,
            QStringLiteral("o Wine esta desligado e o Linux nao pode executar %1.").arg(exe),
            QStringLiteral("Marque \"Usar Wine no Linux\" em Configuracao."))};
    }
    QString text = exe;
    if (kind == ProgramKind::Bits32) {
        text += QStringLiteral(", 32 bits");
    } else if (kind == ProgramKind::Bits64) {
        text += QStringLiteral(", 64 bits");
    }
    if (QFileInfo::exists(settings.clientExe)) {
        return {Result::ok(subject, text + QStringLiteral(" (o caminho escolhido)."))};
    }
    const QString inFolder = QDir(settings.clientDir).filePath(settings.clientExe);
    if (exe == QFileInfo(inFolder).absoluteFilePath()) {
        return {Result::ok(subject, text + QStringLiteral(" (na pasta do cliente)."))};
    }
    return {Result::warning(
        subject,
        text + QStringLiteral(" (no lugar de %1, que nao existe).").arg(settings.clientExe),
        chooseExeRemedy())};
}

Results ClientChecks::names()
{
    const QString subject = QStringLiteral("nomes de arquivos");
    const QString dir = loadedSettings().clientDir;
    if (!QFileInfo(dir).isDir()) {
        return {}; // folder() reports it
    }
    const QByteArrayList twins = PatchFolder::scan(dir, {}).caseTwins;
    if (twins.isEmpty()) {
        return {Result::ok(
            subject, QStringLiteral("nenhum difere de outro so em maiusculas e minusculas."))};
    }
    return {Result::warning(
        subject,
        QStringLiteral("%1 nome(s) so diferem de outro em maiusculas e minusculas; o primeiro: %2.")
            .arg(QString::number(twins.size()), quoted(twins.constFirst())),
        QStringLiteral("Para o Windows sao o mesmo arquivo: apague os que sobram."))};
}

Results ClientChecks::configBin()
{
    const ClientFile file(QStringLiteral("Config.bin"));
    Results results = file.obstacles(QStringLiteral(
        "ainda nao existe; o launcher o cria quando voce clica em OK em Configuracao."));
    if (!results.isEmpty()) {
        return results;
    }
    ClientConfig stored;
    QString error;
    if (!ConfigBin::load(file.path, &stored, &error)) {
        return {file.error(error, QStringLiteral("Apague-o e clique em OK em Configuracao."))};
    }
    ClientConfig corrected;
    const QByteArray content = writtenBy([&](const QString &path) {
        return ConfigBin::save(path, stored) && ConfigBin::load(path, &corrected);
    });
    // Compare only the clamped fields: the client may store other values in the rest.
    if (content.isEmpty() || stored.modelQuality != corrected.modelQuality ||
        stored.soundLevel != corrected.soundLevel || stored.musicLevel != corrected.musicLevel ||
        stored.brightness != corrected.brightness) {
        return {
            file.warning(QStringLiteral("tem valores fora dos limites."),
                         QStringLiteral("Clique em OK em Configuracao: o launcher os corrige."))};
    }
    return {file.ok(QStringLiteral("valido."))};
}

Results ClientChecks::serverList()
{
    const ClientFile file(QStringLiteral("serverlist.txt"));
    Results results = file.obstacles(writtenAtStart());
    if (!results.isEmpty()) {
        return results;
    }
    QString ip;
    int channels = 0;
    if (!ServerList::detectPrimary(file.path, &ip, &channels)) {
        return {file.warning(QStringLiteral("nao indica nenhum servidor."), startRemedy())};
    }
    channels = ClientSync::clampChannelCount(channels);
    const QString text = QStringLiteral("%1, %2 canal(is)").arg(ip).arg(channels);
    // LauncherSettings::load() takes its values from this file, so compare with the saved ones.
    const SettingsFile saved;
    const QString savedIp = saved.value(u"server/ip", ip).toString().trimmed();
    const int savedChannels =
        ClientSync::clampChannelCount(saved.value(u"server/channelCount", channels).toInt());
    if (ip != savedIp || channels != savedChannels) {
        return {file.warning(
            QStringLiteral("%1; as configuracoes salvas dizem %2, %3 canal(is). Vale o arquivo.")
                .arg(text, savedIp, QString::number(savedChannels)),
            saveRemedy())};
    }
    const QByteArray wanted = writtenBy(
        [&](const QString &path) { return ServerList::writeMinimal(path, 0, ip, channels); });
    if (file.content() != wanted) {
        return {file.warning(text + QStringLiteral("; o resto nao e o que o launcher gravaria."),
                             startRemedy())};
    }
    return {file.ok(text + u'.')};
}

Results ClientChecks::snBin()
{
    const ClientFile file(QStringLiteral("sn.bin"));
    Results results = file.obstacles(writtenAtStart());
    if (!results.isEmpty()) {
        return results;
    }
    QString name;
    if (!SnBin::isValid(file.path) || !SnBin::loadDisplayName(file.path, &name)) {
        return {file.warning(QStringLiteral("nao e valido."), startRemedy())};
    }
    const QString saved =
        SnBin::preparedName(SettingsFile().value(u"server/name", name).toString());
    if (saved.trimmed().compare(name.trimmed(), Qt::CaseInsensitive) != 0) {
        return {file.warning(QStringLiteral("%1; as configuracoes salvas dizem %2. Vale o arquivo.")
                                 .arg(quoted(name), quoted(saved)),
                             saveRemedy())};
    }
    return {file.ok(quoted(name) + u'.')};
}

Results ClientChecks::serverTxt()
{
    const ClientFile file(QStringLiteral("server.txt"));
    Results results = file.obstacles(writtenAtStart());
    if (!results.isEmpty()) {
        return results;
    }
    const QString ip = LauncherSettings::instance().serverIp.trimmed();
    if (file.content() != ip.toUtf8() + '\n') {
        return {file.warning(QStringLiteral("nao contem %1.").arg(ip), startRemedy())};
    }
    return {file.ok(ip + u'.')};
}

Results ClientChecks::loginIni()
{
    const ClientFile file(QStringLiteral("zel_login.ini"));
    Results results = file.obstacles(QStringLiteral("nao existe; nem todo cliente precisa dele."));
    if (!results.isEmpty()) {
        return results;
    }
    const QByteArray byteOrderMark = "\xEF\xBB\xBF";
    const QByteArray prefix = "server_ip=";
    const QByteArray ip = LauncherSettings::instance().serverIp.trimmed().toUtf8();
    bool isNamed = false;
    QByteArray content = file.content();
    if (content.startsWith(byteOrderMark)) {
        content.remove(0, byteOrderMark.size());
    }
    const QByteArrayList lines = content.split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        if (!line.startsWith(prefix)) {
            continue;
        }
        isNamed = true;
        if (line.sliced(prefix.size()) != ip) {
            return {file.warning(QStringLiteral("server_ip nao e %1.").arg(QString::fromUtf8(ip)),
                                 startRemedy())};
        }
    }
    if (!isNamed) {
        return {
            file.warning(QStringLiteral("nao tem a linha server_ip=."),
                         QStringLiteral("Se o jogo nao conectar, restaure o arquivo original."))};
    }
    return {file.ok(QString::fromUtf8(ip) + u'.')};
}
