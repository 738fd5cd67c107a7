#ifndef KELVARUNE_MECHANISM_FAULTS_H
#define KELVARUNE_MECHANISM_FAULTS_H

#include "mechanism/Mechanism.h"

#include <QString>
#include <QStringList>

#include <string>
#include <vector>

/// What is wrong with a mechanism's description file, for programs that say so before they play it.
namespace mechanism {

enum class fault_kind_t {
  UNREADABLE,        ///< the file; when it nests too deeply the reader has said so
  MALFORMED,         ///< the file: `text` is the XML library's complaint
  NO_MECHANISM,      ///< the file has no "mechanism" element
  UNKNOWN_WORD,      ///< `text` of the attribute `name` is none of `known`
  MISSING_TOOL,      ///< a driver has no element of the name `role`
  TOOL_NOT_FOUND,    ///< `text` is the path that was looked for
  UNKNOWN_DEFINITION ///< an "expand" names the definition `text`, which is not there
};

struct fault_t {
  fault_kind_t kind = fault_kind_t::UNREADABLE;
  int line = 0; ///< where the element's start tag ends, or the parser stopped, from 1; 0 for none
  int column = 0;
  QString text = {};
  QString name = {};       ///< of the attribute, or of the tool
  QString driver = {};     ///< the name of the driver concerned
  QString role = {};       ///< TAG_WRITER, TAG_PROVER or TAG_READER: which tool of the driver
  QStringList known = {};  ///< the words that there are, in the order of the alphabet
  QStringList places = {}; ///< where a relative path was looked for: the installation directories
                           ///< and then the working directory
};

/// Reads the description `file` into `out` as ofFile does, and gives all its faults: first those of
/// "mechanism", then those of the drivers in document order. Nothing is written. Without faults
/// ofFile reads the file in the same way and returns true; with any, `out` is not to be used.
///
/// Throws what checkToolExistence throws. Reads the resource manager, which must not change
/// meanwhile.
std::vector<fault_t> readFaults(const QString &file, mechanism_t &out,
                                const std::vector<std::string> &installDirs);

} // namespace mechanism

#endif
