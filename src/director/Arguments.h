#ifndef KELVARUNE_DIRECTOR_ARGUMENTS_H
#define KELVARUNE_DIRECTOR_ARGUMENTS_H

#include "mechanism/Mechanism.h"

#include <QString>
#include <QStringList>

#include <initializer_list>

/// Appends the parameters of a writer: a name and its value are two arguments when the separator is
/// exactly one blank, else one; an empty name or value is left out, but a nameless parameter always
/// gives its value. Nothing is substituted.
void addParametersBits(QStringList &args, mechanism::tool_t tool);

/// Appends one parameter of a prover or reader, with "${file}" replaced by `file` in its name and
/// value. Both are one argument when the separator holds more than white space, else two; an absent
/// (null) name or value is left out, an empty one is not. Differs from the writers' rule on
/// purpose.
void append_param(const mechanism::param_t &param, QStringList &args, const QString &file);

/// The name of a POG file without directory and extension. The extension starts at the last "." of
/// the whole path and counts only behind the last "/".
QString baseNameOfPog(const QString &pog);

/// The name of a secondary proof obligation file: the names and numbers joined by "_", a ".", and
/// the extension. Whatever characters the names hold stay as they are.
QString secondaryFileName(const QString &base, const QString &mechanism, const QString &driver,
                          std::initializer_list<unsigned long> numbers, const QString &extension);

#endif
