// Reads a mechanism's description file. The tools are located while it is read, so that a mechanism
// that was read names only executables that exist. Only direct children count at every level: what
// stands anywhere else is not ours.
//
// One reader serves two callers: one ends at the first fault that matters, with a line or an error,
// the other collects all faults. So what has no faults for the one is read by the other.

#include "mechanism/Faults.h"
#include "mechanism/Mechanism.h"
#include "text/Literals.h"
#include "text/Paths.h"
#include "xml/XmlFile.h"

#include <QDir>
#include <QDomDocument>
#include <QDomElement>

#include <functional>
#include <iostream>
#include <stdexcept>
#include <utility>

using namespace kelvarune;

namespace mechanism {

namespace {

const QString DEFAULT_EXT = "po2"_s;
const QString VALUE_TRUE = "true"_s;
const QString TIMEOUT_VARIABLE = "${timeout}"_s;

/// Is given each fault and says whether to read on.
using report_t = std::function<bool(const fault_t &)>;

/// Reads one description. Its functions return false when the report has ended the reading.
class Reader {
public:
  Reader(std::vector<std::string> installDirs, definitions_t definitions, report_t report)
      : installDirs(std::move(installDirs)), definitions(std::move(definitions)),
        report(std::move(report)) {}

  bool readFile(const QString &file, mechanism_t &out);
  bool readTool(const QDomElement &element, tool_t &tool, fault_t fault);
  bool readExpansions(const QDomElement &element, QList<param_t> &list, const fault_t &fault);

private:
  bool readDriver(const QDomElement &element, driver_t &driver);
  bool readProver(const QDomElement &element, prover_t &prover, const fault_t &fault);
  void readDefinitions(const QDomElement &root);

  template <typename Value>
  bool readWord(const QDomElement &element, const QString &attribute,
                const std::map<QString, Value> &values, Value &value, fault_t fault);

  bool reportTool(const QDomElement &element, const tool_t &tool, fault_t fault);
  bool reportAt(const QDomElement &element, fault_kind_t kind, const QString &text, fault_t fault);

  const std::vector<std::string> installDirs;
  definitions_t definitions;
  const report_t report;
};

bool Reader::readFile(const QString &file, mechanism_t &out) {
  QDomDocument document;
  const xml::read_result_t read = xml::readDocument(file, document);
  if (!read.readable)
    return report({fault_kind_t::UNREADABLE, 0, 0, file});
  if (!read.wellFormed && !report({fault_kind_t::MALFORMED, read.line, read.column, read.message}))
    return false;
  const QDomElement root = document.firstChildElement(TAG_MECHANISM);
  if (root.isNull() && !report({fault_kind_t::NO_MECHANISM}))
    return false;
  out.name = baseNameOfPath(file.toStdString());
  out.trust = trust_t::NEVER;
  if (!readWord(root, ATTR_TRUST, trustOfXmlAttr, out.trust, {}))
    return false;
  readDefinitions(root);
  for (const QDomElement &element : xml::children(root, TAG_DRIVER)) {
    driver_t driver;
    if (!readDriver(element, driver))
      return false;
    out.driver_names.append(driver.name);
    out.drivers.push_back(std::move(driver));
  }
  return true;
}

void Reader::readDefinitions(const QDomElement &root) {
  // Wanted: the step goes to the next "param", not to the next "definition". So only the first
  // definition counts, and a "param" beside it, after it, counts as a definition too.
  for (QDomElement definition = root.firstChildElement(TAG_DEFINITION); !definition.isNull();
       definition = definition.nextSiblingElement(TAG_PARAM)) {
    QList<param_t> list;
    paramListOfXml(definition, list);
    definitions[definition.attribute(ATTR_NAME)] = list;
  }
}

bool Reader::readDriver(const QDomElement &element, driver_t &driver) {
  driver.name = element.attribute(ATTR_NAME);
  fault_t fault;
  fault.driver = driver.name;
  if (!readWord(element, ATTR_GROUP, groupOfXmlAttr, driver.group, fault))
    return false;
  driver.ext = element.attribute(ATTR_EXT, DEFAULT_EXT);
  driver.fast = element.attribute(ATTR_FAST) == VALUE_TRUE;

  fault.line = element.lineNumber(); // for a tool that has no element of its own
  fault.column = element.columnNumber();
  const auto of = [&fault](const QString &role) {
    fault.role = role;
    return fault;
  };
  return readTool(element.firstChildElement(TAG_WRITER), driver.writer, of(TAG_WRITER)) &&
         readProver(element.firstChildElement(TAG_PROVER), driver.prover, of(TAG_PROVER)) &&
         readTool(element.firstChildElement(TAG_READER), driver.reader, of(TAG_READER));
}

bool Reader::readProver(const QDomElement &element, prover_t &prover, const fault_t &fault) {
  if (!readTool(element, prover, fault))
    return false;
  const bool isStdin = element.attribute(ATTR_INPUT, ATTR_VALUE_STDIN) == ATTR_VALUE_STDIN;
  prover.input = isStdin ? input_t::STDIN : input_t::FILE;
  const QString timeout = element.attribute(ATTR_TIMEOUT);
  if (timeout.isEmpty())
    return true;
  prover.timeout = timeout.toInt();
  for (param_t &param : prover.parameters)
    param.value.replace(TIMEOUT_VARIABLE, timeout);
  return true;
}

// `fault` says which tool of which driver it is, and where that stands.
bool Reader::readTool(const QDomElement &element, tool_t &tool, fault_t fault) {
  tool.name = fault.name = element.attribute(ATTR_NAME);
  tool.default_path = element.attribute(ATTR_PATH);
  tool.resource = element.attribute(ATTR_RESOURCE);
  tool.path = computePath(tool.default_path, tool.resource).toStdString();
  if (!checkToolExistence(tool.path, installDirs) && !reportTool(element, tool, fault))
    return false;
  paramListOfXml(element, tool.parameters);
  return readExpansions(element, tool.parameters, fault);
}

bool Reader::reportTool(const QDomElement &element, const tool_t &tool, fault_t fault) {
  if (tool.path.is_relative()) {
    for (const std::string &directory : installDirs)
      fault.places << QString::fromStdString(directory);
    fault.places << QDir::currentPath();
  }
  const fault_kind_t kind =
      element.isNull() ? fault_kind_t::MISSING_TOOL : fault_kind_t::TOOL_NOT_FOUND;
  return reportAt(element, kind, QString::fromStdString(tool.path.native()), fault);
}

bool Reader::readExpansions(const QDomElement &element, QList<param_t> &list,
                            const fault_t &fault) {
  for (const QDomElement &expand : xml::children(element, TAG_EXPAND)) {
    const QString name = expand.attribute(ATTR_NAME);
    const auto definition = definitions.find(name);
    if (definition != definitions.end())
      list.append(definition->second);
    else if (!reportAt(expand, fault_kind_t::UNKNOWN_DEFINITION, name, fault))
      return false;
  }
  return true;
}

// Leaves `value` as it is, which is the default, when the attribute is absent or its text unknown.
template <typename Value>
bool Reader::readWord(const QDomElement &element, const QString &attribute,
                      const std::map<QString, Value> &values, Value &value, fault_t fault) {
  const QString text = element.attribute(attribute);
  const auto found = values.find(text);
  if (found != values.end())
    value = found->second;
  if (found != values.end() || !element.hasAttribute(attribute))
    return true;
  fault.name = attribute;
  for (const auto &[word, meaning] : values)
    fault.known << word;
  return reportAt(element, fault_kind_t::UNKNOWN_WORD, text, fault);
}

bool Reader::reportAt(const QDomElement &element, fault_kind_t kind, const QString &text,
                      fault_t fault) {
  fault.kind = kind;
  fault.text = text;
  if (!element.isNull()) {
    fault.line = element.lineNumber();
    fault.column = element.columnNumber();
  }
  return report(fault);
}

// What ofFile does with each fault: what is not well-formed is read as far as it goes, what is not
// there ends the reading with a line, and a word that is not in its table is an error.
bool isRead(const fault_t &fault) {
  switch (fault.kind) {
  case fault_kind_t::MALFORMED:
  case fault_kind_t::NO_MECHANISM:
    return true;
  case fault_kind_t::UNREADABLE:
    std::clog << "Cannot open '" << fault.text.toStdString() << "'." << std::endl;
    return false;
  case fault_kind_t::MISSING_TOOL:
  case fault_kind_t::TOOL_NOT_FOUND:
    std::cerr << (fault.role == TAG_PROVER ? "Cannot locate prover " : "Cannot locate tool ")
              << fault.name.toStdString() << std::endl;
    return false;
  case fault_kind_t::UNKNOWN_WORD:
  case fault_kind_t::UNKNOWN_DEFINITION:
    break;
  }
  throw std::out_of_range("map::at"); // as the lookup in a table of the standard library
}

} // namespace

bool ofFile(const QString &file, mechanism_t &out, const std::vector<std::string> &installDirs) {
  return Reader(installDirs, {}, isRead).readFile(file, out);
}

std::vector<fault_t> readFaults(const QString &file, mechanism_t &out,
                                const std::vector<std::string> &installDirs) {
  std::vector<fault_t> faults;
  const auto collect = [&faults](const fault_t &fault) {
    faults.push_back(fault);
    // Without a whole document there is nothing that could be right or wrong.
    return fault.kind != fault_kind_t::UNREADABLE && fault.kind != fault_kind_t::MALFORMED &&
           fault.kind != fault_kind_t::NO_MECHANISM;
  };
  Reader(installDirs, {}, collect).readFile(file, out);
  return faults;
}

bool toolOfXml(const QDomElement &element, tool_t &tool, const definitions_t &definitions,
               const std::vector<std::string> &installDirs) {
  return Reader(installDirs, definitions, isRead).readTool(element, tool, {});
}

void paramListOfXml(const QDomElement &element, QList<param_t> &list) {
  for (const QDomElement &child : xml::children(element, TAG_PARAM)) {
    param_t param;
    param.name = xml::attribute(child, ATTR_NAME);
    param.separator = child.attribute(ATTR_SEPARATOR, param.separator);
    param.value = xml::attribute(child, ATTR_VALUE);
    list.append(param);
  }
}

void expandListOfXml(const QDomElement &element, QList<param_t> &list,
                     const definitions_t &definitions) {
  Reader({}, definitions, isRead).readExpansions(element, list, {});
}

} // namespace mechanism
