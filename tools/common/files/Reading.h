#ifndef KELVARUNE_TOOLS_COMMON_FILES_READING_H
#define KELVARUNE_TOOLS_COMMON_FILES_READING_H

#include "model/Goals.h"
#include "pos/Faults.h"

#include <QDomDocument>
#include <QString>

#include <vector>

/// Why the file at `path`, which has these faults, is refused: one line that names it.
QString whyRefused(const QString &path, const std::vector<pos::fault_t> &faults);

/// Says on one line of standard error why the file at `path`, which has these faults, is refused.
void refuse(const QString &path, const std::vector<pos::fault_t> &faults);

/// Whether these are faults of the whole file, so that nothing in it can be looked at.
bool isUnusable(const std::vector<pos::fault_t> &faults);

/// Reads the POS file at `path`. False, after refusing it, when it has faults for `use`.
bool readSound(const QString &path, pos::use_t use, QDomDocument &document);

/// Reads the goals of the POS file at `path`. False, after refusing it, when it has faults for
/// counting.
bool readGoals(const QString &path, std::vector<goal_t> &goals);

#endif
