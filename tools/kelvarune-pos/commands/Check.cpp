// Unlike the library's own check, which stops at the first goal, this one goes on, and takes a
// status text without meaning for a finding like any other: it is what one looks for here.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "commands/Reading.h"
#include "output/Json.h"
#include "output/Output.h"
#include "output/Words.h"
#include "text/Literals.h"

#include <QJsonArray>

using namespace kelvarune;

namespace {

QJsonArray violationsOf(const std::vector<pos::fault_t> &findings) {
  QJsonArray array;
  for (const pos::fault_t &finding : findings)
    array.append(QJsonObject{{"tag"_s, finding.place.tag},
                             {"number"_s, finding.place.number},
                             {"obligation"_s, finding.place.obligation},
                             {"line"_s, finding.line},
                             {"column"_s, finding.column},
                             {"message"_s, textOf(finding)}});
  return array;
}

// As compilers write them, so that editors find the places.
QString linesOf(const std::vector<pos::fault_t> &findings, const QString &path) {
  QString text;
  for (const pos::fault_t &finding : findings)
    text += placed(shown(path), finding.line, finding.column) +
            coloured({textOf(finding.place), "1;31"}) + ": "_s + shown(textOf(finding)) +
            QLatin1Char('\n');
  return text;
}

} // namespace

int commands::check(const options_t &options) {
  QDomDocument document;
  const std::vector<pos::fault_t> findings =
      pos::readFaults(options.file(), pos::use_t::CHECKING, document);
  if (isUnusable(findings)) {
    refuse(options.file(), findings);
    return EXIT_REFUSED;
  }
  const int total = static_cast<int>(pos::goalsOf(document).size());
  const int status = findings.empty() ? EXIT_DONE : EXIT_FOUND;
  if (options.json)
    return finishJson("check", options.file(),
                      {{"goals"_s, total}, {"violations"_s, violationsOf(findings)}}, status);
  const QString summary = shown(options.file()) + ": "_s + counted(total, "goal") + ", "_s +
                          counted(static_cast<int>(findings.size()), "violation") +
                          QLatin1Char('\n');
  return finish((linesOf(findings, options.file()) + summary).toUtf8(), status);
}
