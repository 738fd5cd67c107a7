#ifndef KELVARUNE_TESTS_SUPPORT_POS_H
#define KELVARUNE_TESTS_SUPPORT_POS_H

#include "pos/pos.h"

#include <QTextStream>

#include <initializer_list>
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

/// The bytes that the library saves the document as.
inline QByteArray wholeSave(const QDomDocument &document) {
  QByteArray bytes;
  QTextStream stream(&bytes, QIODevice::WriteOnly);
  document.save(stream, pos::XML_INDENT);
  stream.flush();
  return bytes;
}

inline QByteArray joined(const QVector<QByteArray> &pieces) {
  QByteArray all;
  for (const QByteArray &piece : pieces)
    all += piece;
  return all;
}

#endif
