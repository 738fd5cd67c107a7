// Reads a mechanism's description file. The tools are located while it is read, so that a mechanism
// that was read names only executables that exist, and the first tool that is missing ends the
// reading. Only direct children count at every level: what stands anywhere else is not ours.

#include "front/Utils.h"
#include "mechanism/Mechanism.h"
#include "text/Literals.h"
#include "xml/XmlFile.h"

#include <QDomDocument>
#include <QDomElement>

#include <iostream>
#include <utility>

using namespace kelvarune;

namespace mechanism {

namespace {

const QString DEFAULT_EXT = "po2"_s;
const QString VALUE_TRUE = "true"_s;
const QString TIMEOUT_VARIABLE = "${timeout}"_s;

/// Reads what all tools have but their parameters. False when the tool is not found.
bool locatedToolOfXml(const QDomElement &element, tool_t &tool,
                      const std::vector<std::string> &installDirs) {
  tool.name = element.attribute(ATTR_NAME);
  tool.default_path = element.attribute(ATTR_PATH);
  tool.resource = element.attribute(ATTR_RESOURCE);
  tool.path = computePath(tool.default_path, tool.resource).toStdString();
  return checkToolExistence(tool.path, installDirs);
}

void timeoutOfXml(const QDomElement &element, prover_t &prover) {
  const QString timeout = element.attribute(ATTR_TIMEOUT);
  if (timeout.isEmpty()) {
    prover.timeout = -1;
    return;
  }
  prover.timeout = timeout.toInt();
  for (param_t &param : prover.parameters)
    param.value.replace(TIMEOUT_VARIABLE, timeout);
}

bool proverOfXml(const QDomElement &element, prover_t &prover, const definitions_t &definitions,
                 const std::vector<std::string> &installDirs) {
  if (!locatedToolOfXml(element, prover, installDirs)) {
    std::cerr << "Cannot locate prover " << prover.name.toStdString() << std::endl;
    return false;
  }
  paramListOfXml(element, prover.parameters);
  expandListOfXml(element, prover.parameters, definitions);
  const bool isStdin = element.attribute(ATTR_INPUT, ATTR_VALUE_STDIN) == ATTR_VALUE_STDIN;
  prover.input = isStdin ? input_t::STDIN : input_t::FILE;
  timeoutOfXml(element, prover);
  return true;
}

bool driverOfXml(const QDomElement &element, driver_t &driver, const definitions_t &definitions,
                 const std::vector<std::string> &installDirs) {
  driver.name = element.attribute(ATTR_NAME);
  driver.group = groupOfXmlAttr.at(element.attribute(ATTR_GROUP, ATTR_VALUE_NONE));
  driver.ext = element.attribute(ATTR_EXT, DEFAULT_EXT);
  driver.fast = element.attribute(ATTR_FAST) == VALUE_TRUE;
  return toolOfXml(element.firstChildElement(TAG_WRITER), driver.writer, definitions,
                   installDirs) &&
         proverOfXml(element.firstChildElement(TAG_PROVER), driver.prover, definitions,
                     installDirs) &&
         toolOfXml(element.firstChildElement(TAG_READER), driver.reader, definitions, installDirs);
}

definitions_t definitionsOfXml(const QDomElement &root) {
  definitions_t definitions;
  // Wanted: the step goes to the next "param", not to the next "definition". So only the first
  // definition counts, and a "param" beside it, after it, counts as a definition too.
  for (QDomElement definition = root.firstChildElement(TAG_DEFINITION); !definition.isNull();
       definition = definition.nextSiblingElement(TAG_PARAM)) {
    QList<param_t> list;
    paramListOfXml(definition, list);
    definitions[definition.attribute(ATTR_NAME)] = list;
  }
  return definitions;
}

} // namespace

bool ofFile(const QString &file, mechanism_t &out, const std::vector<std::string> &installDirs) {
  QDomDocument document;
  if (!xml::readDocument(file, document).readable) {
    std::clog << "Cannot open '" << file.toStdString() << "'." << std::endl;
    return false;
  }
  const QDomElement root = document.firstChildElement(TAG_MECHANISM);
  out.name = baseNameOfPath(file.toStdString());
  out.trust = trustOfXmlAttr.at(root.attribute(ATTR_TRUST, ATTR_VALUE_NEVER));
  const definitions_t definitions = definitionsOfXml(root);
  for (const QDomElement &element : xml::children(root, TAG_DRIVER)) {
    driver_t driver;
    if (!driverOfXml(element, driver, definitions, installDirs))
      return false;
    out.driver_names.append(driver.name);
    out.drivers.push_back(std::move(driver));
  }
  return true;
}

bool toolOfXml(const QDomElement &element, tool_t &tool, const definitions_t &definitions,
               const std::vector<std::string> &installDirs) {
  if (!locatedToolOfXml(element, tool, installDirs)) {
    std::cerr << "Cannot locate tool " << tool.name.toStdString() << std::endl;
    return false;
  }
  paramListOfXml(element, tool.parameters);
  expandListOfXml(element, tool.parameters, definitions);
  return true;
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
  for (const QDomElement &expand : xml::children(element, TAG_EXPAND))
    list.append(definitions.at(expand.attribute(ATTR_NAME)));
}

} // namespace mechanism
