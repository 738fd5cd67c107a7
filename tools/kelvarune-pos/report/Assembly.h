#ifndef KELVARUNE_TOOLS_POS_REPORT_ASSEMBLY_H
#define KELVARUNE_TOOLS_POS_REPORT_ASSEMBLY_H

#include <QByteArray>
#include <QJsonObject>

#include <initializer_list>

/// A self-contained page of `markup`, `styles`, `scripts` and `data`. The names are those of files
/// beside this one, which are compiled in. The data is a JSON script element, which the scripts
/// read.
QByteArray assembled(const char *markup, std::initializer_list<const char *> styles,
                     std::initializer_list<const char *> scripts, const QJsonObject &data);

#endif
