// The POS document. The two loaders differ on purpose: registering offers every driver of the
// mechanism for an open goal, reloading only those that have concluded on it before, because a
// replay establishes earlier proofs again.

#include "director/DirectorParts.h"
#include "director/ProofDirector.h"
#include "director/StatusRules.h"
#include "xml/XmlFile.h"

#include <map>

using namespace kelvarune;

using mechanism::trust_t;

namespace {

QString statusOf(const QDomElement &element) {
  return element.attribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
}

bool hasConcluded(const QDomElement &driver) {
  const QString status = statusOf(driver);
  return status == pos::ATTR_VALUE_PROVED || status == pos::ATTR_VALUE_DISPROVED;
}

// Whether the mechanism may still raise the status of a goal.
bool mayImprove(pos::status_t goal, trust_t trust) {
  if (goal == pos::PROVED || goal == pos::DISPROVED)
    return false;
  return goal != pos::UNRELIABLY_PROVED || trust != trust_t::NEVER;
}

std::string tagOf(const QDomElement &obligation) {
  return obligation.firstChildElement(pos::TAG_TAG).text().toStdString();
}

} // namespace

QDomElement ProofDirector::mechanismElement(const QDomElement &goal) const {
  const QString name = QString::fromStdString(mechanism.name);
  for (const QDomElement &element : xml::children(goal, pos::TAG_MECHANISM)) {
    if (element.attribute(pos::ATTR_NAME) == name)
      return element;
  }
  return QDomElement();
}

QDomElement ProofDirector::registerMechanism(const QDomElement &goal) {
  QDomElement element = posDocument.createElement(pos::TAG_MECHANISM);
  element.setAttribute(pos::ATTR_NAME, QString::fromStdString(mechanism.name));
  element.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
  for (const QString &name : std::as_const(mechanism.driver_names)) {
    QDomElement driver = posDocument.createElement(pos::TAG_DRIVER);
    driver.setAttribute(pos::ATTR_NAME, name);
    driver.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    element.appendChild(driver);
  }
  QDomNode(goal).appendChild(element);
  return element;
}

bool ProofDirector::loadPosFile() {
  return parts->posFile.load(posDocument, [this] { return acceptRegistering(); }) &&
         documentChanged;
}

bool ProofDirector::acceptRegistering() {
  const QDomElement root = posDocument.documentElement();
  for (const QDomElement &obligation : xml::children(root, pos::TAG_PROOF_OBLIGATION)) {
    std::vector<po_data_t> goals;
    for (QDomElement goal : xml::children(obligation, pos::TAG_SIMPLE_GOAL)) {
      po_data_t data;
      data.status = pos::proofStatusOfAttrValue(statusOf(goal));
      const bool improvable = mayImprove(data.status, mechanism.trust);
      unprovedCount += data.status == pos::UNPROVED ? 1 : 0;
      data.element = mechanismElement(goal);
      QStringList added;
      if (data.element.isNull()) {
        data.element = registerMechanism(goal);
        documentChanged = true;
        if (data.status == pos::UNKNOWN)
          goal.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
      } else if (parts->choice.addDrivers) {
        added = addMissingDrivers(data.element);
      }
      if (improvable && statusOf(data.element) == pos::ATTR_VALUE_UNPROVED) {
        // Whatever the driver's own status is (wanted).
        for (const QDomElement &driver : xml::children(data.element, pos::TAG_DRIVER))
          data.drivers.append(driver.attribute(pos::ATTR_NAME));
        data.status = pos::UNPROVED;
      } else if (improvable) {
        offerBeyondRules(goal, added, {poData.size(), goals.size()}, data);
      }
      goals.push_back(std::move(data));
    }
    poData.emplace_back(tagOf(obligation), std::move(goals));
  }
  dropOtherShards();
  return true;
}

// Adds the drivers of the description that the element lacks, each before the next one of the
// description that it has, and gives their names.
QStringList ProofDirector::addMissingDrivers(QDomElement element) {
  std::map<QString, QDomElement> present;
  for (const QDomElement &driver : xml::children(element, pos::TAG_DRIVER))
    present.insert({driver.attribute(pos::ATTR_NAME), driver});
  QStringList added;
  QDomElement next;
  for (auto name = mechanism.driver_names.rbegin(); name != mechanism.driver_names.rend(); ++name) {
    const auto found = present.find(*name);
    if (found != present.end()) {
      next = found->second;
      continue;
    }
    QDomElement driver = posDocument.createElement(pos::TAG_DRIVER);
    driver.setAttribute(pos::ATTR_NAME, *name);
    driver.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    if (next.isNull())
      element.appendChild(driver);
    else
      element.insertBefore(driver, next);
    next = driver;
    present.insert({*name, driver});
    added.prepend(*name);
  }
  documentChanged = documentChanged || !added.isEmpty();
  return added;
}

// Offers an open goal on which the mechanism has given up, or which it has proved unreliably, to
// drivers that are new, and on request to those that have said "Unknown". What the mechanism has
// reached stays until one of them says more, see updateStatus.
void ProofDirector::offerBeyondRules(QDomElement goal, const QStringList &added,
                                     const address_t &address, po_data_t &data) {
  const pos::status_t reached = pos::proofStatusOfAttrValue(statusOf(data.element));
  if (reached != pos::UNKNOWN && reached != pos::UNRELIABLY_PROVED)
    return;
  for (const QDomElement &driver : xml::children(data.element, pos::TAG_DRIVER)) {
    const QString name = driver.attribute(pos::ATTR_NAME);
    const bool again = parts->choice.retry && statusOf(driver) == pos::ATTR_VALUE_UNKNOWN;
    if (again || added.contains(name))
      data.drivers.append(name);
  }
  if (data.drivers.isEmpty())
    return;
  data.status = reached;
  parts->beyondRules.insert(address);
  if (statusOf(goal) == pos::ATTR_VALUE_UNKNOWN) { // as when a mechanism is registered
    goal.setAttribute(pos::ATTR_STATUS, pos::ATTR_VALUE_UNPROVED);
    documentChanged = true;
  }
}

bool ProofDirector::reloadPosFile() {
  return parts->posFile.load(posDocument, [this] { return acceptRegistered(); });
}

bool ProofDirector::acceptRegistered() {
  const QDomElement root = posDocument.documentElement();
  for (const QDomElement &obligation : xml::children(root, pos::TAG_PROOF_OBLIGATION)) {
    std::vector<po_data_t> goals;
    for (const QDomElement &goal : xml::children(obligation, pos::TAG_SIMPLE_GOAL)) {
      const bool unproved = statusOf(goal) == pos::ATTR_VALUE_UNPROVED;
      unprovedCount += unproved ? 1 : 0;
      const QDomElement element = mechanismElement(goal);
      if (element.isNull())
        return false;
      po_data_t data = {pos::UNPROVED, {}, element};
      if (unproved && statusOf(element) == pos::ATTR_VALUE_UNPROVED) {
        for (const QDomElement &driver : xml::children(element, pos::TAG_DRIVER)) {
          if (hasConcluded(driver))
            data.drivers.append(driver.attribute(pos::ATTR_NAME));
        }
      }
      goals.push_back(std::move(data));
    }
    poData.emplace_back(tagOf(obligation), std::move(goals));
  }
  dropOtherShards();
  return true;
}

// No driver gets the goals of the other shards.
void ProofDirector::dropOtherShards() {
  unsigned long number = 0;
  for (auto &[tag, goals] : poData) {
    for (po_data_t &goal : goals) {
      if (number++ % parts->choice.shards != parts->choice.shard)
        goal.drivers.clear();
    }
  }
}

bool ProofDirector::savePosFile() {
  pos::PosFile &file = parts->posFile;
  const bool saved = file.saveUpTo(file.ticket(), resultMutex);
  process::writeToStandardError(takeFailedSave());
  return saved;
}

void ProofDirector::updateStatus(const address_t &address, const QString &verdict) {
  po_data_t &data = poData.at(address.first).second.at(address.second);
  bool last = false; // a driver that the element does not have is not its last one
  for (QDomElement driver : xml::children(data.element, pos::TAG_DRIVER)) {
    if (driver.attribute(pos::ATTR_NAME) == currentDriver.name) {
      last = driver.nextSiblingElement(pos::TAG_DRIVER).isNull();
      driver.setAttribute(pos::ATTR_STATUS, verdict);
      break;
    }
  }

  if (concludesGoal(verdict, mechanism.trust, data.status))
    data.drivers.clear();
  else
    data.drivers.removeOne(currentDriver.name);

  mechanism_update_t update = nextMechanismStatus(verdict, last, mechanism.trust, data.status);
  if (verdict == pos::ATTR_VALUE_UNKNOWN && parts->beyondRules.count(address) > 0)
    update = {data.status, false};
  if (update.write)
    data.element.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(update.status));

  QDomElement goal = data.element.parentNode().toElement();
  if (goalFollows(statusOf(goal), update.status)) {
    goal.setAttribute(pos::ATTR_STATUS, pos::strOfProofStatus(update.status));
    --unprovedCount; // also for a goal that was not counted; wraps below 0 (wanted)
  }
  data.status = update.status;
  parts->posFile.goalChanged(address.first, address.second);
}
