#ifndef KELVARUNE_TOOLS_COMMON_FILES_SAVING_H
#define KELVARUNE_TOOLS_COMMON_FILES_SAVING_H

#include <QByteArray>
#include <QDomDocument>
#include <QString>

/// The bytes of a POS file with this document.
QByteArray bytesOf(const QDomDocument &document);

/// Replaces the file at `path`, which must exist, as a whole, after a copy of it is safe on the
/// disk as "PATH.~N~", whose path `backup` becomes. False, with a complaint, when that cannot be.
bool replaceFile(const QString &path, const QByteArray &bytes, QString &backup);

/// Writes a file that may be new, through a temporary file that takes its name. False, with a
/// complaint, when that cannot be.
bool writeFile(const QString &path, const QByteArray &bytes);

/// Whether both paths lead to one file.
bool isSameFile(const QString &path, const QString &other);

#endif
