// Which files make a component: pairs by their names, whether whole or not, so that whoever plays
// them says what is wrong with them; scripts that no POG has been made of, by their directories.

#include "project/Survey.h"

#include "files/Installed.h"
#include "goals/Language.h"
#include "goals/PogFile.h"
#include "goals/Portfolio.h"
#include "text/Literals.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <algorithm>
#include <map>
#include <set>
#include <variant>

namespace kelvarune::project {

namespace {

using goals::PogFile;

bool isMechanism(const QString &path) {
  QFile file(path);
  QXmlStreamReader reader(&file);
  return file.open(QIODevice::ReadOnly) && reader.readNextStartElement() &&
         reader.name() == "mechanism"_s;
}

/// A path as a pattern that only it matches.
QString literal(QString path) {
  static const QRegularExpression wild("([*?[])"_s);
  return path.replace(wild, "[\\1]"_s);
}

class Surveyor {
public:
  explicit Surveyor(const QString &directory) : root(directory) {}

  survey_t survey() {
    result.name = QDir(root.canonicalPath()).dirName();
    collect();
    for (const QString &pog : std::as_const(pogs))
      takePog(pog);
    takePairs();
    takeScripts();
    result.components.sort();
    result.areScriptsOnly = !hasPairs;
    if (result.mechanisms.isEmpty())
      takeInstalled();
    return result;
  }

private:
  void collect() {
    QDirIterator files(root.path(), QDir::Files, QDirIterator::Subdirectories);
    static const QRegularExpression copyOfPart("\\.\\d+-of-\\d+\\.pos$"_s);
    while (files.hasNext()) {
      const QString path = root.relativeFilePath(files.next());
      if (path.endsWith(".pog"_s))
        pogs << path;
      else if (path.endsWith(".pos"_s) && !path.contains(copyOfPart))
        poses << path;
      else if (goals::languageOf(path.toStdString()))
        scripts << path;
      else if (path.endsWith(".xml"_s) && isMechanism(root.filePath(path)))
        result.mechanisms << path;
    }
    for (QStringList *list : {&pogs, &poses, &scripts, &result.mechanisms})
      list->sort();
  }

  /// The sources of a POG that can be made anew, from the root.
  QStringList sourcesOf(const QString &pog) const {
    const auto opened = PogFile::open(root.filePath(pog).toStdString());
    if (!std::holds_alternative<PogFile>(opened))
      return {};
    const auto header = std::get<PogFile>(opened).header();
    const auto *known = std::get_if<goals::pog_header_t>(&header);
    if (!known || known->embed)
      return {};
    const QDir directory(QFileInfo(root.filePath(pog)).path());
    QStringList sources;
    for (const std::string &source : known->sources) {
      const QString path = directory.filePath(QString::fromStdString(source));
      if (!QFileInfo::exists(path))
        return {};
      sources << QDir::cleanPath(root.relativeFilePath(path));
    }
    return sources;
  }

  void takePog(const QString &pog) {
    addLanguages(root.filePath(pog));
    const QStringList sources = sourcesOf(pog);
    made << sources;
    const QFileInfo file(pog);
    const QString directory = QDir::cleanPath(file.path());
    const QString directoryName =
        directory == "."_s ? result.name : QFileInfo(directory).fileName();
    if (sources.isEmpty())
      pairs[directory] << pog;
    else if (sources == QStringList(directory) && file.completeBaseName() == directoryName)
      result.components << literal(directory);
    else
      result.sections.push_back({nameFor(pog), pog, sources});
  }

  QString nameFor(const QString &pog) const {
    const QString name = QFileInfo(pog).completeBaseName();
    const auto isAlike = [&](const QString &other) {
      return QFileInfo(other).completeBaseName() == name;
    };
    return std::count_if(pogs.begin(), pogs.end(), isAlike) == 1 ? name : pog.chopped(4);
  }

  void takePairs() {
    for (const auto &[directory, here] : pairs) {
      hasPairs = true;
      const QString all = directory == "."_s ? "*.pog"_s : literal(directory) + "/*.pog"_s;
      result.components << (here.size() == 1 ? literal(here.first()) : all);
    }
    for (const QString &pos : std::as_const(poses)) {
      if (pogs.contains(pos.chopped(4) + ".pog"_s))
        continue;
      hasPairs = true;
      result.components << literal(pos);
    }
  }

  bool isMade(const QString &script) const {
    return std::any_of(made.begin(), made.end(), [&](const QString &source) {
      return source == "."_s || script == source || script.startsWith(source + QLatin1Char('/'));
    });
  }

  void takeScripts() {
    std::set<QString> suffixes; // in the root itself
    QStringList taken;
    for (const QString &script : std::as_const(scripts)) {
      if (isMade(script))
        continue;
      languages.insert(*goals::languageOf(script.toStdString()));
      if (!script.contains(QLatin1Char('/')))
        suffixes.insert(QFileInfo(script).suffix());
      else
        taken << QFileInfo(script).path();
    }
    taken.sort();
    QString last;
    for (const QString &directory : std::as_const(taken)) {
      if (directory == last || (!last.isEmpty() && directory.startsWith(last + QLatin1Char('/'))))
        continue;
      last = directory;
      result.components << literal(directory);
    }
    if (suffixes.empty())
      return;
    survey_t::made_t here;
    here.name = pogs.contains(result.name + ".pog"_s) ? result.name + "-scripts"_s : result.name;
    for (const QString &suffix : suffixes)
      here.sources << "*."_s + suffix;
    result.sections.push_back(here);
  }

  void addLanguages(const QString &pogPath) {
    const auto known = goals::portfolioFor(pogPath.toStdString());
    if (const auto *names = std::get_if<std::vector<std::string>>(&known))
      for (const std::string &name : *names)
        wanted.insert(QString::fromStdString(name));
  }

  void takeInstalled() {
    for (const goals::language_t language : languages)
      wanted.insert(QString::fromStdString(goals::portfolioOf(language)));
    if (wanted.empty())
      wanted.insert("portfolio"_s);
    const QStringList installed = installed::mechanisms();
    for (const QString &name : wanted)
      if (installed.contains(name))
        result.mechanisms << name;
  }

  const QDir root;
  survey_t result;
  QStringList pogs, poses, scripts;
  QStringList made;                     // what POGs are made of
  std::map<QString, QStringList> pairs; // POGs by their directories
  bool hasPairs = false;
  std::set<goals::language_t> languages;
  std::set<QString> wanted; // installed mechanisms
};

} // namespace

survey_t surveyOf(const QString &directory) {
  return Surveyor(directory).survey();
}

} // namespace kelvarune::project
