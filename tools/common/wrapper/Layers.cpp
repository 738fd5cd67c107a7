// Reads the command lines of kelvarune-cache and kelvarune-limit as these do: options come first,
// and all but a few have a value, behind "=" or as the next word.

#include "wrapper/Layers.h"

#include "text/Literals.h"

#include <QSet>

using namespace kelvarune;

namespace wrapper {

namespace {

bool standsBefore(const QString &program) {
  const QString name = program.section(QLatin1Char('/'), -1);
  return name == "kelvarune-cache"_s || name == "kelvarune-limit"_s;
}

bool hasValue(const QString &option) {
  static const QSet<QString> without = {"--stdin"_s, "--stats"_s, "--zero-stats"_s, "--help"_s,
                                        "--version"_s};
  return !without.contains(option) && option.startsWith("--"_s);
}

/// Takes the options from the front of `words`.
QStringList takeOptions(QStringList &words) {
  QStringList options;
  while (!words.isEmpty() && words.first().startsWith(QLatin1Char('-'))) {
    QString option = words.takeFirst();
    if (option == "--"_s)
      break;
    if (hasValue(option) && !option.contains(QLatin1Char('=')) && !words.isEmpty())
      option += QLatin1Char('=') + words.takeFirst();
    options << option;
  }
  return options;
}

} // namespace

QString layer_t::value(const QString &option) const {
  for (const QString &each : options) {
    if (each.startsWith(option + QLatin1Char('=')))
      return each.mid(option.size() + 1);
  }
  return QString();
}

std::vector<layer_t> layersOf(const QString &program, const QStringList &arguments) {
  std::vector<layer_t> layers = {{program, arguments, {}}};
  while (standsBefore(layers.back().program)) {
    QStringList words = layers.back().arguments;
    layers.back().options = takeOptions(words);
    if (words.isEmpty())
      break;
    const QString next = words.takeFirst();
    layers.push_back({next, words, {}});
  }
  return layers;
}

} // namespace wrapper
