#pragma once

#include <QByteArray>

class QRandomGenerator;

/// A valid file name of 1 to @p longest random characters in UTF-8. Many of them are special in
/// URLs, in JSON, on Windows or in a terminal.
QByteArray hostileName(QRandomGenerator *random, int longest);
