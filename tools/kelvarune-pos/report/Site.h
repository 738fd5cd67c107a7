#ifndef KELVARUNE_TOOLS_POS_REPORT_SITE_H
#define KELVARUNE_TOOLS_POS_REPORT_SITE_H

#include "model/Overview.h"

#include <QByteArray>
#include <QStringList>

/// The pages of several components. All of them are self-contained; the index leads to the others.

/// The paths of the components' pages below the directory of the index, no two alike wherever files
/// are kept.
QStringList pagePaths(const QStringList &names);

/// The address that leads from the page of a component to the index.
QString homeAddress();

/// The index; `paths` are those of the components that were read, by their places.
QByteArray indexPage(const overview_t &overview, const QStringList &paths);

#endif
