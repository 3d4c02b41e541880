#include "support/Spawn.h"

#include "support/Bench.h"

#include <array>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

/// @p strings as a null-terminated array for posix_spawn(), valid as long as @p strings.
std::vector<char *> pointersTo(QByteArrayList &strings)
{
    std::vector<char *> pointers;
    for (QByteArray &string : strings) {
        pointers.push_back(string.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Spawn::Spawn(QByteArrayList command, int descriptor, QByteArrayList environment)
{
    std::array<int, 2> ends{};
    Bench::require(::pipe2(ends.data(), O_CLOEXEC) == 0, QStringLiteral("no pipe"));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], descriptor);

    std::vector<char *> words = pointersTo(command);
    std::vector<char *> variables = pointersTo(environment);
    const int failure = ::posix_spawnp(&child, words[0], &actions, nullptr, words.data(),
                                       environment.isEmpty() ? environ : variables.data());
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    output = ends[0];
    Bench::require(failure == 0,
                   QStringLiteral("%1 does not start").arg(QString::fromLocal8Bit(words[0])));
}

Spawn::~Spawn()
{
    wait();
    ::close(output);
}

QByteArray Spawn::read() const
{
    std::array<char, 4096> buffer{};
    const ssize_t length = ::read(output, buffer.data(), buffer.size());
    return {buffer.data(), length > 0 ? qsizetype(length) : 0};
}

void Spawn::wait()
{
    if (child != 0) {
        ::waitpid(child, nullptr, 0);
        child = 0;
    }
}
