// POS documents: what is counted in a file is what is in its document, the faults foresee every
// error, and the bytes that are kept piece by piece are those of the whole document.

#include "FuzzSupport.h"
#include "pos/Edits.h"
#include "pos/Faults.h"
#include "pos/Merge.h"
#include "support/Pos.h"
#include "xml/XmlFile.h"

using namespace kelvarune;

namespace {

// Expects no faults for deriving: then no change of a part raises an error, and a merged document
// claims of each goal what follows from its parts.
void edit(const QDomDocument &document) {
  QDomDocument edited = document.cloneNode().toDocument();
  const pos::metrics_t metrics = pos::metricsOf(document);
  for (const auto &[name, mechanism] : metrics.mechanisms) {
    for (const auto &[driver, counts] : mechanism->drivers) {
      const std::optional<QString> both[] = {QString::fromStdString(name),
                                             QString::fromStdString(driver)};
      if (counts->proved > counts->unknown)
        pos::removeDriver(edited, *both[0], *both[1]);
      else
        pos::resetVerdicts(edited, {{}, both[0], both[1]});
    }
  }
  QDomDocument merged = document.cloneNode().toDocument();
  pos::merge(merged, edited);
  pos::resetVerdicts(edited, {{pos::PROVED, pos::UNKNOWN}});
  pos::merge(edited, document);
  for (const QDomDocument &result : {merged, edited})
    require(pos::faultsOf(result, pos::use_t::CHECKING).empty(), "what was merged holds");
}

void operate(const std::string &path, QDomDocument document) {
  const auto isSound = [&](pos::use_t use) { return pos::faultsOf(document, use).empty(); };
  pos::metrics_t metrics;
  const bool isCounted = endsOrThrows([&] { pos::getMetrics(path, metrics); });
  require(isCounted == isSound(pos::use_t::COUNTING), "faults foresee what cannot be counted");
  require(!isCounted || shown(metrics) == shown(pos::metricsOf(document)),
          "what is counted in the file is what is in the document");
  bool holds = false;
  const bool isDerived = endsOrThrows([&] { holds = pos::checkPosInvariant(document); });
  require(isDerived || !isSound(pos::use_t::DERIVING), "faults foresee what cannot be derived");
  require(holds || !isSound(pos::use_t::CHECKING), "faults foresee what does not hold");
  if (isSound(pos::use_t::DERIVING))
    edit(document);
  std::vector<std::string> names;
  endsOrThrows([&] { pos::getMechanisms(path, names); });
  for (const std::string &name : names) {
    bool changed = false;
    endsOrThrows([&] { pos::removeMechanism(document, QString::fromStdString(name), changed); });
  }
  pos::unprove(document);
}

} // namespace

void fuzz(const FuzzDirectory &directory, std::string_view input, std::mt19937 &choices) {
  const std::string path = directory.write("in.pos", input);
  QDomDocument document;
  const xml::read_result_t read = xml::readDocument(QString::fromStdString(path), document);
  if (read.wellFormed)
    operate(path, document.cloneNode().toDocument());
  if (read.readable)
    require(keepsBytes(document, 4, choices), "the pieces are the whole document");
}
