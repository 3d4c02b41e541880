#include "zel-doctor/CheckProcess.h"

#include <QDeadlineTimer>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "zel-doctor/PrivateNames.h"
#include "zel-doctor/Report.h"

namespace
{

/// The result of @p check when its child gave none.
Result withoutAnswer(const Check &check, bool isInTime)
{
    const QString subject = QLatin1String(check.name);
    if (!isInTime) {
        return Result::error(subject,
                             QStringLiteral("nao respondeu em %1 s.").arg(check.limitMs / 1000),
                             QStringLiteral("Verifique se o disco ou a rede esta respondendo."));
    }
    if (check.need == Check::Display) {
        return Result::error(
            subject, QStringLiteral("nao foi possivel acessar nem o Wayland nem o X daqui."),
            QStringLiteral("Execute o zel-doctor num terminal da area de trabalho; se isso nao "
                           "ajudar, instale qt6-wayland e libxcb-cursor0."));
    }
    return Result::warning(subject, QStringLiteral("a verificacao terminou sem resultado."),
                           QStringLiteral("Execute o zel-doctor de novo."));
}

/// Starts @p program with standard output on @p out, in a session of its own: it has no terminal,
/// as when started from a menu, and a process group that can be killed. Returns 0 on failure.
pid_t spawn(const QByteArray &program, const QByteArrayList &arguments, int out)
{
    QByteArrayList words = QByteArrayList{program} + arguments;
    std::vector<char *> argv;
    for (QByteArray &word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
    // A child that cannot be killed must not keep this program's standard error open.
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t pid = 0;
    const int error =
        posix_spawn(&pid, program.constData(), &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error == 0 ? pid : 0;
}

/// Reads @p in to its end. Returns false at the deadline.
bool readToEnd(int in, const QDeadlineTimer &deadline, QByteArray *output)
{
    std::array<char, 65536> block{};
    while (!deadline.hasExpired()) {
        pollfd waiting{in, POLLIN, 0};
        if (::poll(&waiting, 1, int(deadline.remainingTime())) <= 0) {
            continue; // interrupted by a signal, or the deadline has come
        }
        const ssize_t length = ::read(in, block.data(), block.size());
        if (length <= 0) {
            return true;
        }
        output->append(block.data(), length);
    }
    return false;
}

} // namespace

CheckProcess::Outcome CheckProcess::outputOf(const QByteArray &program,
                                             const QByteArrayList &arguments, int limitMs)
{
    Outcome outcome;
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        outcome.isInTime = true;
        return outcome;
    }
    const QDeadlineTimer deadline(limitMs);
    const pid_t pid = spawn(program, arguments, ends[1]);
    ::close(ends[1]);
    outcome.isInTime = readToEnd(ends[0], deadline, &outcome.output);
    ::close(ends[0]);
    if (pid > 0) {
        ::kill(-pid, SIGKILL); // the whole process group
        ::waitpid(pid, nullptr, WNOHANG);
    }
    return outcome;
}

Results CheckProcess::run(const Check &check)
{
    const Outcome outcome = outputOf("/proc/self/exe", {argument, check.name}, check.limitMs);
    const QJsonDocument answer = QJsonDocument::fromJson(outcome.output);
    if (!outcome.isInTime || !answer.isArray()) {
        return {withoutAnswer(check, outcome.isInTime)};
    }
    Results results;
    const QJsonArray array = answer.array();
    for (const auto &value : array) {
        results.append(Report::fromJson(value.toObject()));
    }
    return results;
}

int CheckProcess::runHere(const Check &check, int argc, char *argv[])
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit noCore{0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    const bool needsDisplay = check.need == Check::Display;
    if (needsDisplay) {
        qputenv("TMPDIR", "/dev/null"); // without XDG_RUNTIME_DIR Qt would make a folder there
    }
    const std::unique_ptr<QCoreApplication> application(
        needsDisplay ? new QGuiApplication(argc, argv) : new QCoreApplication(argc, argv));

    // In the child: reading the home folder may hang, too.
    const PrivateNames names = PrivateNames::own();
    const Results results = check.run();
    QJsonArray array;
    for (const Result &result : results) {
        array.append(Report::toJson(names.hiddenIn(result)));
    }
    const QByteArray json = QJsonDocument(array).toJson(QJsonDocument::Compact);
    std::fwrite(json.constData(), 1, size_t(json.size()), stdout);
    std::fflush(stdout); // a platform plugin may crash when the program ends
    return 0;
}
