// Writes a mechanism as text for traces: section headers in square brackets and labelled values,
// raw between double quotes. Numbers go through std::to_string, so that a stream's flags and locale
// do not show.

#include "mechanism/Mechanism.h"

#include <ostream>
#include <string>

namespace mechanism {

namespace {

void writeLine(std::ostream &stream, const std::string &line) {
  stream << line << std::endl;
}

void writeQuoted(std::ostream &stream, const std::string &label, const std::string &value) {
  writeLine(stream, label + " = \"" + value + '"');
}

void writeQuoted(std::ostream &stream, const std::string &label, const QString &value) {
  writeQuoted(stream, label, value.toStdString());
}

/// What the blocks of all tools have below their header.
void writeLocation(std::ostream &stream, const tool_t &tool) {
  writeQuoted(stream, "name", tool.name);
  writeQuoted(stream, "default_path", tool.default_path);
  writeQuoted(stream, "resource", tool.resource);
  writeQuoted(stream, "path", tool.path.native());
}

void writeSize(std::ostream &stream, const tool_t &tool) {
  writeLine(stream, "");
  writeLine(stream, "[parameters]");
  writeLine(stream, "size = " + std::to_string(tool.parameters.size()));
}

void writeParameters(std::ostream &stream, const tool_t &tool) {
  for (const param_t &param : tool.parameters) {
    stream << param;
    writeLine(stream, "");
  }
}

} // namespace

std::ostream &operator<<(std::ostream &stream, const param_t &param) {
  writeLine(stream, "[parameter]");
  writeQuoted(stream, "name", param.name);
  writeQuoted(stream, "separator", param.separator);
  writeQuoted(stream, "value", param.value);
  return stream;
}

std::ostream &operator<<(std::ostream &stream, const tool_t &tool) {
  writeLine(stream, "[tool]");
  writeLocation(stream, tool);
  writeSize(stream, tool);
  writeLine(stream, "");
  writeParameters(stream, tool);
  return stream;
}

std::ostream &operator<<(std::ostream &stream, const prover_t &prover) {
  writeLine(stream, "[prover]");
  writeLocation(stream, prover);
  writeQuoted(stream, "timeout", std::to_string(prover.timeout));
  // Wanted: the input has no opening quote, and unlike in a tool's block no empty line stands
  // between the size and the parameters.
  writeLine(stream, "input = " + qstringOfInput.at(prover.input).toStdString() + '"');
  writeSize(stream, prover);
  writeParameters(stream, prover);
  return stream;
}

std::ostream &operator<<(std::ostream &stream, const driver_t &driver) {
  writeLine(stream, "[driver]");
  writeQuoted(stream, "name", driver.name);
  writeQuoted(stream, "group", qstringOfGroup.at(driver.group));
  writeLine(stream, "");
  writeLine(stream, "[writer]");
  writeLine(stream, "");
  stream << driver.writer << driver.prover;
  writeLine(stream, "[reader]");
  writeLine(stream, "");
  return stream << driver.reader;
}

std::ostream &operator<<(std::ostream &stream, const mechanism_t &mechanism) {
  writeLine(stream, "[mechanism]");
  writeQuoted(stream, "name", mechanism.name);
  writeQuoted(stream, "trust", qstringOfTrust.at(mechanism.trust));
  writeLine(stream, "");
  for (const driver_t &driver : mechanism.drivers)
    stream << driver;
  return stream;
}

} // namespace mechanism
