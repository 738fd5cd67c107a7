#ifndef KELVARUNE_TESTS_SUPPORT_POS_H
#define KELVARUNE_TESTS_SUPPORT_POS_H

#include "pos/GoalBytes.h"
#include "pos/PosInternal.h"

#include <QTextStream>

#include <initializer_list>
#include <random>
#include <sstream>
#include <string>

/// All counters in the order of the fields, one line per record.
inline std::string shown(const pos::metrics_t &all) {
  std::ostringstream text;
  const auto line = [&text](const std::string &name, std::initializer_list<std::int32_t> counts) {
    text << name;
    for (const std::int32_t count : counts)
      text << ' ' << count;
    text << '\n';
  };
  line("goals", {all.total, all.unproved, all.proved, all.unreliablyProved, all.disproved,
                 all.provedExternally, all.provedByProofState});
  for (const auto &[name, mechanism] : all.mechanisms) {
    line(name, {mechanism->unproved, mechanism->unknown, mechanism->proved,
                mechanism->unreliablyProved, mechanism->disproved});
    for (const auto &[driverName, driver] : mechanism->drivers)
      line(name + "/" + driverName,
           {driver->unproved, driver->unknown, driver->proved, driver->disproved});
  }
  return text.str();
}

/// Whether the bytes kept goal by goal are those of a whole save, before and after each of several
/// rounds of changes in goals taken at random.
inline bool keepsBytes(const QDomDocument &document, int rounds, std::mt19937 &random) {
  pos::GoalBytes bytes(document);
  if (random() % 2) // else the first collection does it
    bytes.prepare();
  const std::vector<pos::obligation_t> obligations = pos::obligationsOf(document);
  const char *const statuses[] = {"Proved", "Unknown", "UnreliablyProved", "a<b&\"c\"\n"};
  for (int round = 0; round < rounds; ++round) {
    QByteArray pieces;
    for (const QByteArray &piece : bytes.collect())
      pieces += piece;
    QByteArray whole;
    QTextStream stream(&whole, QIODevice::WriteOnly);
    document.save(stream, pos::XML_INDENT);
    stream.flush();
    if (pieces != whole)
      return false;
    for (unsigned changes = obligations.empty() ? 0 : random() % 8; changes > 0; --changes) {
      const std::size_t i = random() % obligations.size();
      for (std::size_t j = random() % 4; j < obligations[i].goals.size(); j += 1 + random() % 4) {
        QDomElement changed = obligations[i].goals[j];
        for (QDomElement at = changed; !at.isNull(); at = at.firstChildElement()) // or inside it
          changed = random() % 2 ? at : changed;
        changed.setAttribute(pos::ATTR_STATUS, QString::fromUtf8(statuses[random() % 4]));
        bytes.goalChanged(i, j);
      }
    }
  }
  return true;
}

#endif
