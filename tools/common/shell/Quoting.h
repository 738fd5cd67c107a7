#ifndef KELVARUNE_TOOLS_COMMON_SHELL_QUOTING_H
#define KELVARUNE_TOOLS_COMMON_SHELL_QUOTING_H

#include <QString>
#include <QStringList>

#include <optional>

/// `word` as a POSIX shell must read it to get exactly that word: unchanged where nothing in it is
/// special, else in single quotes.
QString shellQuoted(const QString &word);

/// A command line for a POSIX shell.
QString shellQuoted(const QStringList &words);

/// The words of a command line, with quotes and backslashes read as a POSIX shell reads them; all
/// other characters, '$' and '|' too, stand for themselves. None when a quote is not closed or a
/// backslash is the last character.
std::optional<QStringList> shellWords(const QString &line);

#endif
