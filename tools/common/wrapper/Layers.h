#ifndef KELVARUNE_TOOLS_COMMON_WRAPPER_LAYERS_H
#define KELVARUNE_TOOLS_COMMON_WRAPPER_LAYERS_H

#include <QString>
#include <QStringList>

#include <vector>

namespace wrapper {

/// One program of a command: one of ours that stands before a prover, or the prover.
struct layer_t {
  QString program;
  QStringList arguments; ///< without the program
  QStringList options;   ///< its own, "--name=value" each, of a program that stands before

  /// The value of an option that stands there; a null string when none does.
  QString value(const QString &option) const;
};

/// The programs of a command from the outermost to the prover, which comes last.
std::vector<layer_t> layersOf(const QString &program, const QStringList &arguments);

} // namespace wrapper

#endif
