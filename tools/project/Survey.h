#ifndef KELVARUNE_PROJECT_SURVEY_H
#define KELVARUNE_PROJECT_SURVEY_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

/// The first project file of a directory, made of what lies in it.
namespace kelvarune::project {

/// What there is; paths are relative to the directory.
struct survey_t {
  /// A component that needs a section: its POG does not tell where its files are.
  struct made_t {
    QString name;
    QString pog; ///< empty: as the name says
    QStringList sources;
  };

  QString name;           ///< the directory's
  QStringList components; ///< as the file lists them
  std::vector<made_t> sections;
  QStringList mechanisms; ///< descriptions, or names of installed ones
  bool areScriptsOnly =
      false; ///< each component is made of scripts, whose language tells the mechanism

  bool isEmpty() const { return components.isEmpty() && sections.empty(); }
};

/// Looks into the directory and those below it, but for hidden ones and links.
survey_t surveyOf(const QString &directory);

/// A project file with comments.
QByteArray draftOf(const survey_t &survey);

} // namespace kelvarune::project

#endif
