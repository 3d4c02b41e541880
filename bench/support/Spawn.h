#pragma once

#include <QByteArrayList>

/// A child process started with the least overhead there is. Ends the program when it does not
/// start.
class Spawn
{
public:
    /// Starts @p command, which is found on the search path, with @p environment (without one,
    /// this process's own). What it writes to @p descriptor is read.
    Spawn(QByteArrayList command, int descriptor, QByteArrayList environment = {});
    ~Spawn();

    Spawn(const Spawn &) = delete;
    Spawn &operator=(const Spawn &) = delete;

    /// The next bytes that the child writes, empty when no more come.
    QByteArray read() const;
    /// Waits until the child has ended.
    void wait();

private:
    int child = 0;
    int output = -1;
};
