// Dumps for debugging. Nothing reads them back.

#include "director/ProofDirector.h"

#include <QTextStream>

#include <ostream>

using namespace kelvarune;

namespace {

void dumpAddresses(std::ostream &stream, const std::vector<address_t> &addresses) {
  for (const address_t &address : addresses)
    stream << '{' << address.first << ", " << address.second << '}';
}

void dumpLines(std::ostream &stream, const QStringList &lines) {
  for (const QString &line : lines)
    stream << line.toStdString() << std::endl;
}

std::string serialised(const QDomElement &element) {
  QString text;
  QTextStream stream(&text);
  element.save(stream, 0);
  return text.toStdString();
}

} // namespace

std::ostream &operator<<(std::ostream &stream, const ProofDirector &director) {
  return stream << "pos: " << director.pos.toStdString() << std::endl
                << "pog: " << director.pog.toStdString() << std::endl
                << "dir: " << director.dir.toStdString() << std::endl
                << "loaded: " << director.loaded << std::endl
                << "mechanism:" << director.mechanism << std::endl
                << "concurrency:" << director.concurrency << std::endl;
}

std::ostream &operator<<(std::ostream &stream, const po_data_t &data) {
  return stream << '{' << serialised(data.element) << ", " << data.status << ", {"
                << data.drivers.join(QLatin1Char(' ')).toStdString() << "}}";
}

std::ostream &operator<<(std::ostream &stream, const po_data_list_t &poData) {
  stream << '{' << std::endl;
  for (const auto &[tag, goals] : poData) {
    stream << "  " << tag << ',' << std::endl << "  {" << std::endl;
    for (const po_data_t &data : goals)
      stream << "    " << data << std::endl;
    stream << "  }" << std::endl;
  }
  return stream; // no closing brace (wanted)
}

std::ostream &operator<<(std::ostream &stream, const writer_data_t &data) {
  stream << "cmd: " << data.cmd.native() << std::endl
         << "args: " << data.args.join(QLatin1Char(' ')).toStdString() << std::endl
         << "po2filename: " << data.po2filename.toStdString() << std::endl
         << "positions: ";
  dumpAddresses(stream, data.positions);
  return stream << std::endl;
}

std::ostream &operator<<(std::ostream &stream, const prover_data_t &data) {
  stream << "cmdp: " << data.cmdp.native() << std::endl << "argsp: " << std::endl;
  dumpLines(stream, data.argsp);
  stream << "cmdr:" << data.cmdr.native() << std::endl << "argsr:" << std::endl;
  dumpLines(stream, data.argsp); // not argsr (wanted)
  stream << "inpath:" << data.inpath.toStdString() << std::endl << "po addresses:" << std::endl;
  for (const address_t &address : data.addresses)
    stream << '\t' << address.first << '\t' << address.second << std::endl;
  return stream;
}
