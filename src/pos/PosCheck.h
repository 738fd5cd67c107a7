#ifndef KELVARUNE_POS_POSCHECK_H
#define KELVARUNE_POS_POSCHECK_H

#include <QDomDocument>
#include <QString>

#include <vector>

namespace pos {

/// A status text in a POS document that is none, and where it stands. `goal` counts within its
/// proof obligation from 1, line and column in the file the document was read from, from 1.
struct unknown_status_t {
  QString text;
  QString tag;
  int goal;
  int line;
  int column;
};

/// All status texts of goals, mechanisms and drivers that do not exist, in document order. What is
/// found here would raise std::out_of_range when it is read.
std::vector<unknown_status_t> unknownStatuses(const QDomDocument &document);

} // namespace pos

#endif
