#ifndef KELVARUNE_PLAY_WORKSPACE_H
#define KELVARUNE_PLAY_WORKSPACE_H

#include <QString>

#include <mutex>
#include <string>

/// The directory for the secondary files when it is a private one. Any thread.
class Workspace {
public:
  Workspace() = default;
  ~Workspace() { remove(); }
  Workspace(const Workspace &) = delete;
  Workspace &operator=(const Workspace &) = delete;

  /// Makes a new directory in `parent` that only its owner can use. A kept one stays for good.
  /// Empty, with errno set, when that is not possible, or after `remove`.
  QString create(const QString &parent, bool keep);

  /// Removes what was created with all that is in it, unless it is kept.
  void remove();

private:
  std::mutex mutex; // guards what follows
  std::string path; // empty: nothing to remove
  bool over = false;
};

#endif
