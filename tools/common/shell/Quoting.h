#ifndef KELVARUNE_TOOLS_COMMON_SHELL_QUOTING_H
#define KELVARUNE_TOOLS_COMMON_SHELL_QUOTING_H

#include <QString>
#include <QStringList>

/// `word` as a POSIX shell must read it to get exactly that word: unchanged where nothing in it is
/// special, else in single quotes.
QString shellQuoted(const QString &word);

/// A command line for a POSIX shell.
QString shellQuoted(const QStringList &words);

#endif
