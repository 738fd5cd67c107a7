#ifndef KELVARUNE_DIRECTOR_FAILURES_H
#define KELVARUNE_DIRECTOR_FAILURES_H

#include <QString>
#include <QStringList>

#include <mutex>
#include <string>
#include <vector>

/// What has failed in the course of a play: tools, and saves of the POS file. Any thread.
class Failures {
public:
  /// Keeps `message`.
  void add(const QString &message) {
    const std::lock_guard lock(mutex);
    messages.push_back(message.toStdString());
  }

  /// All messages in the order in which they came. Nothing in the list is shared with this object.
  QStringList all() const {
    const std::lock_guard lock(mutex);
    QStringList list;
    for (const std::string &message : messages)
      list << QString::fromStdString(message);
    return list;
  }

private:
  mutable std::mutex mutex;
  std::vector<std::string> messages; // guarded by mutex
};

#endif
