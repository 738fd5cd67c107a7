// The vocabulary of the POS document, the tables built from it and the rule that ties the status of
// a goal to its parts. Constants and tables stand in one file, the constants first, because the
// order of static initialisation holds only within a file.

#include "pos/pos.h"

#include "pos/PosInternal.h"

#include <QStringList>

#include <array>
#include <ostream>

using namespace kelvarune;

namespace pos {

const QString TAG_PROOF_OBLIGATIONS = QStringLiteral("Proof_Obligations");
const QString TAG_PROOF_OBLIGATION = QStringLiteral("Proof_Obligation");
const QString TAG_TAG = QStringLiteral("Tag");
const QString TAG_SIMPLE_GOAL = QStringLiteral("Simple_Goal");
const QString TAG_PROOF_STATE = QStringLiteral("Proof_State");
const QString TAG_IAPA = QStringLiteral("iapa");
const QString TAG_STATUS = QStringLiteral("status");
const QString TAG_MECHANISM = QStringLiteral("Mechanism");
const QString TAG_DRIVER = QStringLiteral("Driver");

const QString ATTR_STATUS = QStringLiteral("status");
const QString ATTR_NAME = QStringLiteral("name");
const QString ATTR_PROOF_STATE = QStringLiteral("proofState");
const QString ATTR_VALUE = QStringLiteral("value");
const QString ATTR_AUTHOR = QStringLiteral("author");
const QString ATTR_DIGEST = QStringLiteral("digest");
const QString ATTR_SOURCE = QStringLiteral("source");

const QString ATTR_VALUE_UNPROVED = QStringLiteral("Unproved");
const QString ATTR_VALUE_PROVED = QStringLiteral("Proved");
const QString ATTR_VALUE_PROVED_ZERO = QStringLiteral("Proved(0)");
const QString ATTR_VALUE_PROVED_ONE = QStringLiteral("Proved(1)");
const QString ATTR_VALUE_PROVED_TWO = QStringLiteral("Proved(2)");
const QString ATTR_VALUE_PROVED_THREE = QStringLiteral("Proved(3)");
const QString ATTR_VALUE_PROVED_UTIL = QStringLiteral("Proved(Util)");
const QString ATTR_VALUE_PROVED_FAST = QStringLiteral("Proved(Rapide)");
const QString ATTR_VALUE_UNRELIABLY_PROVED = QStringLiteral("UnreliablyProved");
const QString ATTR_VALUE_DISPROVED = QStringLiteral("Disproved");
const QString ATTR_VALUE_UNKNOWN = QStringLiteral("Unknown");
const QString ATTR_VALUE_VALID = QStringLiteral("Valid");
const QString ATTR_VALUE_INVALID = QStringLiteral("Invalid");

const std::map<status_t, char> charOfStatus = {
    {UNPROVED, '-'}, {UNKNOWN, '-'}, {UNRELIABLY_PROVED, '*'}, {PROVED, '+'}, {DISPROVED, '!'}};

namespace {

// Without the plain "Proved", on purpose: as a proofState it does not count as proved.
const QStringList proofProvedStatuses = {ATTR_VALUE_PROVED_ZERO, ATTR_VALUE_PROVED_ONE,
                                         ATTR_VALUE_PROVED_TWO,  ATTR_VALUE_PROVED_THREE,
                                         ATTR_VALUE_PROVED_UTIL, ATTR_VALUE_PROVED_FAST};

} // namespace

const std::map<QString, status_t> &proofStatusOfAttrValue_dict() {
  static const std::map<QString, status_t> dict = {
      {ATTR_VALUE_UNPROVED, UNPROVED},
      {ATTR_VALUE_UNKNOWN, UNKNOWN},
      {ATTR_VALUE_UNRELIABLY_PROVED, UNRELIABLY_PROVED},
      {ATTR_VALUE_PROVED, PROVED},
      {ATTR_VALUE_PROVED_ZERO, PROVED},
      {ATTR_VALUE_PROVED_ONE, PROVED},
      {ATTR_VALUE_PROVED_TWO, PROVED},
      {ATTR_VALUE_PROVED_THREE, PROVED},
      {ATTR_VALUE_PROVED_UTIL, PROVED},
      {ATTR_VALUE_PROVED_FAST, PROVED},
      {ATTR_VALUE_DISPROVED, DISPROVED}};
  return dict;
}

const std::map<status_t, QString> &strOfProofStatus_dict() {
  static const std::map<status_t, QString> dict = {
      {UNPROVED, ATTR_VALUE_UNPROVED},
      {UNKNOWN, ATTR_VALUE_UNKNOWN},
      {UNRELIABLY_PROVED, ATTR_VALUE_UNRELIABLY_PROVED},
      {PROVED, ATTR_VALUE_PROVED},
      {DISPROVED, ATTR_VALUE_DISPROVED}};
  return dict;
}

const std::map<QString, status_t> &ia_dict() {
  static const std::map<QString, status_t> dict = {{ATTR_VALUE_UNPROVED, UNPROVED},
                                                   {ATTR_VALUE_UNKNOWN, UNPROVED},
                                                   {ATTR_VALUE_VALID, UNRELIABLY_PROVED},
                                                   {ATTR_VALUE_INVALID, DISPROVED}};
  return dict;
}

const std::map<QString, status_t> &me_dict() {
  static const std::map<QString, status_t> dict = {
      {ATTR_VALUE_UNPROVED, UNPROVED},
      {ATTR_VALUE_UNKNOWN, UNPROVED},
      {ATTR_VALUE_PROVED, PROVED},
      {ATTR_VALUE_UNRELIABLY_PROVED, UNRELIABLY_PROVED},
      {ATTR_VALUE_DISPROVED, DISPROVED}};
  return dict;
}

status_t proofStatusOfAttrValue(const QString &text) {
  return proofStatusOfAttrValue_dict().at(text);
}

QString strOfProofStatus(status_t status) {
  return strOfProofStatus_dict().at(status);
}

std::ostream &operator<<(std::ostream &stream, status_t status) {
  return stream << strOfProofStatus(status).toStdString();
}

bool isProvedProofState(const QString &proofState) {
  return proofProvedStatuses.contains(proofState);
}

QString proofStateOf(const QDomElement &goal, const QString &absent) {
  return goal.firstChildElement(TAG_PROOF_STATE).attribute(ATTR_PROOF_STATE, absent);
}

bool isProof(status_t status) {
  return status == PROVED || status == UNRELIABLY_PROVED;
}

status_t statusOf(const QDomElement &element) {
  return proofStatusOfAttrValue(element.attribute(ATTR_STATUS, ATTR_VALUE_UNPROVED));
}

status_t statusOf(const xml::StartTag &tag) {
  return proofStatusOfAttrValue(tag.attribute(ATTR_STATUS, ATTR_VALUE_UNPROVED));
}

status_t expectedStatus(const QDomElement &goal) {
  std::array<int, DISPROVED + 1> votes = {};
  votes[isProvedProofState(proofStateOf(goal, QString())) ? PROVED : UNPROVED] = 1;
  const QDomElement iapa = goal.firstChildElement(TAG_IAPA);
  if (!iapa.isNull())
    ++votes[ia_dict().at(iapa.firstChildElement(TAG_STATUS).attribute(ATTR_VALUE))];
  for (const QDomElement &mechanism : xml::children(goal, TAG_MECHANISM))
    ++votes[me_dict().at(mechanism.attribute(ATTR_STATUS))];

  for (const status_t status : {DISPROVED, PROVED, UNRELIABLY_PROVED}) {
    if (votes[status] > 0)
      return status;
  }
  return UNPROVED;
}

} // namespace pos
