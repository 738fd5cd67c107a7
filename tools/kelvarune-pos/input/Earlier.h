#ifndef KELVARUNE_TOOLS_POS_INPUT_EARLIER_H
#define KELVARUNE_TOOLS_POS_INPUT_EARLIER_H

#include <QString>
#include <QStringList>

#include <memory>

/// What a status file was in an earlier state.
struct earlier_file_t {
  QString path;  ///< of a file with its content; empty when there was none
  QString name;  ///< what people call it
  QString fault; ///< why it is not known, a complete line; empty when it is
};

/// An earlier state of status files.
class Earlier {
public:
  virtual ~Earlier() = default;

  /// Any thread. The content is there as long as this object.
  virtual earlier_file_t find(const QString &path) = 0;

  /// The status files that there were below the directory, by the paths that they would have now.
  virtual QStringList paths() = 0;
};

/// The state that `against` names for files below `directory`: a directory that has them at the
/// same relative paths or, when there is no such directory, a revision of the git repository that
/// `file`, a file that need not be there or a directory, is in. Null, after a complaint, when there
/// is neither.
std::unique_ptr<Earlier> earlierState(const QString &against, const QString &directory,
                                      const QString &file);

#endif
