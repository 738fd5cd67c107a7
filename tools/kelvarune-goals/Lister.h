#ifndef KELVARUNE_TOOLS_GOALS_LISTER_H
#define KELVARUNE_TOOLS_GOALS_LISTER_H

#include "pos/Sync.h"

#include <QByteArray>
#include <QString>

#include <string>
#include <vector>

/// Lists of goals as programs print them: a line for each goal with its obligation's tag, its
/// number within that, from 1, and its digest, with tabs between. An obligation without goals is a
/// line with number 0 and "-".

/// Reads such a list. False, after a complaint that names `origin`, when it is none.
bool readLines(const QByteArray &lines, const QString &origin,
               std::vector<pos::listed_obligation_t> &list);

/// Runs `program` with the path of a POG and reads what it prints. False after a complaint.
bool runLister(const QString &program, const std::string &pogPath,
               std::vector<pos::listed_obligation_t> &list);

#endif
