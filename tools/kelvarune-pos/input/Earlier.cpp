// A revision is made an object name once for each directory, so that no later call of git sees what
// was typed; it is nothing that could be taken for an option.

#include "input/Earlier.h"

#include "input/Git.h"
#include "input/Paths.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QTemporaryDir>

#include <atomic>
#include <map>
#include <mutex>

using namespace kelvarune;

namespace {

const QString &suffix() {
  static const QString text = ".pos"_s;
  return text;
}

class EarlierDirectory : public Earlier {
public:
  EarlierDirectory(const QString &against, const QString &directory)
      : against(against), directory(directory) {}

  earlier_file_t find(const QString &path) override {
    const QString relative = pathBelow(directory, path);
    if (leadsOut(relative))
      return {
          {}, {}, "%1: is not below %2, so it has no place in %3"_s.arg(path, directory, against)};
    const QString name = QDir(against).filePath(relative);
    return {QFileInfo::exists(name) ? name : QString(), name, {}};
  }

  QStringList paths() override {

    QStringList found;
    QDirIterator files(against, {QLatin1Char('*') + suffix()}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
      found.append(QDir(directory).filePath(pathBelow(against, files.next())));
    found.sort();
    return found;
  }

private:
  const QString against;
  const QString directory;
};

// The directory of a file, or the one above that is there; a directory is its own.
QString directoryOf(const QString &path) {
  QFileInfo directory(path);
  while (!directory.isDir() && !directory.isRoot())
    directory = QFileInfo(directory.absolutePath());
  return directory.absoluteFilePath();
}

class EarlierRevision : public Earlier {
public:
  EarlierRevision(const QString &revision, const QString &directory)
      : revision(revision), directory(directory) {}

  earlier_file_t find(const QString &path) override {
    const QString there = directoryOf(path);
    const object_t commit = commitIn(there);
    if (commit.name.isEmpty())
      return {{}, {}, path + ": "_s + commit.fault};
    const QString relative = pathBelow(there, path);
    const QString name = revision + QLatin1Char(':') + path;
    const git::answer_t entry =
        git::ask(there, {"ls-tree"_s, "-z"_s, "--name-only"_s, commit.name, "--"_s, relative});
    if (entry.isDone && entry.output.isEmpty())
      return {{}, name, {}};
    const QString copy = copies.filePath(QString::number(++count) + suffix());
    const git::answer_t content =
        git::ask(there, {"cat-file"_s, "--filters"_s, commit.name + ":./"_s + relative}, copy);
    if (!content.isDone)
      return {{}, name, name + ": git cannot give it: "_s + content.complaint};
    return {copy, name, {}};
  }

  QStringList paths() override {
    QStringList found;
    const git::answer_t answer = git::ask(
        directory, {"ls-tree"_s, "-r"_s, "-z"_s, "--name-only"_s, commitIn(directory).name});
    for (const QByteArray &name : answer.output.split('\0')) {
      const QString path = QString::fromUtf8(name);
      if (path.endsWith(suffix()))
        found.append(QDir(directory).filePath(path));
    }
    return found;
  }

  /// Why the repository of the file does not have the revision; empty when it has.
  QString faultAt(const QString &file) { return commitIn(directoryOf(file)).fault; }

private:
  struct object_t {
    QString name; ///< empty when there is none
    QString fault;
  };

  object_t commitIn(const QString &where) {
    const std::lock_guard lock(mutex);
    const auto [found, isNew] = commits.insert({where, {}});
    if (isNew)
      found->second = resolve(where);
    return found->second;
  }

  object_t resolve(const QString &where) const {
    const QString nowhere = "\"%1\" is no directory and no revision"_s.arg(revision);
    if (revision.startsWith(QLatin1Char('-')))
      return {{}, nowhere};
    const git::answer_t answer =
        git::ask(where, {"rev-parse"_s, "--verify"_s, "--quiet"_s, revision + "^{commit}"_s});
    if (answer.isDone)
      return {QString::fromLatin1(answer.output.trimmed()), {}};
    return {{},
            nowhere + (answer.complaint.isEmpty() ? " of the repository of "_s + where
                                                  : ": "_s + answer.complaint)};
  }

  const QString revision;
  const QString directory;
  const QTemporaryDir copies;
  std::atomic<int> count = 0;
  std::mutex mutex;
  std::map<QString, object_t> commits; ///< by directory; under the mutex
};

} // namespace

std::unique_ptr<Earlier> earlierState(const QString &against, const QString &directory,
                                      const QString &file) {
  if (QFileInfo(against).isDir())
    return std::make_unique<EarlierDirectory>(against, directory);
  auto state = std::make_unique<EarlierRevision>(against, directory);
  const QString fault = state->faultAt(file);
  if (fault.isEmpty())
    return state;
  complain("--against: "_s + fault);
  return nullptr;
}
