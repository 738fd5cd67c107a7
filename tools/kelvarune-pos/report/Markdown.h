#ifndef KELVARUNE_TOOLS_POS_REPORT_MARKDOWN_H
#define KELVARUNE_TOOLS_POS_REPORT_MARKDOWN_H

#include "model/Overview.h"

#include <QByteArray>

/// A summary in Markdown as GitHub and GitLab understand it: at most 60 lines, what matters most
/// first. Names are shown as they are, whatever is in them.
QByteArray markdownSummary(const overview_t &overview);

#endif
