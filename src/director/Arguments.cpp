// The command lines of the tools. Writers and provers follow different rules: mechanisms in use
// depend on both.

#include "director/Arguments.h"

#include "text/Literals.h"

#include <utility>

using namespace kelvarune;

void addParametersBits(QStringList &args, mechanism::tool_t tool) { // NOLINT: by value, as fixed
  for (const mechanism::param_t &param : std::as_const(tool.parameters)) {
    if (param.name.isEmpty())
      args << param.value;
    else if (param.value.isEmpty())
      args << param.name;
    else if (param.separator == " "_s)
      args << param.name << param.value;
    else
      args << param.name + param.separator + param.value;
  }
}

void append_param(const mechanism::param_t &param, QStringList &args, const QString &file) {
  const QLatin1String placeholder("${file}");
  QString name = param.name;
  QString value = param.value;
  name.replace(placeholder, file);
  value.replace(placeholder, file);
  const bool hasName = !param.name.isNull();
  const bool hasValue = !param.value.isNull();
  if (hasName && hasValue && !param.separator.trimmed().isEmpty()) {
    args << name + param.separator + value;
    return;
  }
  if (hasName)
    args << name;
  if (hasValue)
    args << value;
}

QString baseNameOfPog(const QString &pog) {
  const int begin = pog.lastIndexOf(QLatin1Char('/')) + 1;
  const int dot = pog.lastIndexOf(QLatin1Char('.'));
  return dot < begin ? pog.mid(begin) : pog.mid(begin, dot - begin);
}

QString secondaryFileName(const QString &base, const QString &mechanism, const QString &driver,
                          std::initializer_list<unsigned long> numbers, const QString &extension) {
  QString name = base + QLatin1Char('_') + mechanism + QLatin1Char('_') + driver;
  for (const unsigned long number : numbers)
    name += QLatin1Char('_') + QString::number(number);
  return name + QLatin1Char('.') + extension;
}
