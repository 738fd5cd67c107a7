// The first project file. What it says is read back and told, so that it is known to be sound.

#include "commands/Commands.h"
#include "commands/Options.h"
#include "files/Saving.h"
#include "output/Output.h"
#include "project/Project.h"
#include "project/Survey.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <algorithm>

using namespace kelvarune;

namespace {

QString filesOf(const project::project_t &project, const project::component_t &component) {
  QStringList files;
  for (const QString &source : component.sources)
    files << shown(project.shown(source));
  if (!files.isEmpty())
    return files.join(", "_s);
  const auto isThere = [](const QString &path) { return QFileInfo(path).isFile(); };
  files << shown(project.shown(component.pogPath)) << shown(project.shown(component.posPath));
  if (!isThere(component.posPath))
    files[1] += " (missing)"_s;
  if (!isThere(component.pogPath))
    files[0] += " (missing)"_s;
  return files.join(", "_s);
}

} // namespace

int commands::init(const options_t &options) {
  const QString path = "kelvarune.toml"_s;
  const bool isThere = QFileInfo::exists(path);
  if (isThere && !options.force) {
    complain(path + ": is there already; --force replaces it"_s);
    return EXIT_REFUSED;
  }
  const project::survey_t survey = project::surveyOf("."_s);
  if (survey.isEmpty()) {
    complain("there is no component here or below: no .pog or .pos file, and no script that "
             "kelvarune-goals reads"_s);
    return EXIT_REFUSED;
  }
  const QByteArray draft = project::draftOf(survey);
  QString backup;
  if (!(isThere ? replaceFile(path, draft, backup) : writeFile(path, draft)))
    return EXIT_REFUSED;
  QStringList faults;
  const auto project = project::load(path, faults);
  std::for_each(faults.begin(), faults.end(), complain);
  if (!project)
    return EXIT_REFUSED;
  Table table("ll");
  for (const project::component_t &component : project->components)
    table.add({shown(component.name), filesOf(*project, component)});
  const QString mechanisms = survey.areScriptsOnly && survey.mechanisms.isEmpty()
                                 ? QString()
                                 : "mechanisms: "_s + survey.mechanisms.join(", "_s) + "\n"_s;
  return finish(
      (table.text() +
       "%1: %2%3\n"_s.arg(path, counted(static_cast<int>(project->components.size()), "component"),
                          backup.isEmpty() ? backup : "; as it was: "_s + backup) +
       mechanisms)
          .toUtf8());
}
