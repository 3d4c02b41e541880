#pragma once

#include <QByteArray>

class QRandomGenerator;

/// A file name of 1 to @p longest random characters in UTF-8, all of which file systems allow.
/// Many of them mean something in URLs, in JSON, on Windows or to a terminal.
QByteArray hostileName(QRandomGenerator *random, int longest);
