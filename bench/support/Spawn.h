#pragma once

#include <QByteArrayList>

/// A child process started by posix_spawn() with minimal overhead. Exits the program if that fails.
class Spawn
{
public:
    /// Starts @p command, searched on PATH, with @p environment (empty: that of this process).
    /// read() returns its output on @p descriptor.
    Spawn(QByteArrayList command, int descriptor, QByteArrayList environment = {});
    ~Spawn();

    Spawn(const Spawn &) = delete;
    Spawn &operator=(const Spawn &) = delete;

    /// The next output of the child; empty at its end.
    QByteArray read() const;
    /// Waits until the child has ended.
    void wait();

private:
    int child = 0;
    int output = -1;
};
