// Each part says how many rows it would like. All get a few; the rest of the lines goes to those
// that matter most.

#include "report/Markdown.h"

#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <algorithm>
#include <cmath>
#include <numeric>

using namespace kelvarune;

namespace {

constexpr int MOST_LINES = 60;
constexpr int ROWS_OF_ALL = 3; ///< that no part is denied
constexpr int LONGEST_NAME = 100;
constexpr int LONGEST_FAULT = 300;

// As code, where no mark, mention or link is seen. What could end it, or the cell of a table, is
// written by its number.
QString code(const QString &name, int longest = LONGEST_NAME) {
  QString text = shown(name);
  if (text.size() > longest)
    text = text.left(longest - 1) + QChar(0x2026);
  const auto isPlain = [](QChar c) {
    return c != QLatin1Char('`') && c != QLatin1Char('|') && c != QLatin1Char('\\');
  };
  if (std::all_of(text.begin(), text.end(), isPlain))
    return QLatin1Char('`') + text + QLatin1Char('`');
  QString escaped;
  for (const QChar c : std::as_const(text)) {
    const bool isLiteral = c.isLetterOrNumber() || c.unicode() > 0x7f || c == QLatin1Char(' ');
    escaped += isLiteral ? QString(c) : "&#%1;"_s.arg(c.unicode());
  }
  return "<code>"_s + escaped + "</code>"_s;
}

QString statusText(const std::optional<pos::status_t> &status) {
  return status ? pos::strOfProofStatus(*status) : "gone"_s;
}

QString row(const QStringList &cells) {
  return "| "_s + cells.join(" | "_s) + " |"_s;
}

QString number(int value) {
  return QString::number(value);
}

/// A part of the summary: `rows` is what may be cut.
struct part_t {
  QString heading;
  QStringList head; ///< of a table: its two lines; else the rows are items
  QStringList rows;
  int shown = 0;

  int fixedLines() const { return 3 + head.size(); } // the heading and two empty lines
  QString rest() const {
    const QString words = "and %1 more"_s.arg(rows.size() - shown);
    return head.isEmpty() ? "- "_s + words
                          : row(QStringList(words) + QVector<QString>(columns() - 1).toList());
  }
  int columns() const { return head.first().count(QLatin1Char('|')) - 1; }
  QStringList lines() const {
    QStringList all = QStringList{heading, QString()} + head + rows.mid(0, shown);
    if (shown < rows.size())
      all.append(rest());
    return all << QString();
  }
};

part_t lostPart(const overview_t &overview) {
  part_t part;
  for (const bool isGone : {false, true}) {
    for (const component_t &component : overview.components) {
      for (const change_t &change : component.changes) {
        const bool isOfThese = isGone
                                   ? change.isGoneProof() && change.kind != difference_kind_t::LOST
                                   : change.kind == difference_kind_t::LOST;
        if (isOfThese)
          part.rows.append(row({code(textOf(change.place)), code(component.name),
                                statusText(change.before), statusText(change.after)}));
      }
    }
  }
  const int lost = countOf(overview, difference_kind_t::LOST);
  const int gone = part.rows.size() - lost;
  const QString goneText = gone == 0 ? QString() : "%1 gone"_s.arg(counted(gone, "proof"));
  const QString lostText = lost == 0 ? QString() : "%1 lost"_s.arg(counted(lost, "proof"));
  part.heading = "### "_s + lostText + (lost > 0 && gone > 0 ? ", "_s : QString()) + goneText;
  part.head =
      QStringList{row({"Goal"_s, "Component"_s, "Was"_s, "Is"_s}), "| --- | --- | --- | --- |"_s};
  return part;
}

part_t faultPart(const overview_t &overview) {
  part_t part;
  for (const component_t &component : overview.components) {
    for (const QString &fault : component.faults)
      part.rows.append("- "_s + code(component.name) + ": "_s + code(fault, LONGEST_FAULT));
  }
  part.heading = "### Could not be read"_s;
  return part;
}

part_t disprovedPart(const overview_t &overview) {
  part_t part;
  for (const component_t &component : overview.components) {
    for (const goal_t &goal : component.disproved)
      part.rows.append(
          row({code(textOf(goal.place)), code(component.name),
               goal.disprovedBy.empty() ? QString() : code(namesOf(goal.disprovedBy, ", "_s))}));
  }
  part.heading = "### "_s + counted(part.rows.size(), "disproved goal");
  part.head = QStringList{row({"Goal"_s, "Component"_s, "By"_s}), "| --- | --- | --- |"_s};
  return part;
}

QString secondsText(double seconds) {
  return QString::number(seconds, 'f', 1);
}

part_t totalsPart(const overview_t &overview) {
  const pos::metrics_t &metrics = overview.total.metrics;
  part_t part;
  part.heading = "### All goals"_s;
  QStringList heads = {"Goals"_s,    "Proved"_s,  "Unreliably"_s,
                       "Unproved"_s, "Unknown"_s, "Disproved"_s};
  QStringList cells = {
      number(metrics.total),
      "%1 (%2)"_s.arg(number(metrics.proved), share(metrics.proved, metrics.total)),
      number(metrics.unreliablyProved),
      number(metrics.unproved),
      number(overview.total.unknown),
      number(metrics.disproved)};
  if (overview.hasTimes) {
    heads.append("Seconds"_s);
    cells.append(secondsText(overview.seconds));
  }
  QStringList rule;
  for (int i = 0; i < heads.size(); ++i)
    rule.append("---:"_s);
  part.head = QStringList{row(heads), row(rule)};
  part.rows = QStringList(row(cells));
  return part;
}

QString changesText(const component_t &component) {
  if (component.isNew)
    return "new"_s;
  QStringList words;
  for (const auto &[kind, word] : {std::pair{difference_kind_t::LOST, "lost"},
                                   {difference_kind_t::GAINED, "gained"},
                                   {difference_kind_t::CHANGED, "changed"},
                                   {difference_kind_t::DISAPPEARED, "gone"},
                                   {difference_kind_t::APPEARED, "new"}}) {
    const int count = countOf(component, kind);
    if (count > 0)
      words.append(number(count) + QLatin1Char(' ') + QLatin1String(word));
  }
  return words.join(", "_s);
}

int openGoals(const component_t &component) {
  return component.stats.metrics.total - component.stats.metrics.proved;
}

// Those with most to do first, then those that only changed.
part_t componentsPart(const overview_t &overview) {
  std::vector<const component_t *> some;
  for (const component_t &component : overview.components) {
    if (openGoals(component) > 0 || !component.changes.empty())
      some.push_back(&component);
  }
  std::stable_sort(some.begin(), some.end(), [](const component_t *a, const component_t *b) {
    return openGoals(*a) > openGoals(*b);
  });
  part_t part;
  const bool isCompared = !overview.against.isEmpty();
  for (const component_t *component : some) {
    const pos::metrics_t &metrics = component->stats.metrics;
    QStringList cells = {code(component->name), number(openGoals(*component)),
                         "%1/%2"_s.arg(metrics.proved).arg(metrics.total),
                         share(metrics.proved, metrics.total)};
    if (isCompared)
      cells.append(changesText(*component));
    part.rows.append(row(cells));
  }
  QStringList heads = {"Component"_s, "Open"_s, "Proved"_s, "Share"_s};
  QStringList rule = {"---"_s, "---:"_s, "---:"_s, "---:"_s};
  if (isCompared) {
    heads.append("Changes"_s);
    rule.append("---"_s);
  }
  part.heading = isCompared ? "### Components with open goals or changes"_s
                            : "### Components with open goals"_s;
  part.head = QStringList{row(heads), row(rule)};
  return part;
}

QString comparisonText(const overview_t &overview) {
  QStringList words;
  for (const auto &[kind, word] : {std::pair{difference_kind_t::GAINED, "gained"},
                                   {difference_kind_t::CHANGED, "changed"},
                                   {difference_kind_t::DISAPPEARED, "gone"},
                                   {difference_kind_t::APPEARED, "new"}})
    words.append(number(countOf(overview, kind)) + QLatin1Char(' ') + QLatin1String(word));
  return "Since %1: **%2 lost**, %3."_s.arg(code(overview.against),
                                            number(countOf(overview, difference_kind_t::LOST)),
                                            words.join(", "_s));
}

/// Shares out the lines that are left.
void chooseRows(std::vector<part_t> &parts, int lines) {
  for (const part_t &part : parts)
    lines -= part.fixedLines() + 1; // one for how many more there are
  for (part_t &part : parts) {
    part.shown = std::min(part.rows.size(), ROWS_OF_ALL);
    lines -= part.shown;
  }
  for (part_t &part : parts) {
    const int more = std::min(part.rows.size() - part.shown, std::max(0, lines));
    part.shown += more;
    lines -= more;
  }
}

} // namespace

QByteArray markdownSummary(const overview_t &overview) {
  const pos::metrics_t &metrics = overview.total.metrics;
  const QString share =
      metrics.total == 0 ? QString() : " (%1)"_s.arg(::share(metrics.proved, metrics.total));
  QStringList lines = {"## %1: %2 of %3 proved%4"_s.arg(code(overview.name), number(metrics.proved),
                                                        counted(metrics.total, "goal"), share),
                       QString()};
  if (!overview.against.isEmpty())
    lines << comparisonText(overview) << QString();
  std::vector<part_t> parts;
  for (part_t part : {lostPart(overview), faultPart(overview), disprovedPart(overview),
                      totalsPart(overview), componentsPart(overview)}) {
    if (!part.rows.isEmpty())
      parts.push_back(std::move(part));
  }
  chooseRows(parts, MOST_LINES - lines.size());
  for (const part_t &part : parts)
    lines += part.lines();
  lines.removeLast(); // an empty one
  return (lines.join(QLatin1Char('\n')) + QLatin1Char('\n')).toUtf8();
}
