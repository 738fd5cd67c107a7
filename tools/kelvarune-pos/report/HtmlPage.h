#ifndef KELVARUNE_TOOLS_POS_REPORT_HTMLPAGE_H
#define KELVARUNE_TOOLS_POS_REPORT_HTMLPAGE_H

#include "history/Past.h"
#include "model/Stats.h"

#include <QByteArray>
#include <QString>

#include <optional>

/// What a page is about.
struct page_t {
  QString path; ///< of the POS file
  QString name; ///< of the component
  QString home; ///< an address relative to the page's that leads to the others; may be empty
};

/// A page that stands alone.
page_t pageOf(const QString &path);

/// One self-contained page that shows a POS file and, if it has one, its history.
QByteArray htmlPage(const page_t &page, const std::vector<goal_t> &goals, const stats_t &stats,
                    const std::optional<history::past_t> &past);

#endif
