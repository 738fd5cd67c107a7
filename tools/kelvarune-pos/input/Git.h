#ifndef KELVARUNE_TOOLS_POS_INPUT_GIT_H
#define KELVARUNE_TOOLS_POS_INPUT_GIT_H

#include <QByteArray>
#include <QString>
#include <QStringList>

/// The git program, which knows what files were.
namespace git {

struct answer_t {
  bool isDone = false; ///< it ended with 0
  QByteArray output;
  QString complaint; ///< else: the first line of what it said on standard error, may be empty
};

/// Runs git in `directory`, of whose repository it then speaks. No shell sees the arguments. Any
/// thread. With `outputPath` its output becomes that file instead.
answer_t ask(const QString &directory, const QStringList &arguments,
             const QString &outputPath = QString());

} // namespace git

#endif
