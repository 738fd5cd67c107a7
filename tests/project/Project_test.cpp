// Reads project files in a tree of files, and compares what is made of them as text.

#include "project/Project.h"
#include "support/Fixtures.h"

#include <QFileInfo>

using namespace kelvarune;
using testing::Test;

namespace {

class Project : public Test {
protected:
  Project() : root(QDir(directory.path()).canonicalPath()) {
    for (const char *name :
         {"a/one.pog", "a/one.pos", "a/two.pog", "a/two.history", "b/deep/one.pos", "b/.hid/x.pog",
          "b/deep/er/six.pog", "scripts/queue/q.smt2", "scripts/list/l.p", "m/own.xml", "named"}) {
      QDir(root).mkpath(QFileInfo(QString::fromUtf8(name)).path());
      directory.write(name, "");
    }
    QFile::link(root, root + QStringLiteral("/b/loop"));
  }

  std::optional<project::project_t> load(const std::string &toml, QStringList &faults) {
    directory.write("kelvarune.toml", toml);
    return project::load(root + QStringLiteral("/kelvarune.toml"), faults);
  }

  /// The paths below the root, from there.
  QString below(QString text) { return text.remove(root + QLatin1Char('/')); }

  std::string textOf(const project::project_t &project) {
    QStringList lines;
    for (const project::component_t &component : project.components) {
      const project::settings_t &settings = component.settings;
      QStringList parts = {component.name, component.pogPath, component.posPath};
      const QStringList how = {settings.mechanisms.join(QLatin1Char(',')),
                               settings.installDirs.join(QLatin1Char(',')),
                               settings.resources.join(QLatin1Char(',')),
                               settings.timeLimit,
                               settings.memoryLimit,
                               settings.cache};
      for (const QString &source : component.sources)
        parts << QLatin1Char('<') + source;
      for (const QString &setting : how)
        if (!setting.isEmpty())
          parts << QLatin1Char('=') + setting;
      lines << parts.join(QLatin1Char(' '));
    }
    return below(lines.join(QLatin1Char('\n'))).toStdString();
  }

  const TemporaryDirectory directory;
  const QString root;
};

TEST_F(Project, HasComponentsInOrder) {
  const struct {
    const char *toml;
    const char *expected;
  } rows[] = {
      // Pairs are one component, though only one file is there; other files are none.
      {"components = ['a/*']", "one a/one.pog a/one.pos\ntwo a/two.pog a/two.pos"},
      {"components = ['a/two.pog', 'a/*.pog', './a/none.pos']",
       "two a/two.pog a/two.pos\none a/one.pog a/one.pos\nnone a/none.pog a/none.pos"},
      // Any depth, neither hidden nor through links; names that are alike are paths.
      {"components = ['**/*.po[gs]']",
       "a/one a/one.pog a/one.pos\ntwo a/two.pog a/two.pos\nsix b/deep/er/six.pog "
       "b/deep/er/six.pos\nb/deep/one b/deep/one.pog b/deep/one.pos"},
      {"components = ['b/.h*/*.pog', 'scripts/*']",
       "x b/.hid/x.pog b/.hid/x.pos\n"
       "list scripts/list/list.pog scripts/list/list.pos <scripts/list\n"
       "queue scripts/queue/queue.pog scripts/queue/queue.pos <scripts/queue"},
      // Settings of all, and of one. A file goes before the name of something installed.
      {"mechanisms = ['z3', 'm/own.xml', 'named']\ninstalldir = ['bin']\nresources = ['r']\n"
       "time-limit = 2.5\nmemory-limit = '2G'\ncache = 'c'\ncomponents = ['a/*.pog']\n"
       "[component.two]\nmechanisms = []\ntime-limit = 30\nmemory-limit = 1024\n",
       "one a/one.pog a/one.pos =z3,m/own.xml,named =bin =r =2.5 =2G =c\n"
       "two a/two.pog a/two.pos =bin =r =30 =1024 =c"},
      // Sections that name, move, make and leave out.
      {"components = ['a/*.pog']\n[component.late]\nsources = ['scripts/*', 'x.smt2']\n"
       "[component.early]\npog = 'b/y.pog'\npos = 'b/z.pos'\n[component.uno]\npog = 'a/one.pog'\n"
       "[component.two]\nskip = true\n[component.'p.q']\npos = 'b/p.q.pos'",
       "uno a/one.pog a/one.pos\n"
       "late late.pog late.pos <scripts/list <scripts/queue <x.smt2\n"
       "early b/y.pog b/z.pos\np.q b/p.q.pog b/p.q.pos"},
  };
  for (const auto &row : rows) {
    QStringList faults;
    const auto project = load(row.toml, faults);
    ASSERT_TRUE(project) << row.toml << faults.join(QLatin1Char('\n')).toStdString();
    EXPECT_EQ(textOf(*project), row.expected) << row.toml;
    // "named" is a file here.
    for (const QString &mechanism : project->components.front().settings.mechanisms)
      EXPECT_EQ(QDir::isAbsolutePath(mechanism), mechanism != QStringLiteral("z3"));
  }
}

TEST_F(Project, TellsAllFaults) {
  const struct {
    const char *toml;
    const char *expected;
  } rows[] = {
      {"name = 'x'\ncomponents = [\n", "2:16: "},
      {"", "no component is left to play; 'components' names them"},
      {"components = ['a/*.pog']\n[component.one]\nskip = true\n[component.two]\nskip = true",
       "no component is left to play; 'components' names them"},
      {"mechanism = ['z3']\ncompnents = []\njobs = 0\ntime-limit = '30'\nmemory-limit = '2X'\n"
       "pog = 'x'\n[component.a]\njobs = 2\nskip = 1\nsources = ['']\n",
       "1:1: unknown key 'mechanism' (did you mean mechanisms?)\n"
       "2:1: unknown key 'compnents' (did you mean components?)\n"
       "3:1: 'jobs' must be a number from 1, or \"auto\"\n"
       "4:1: 'time-limit' must be a number of seconds above 0\n"
       "5:1: 'memory-limit' must be a number of bytes above 0, or a text with K, M, G or T: "
       "\"2G\"\n"
       "6:1: 'pog' belongs into a section [component.NAME]\n"
       "8:1: 'jobs' is not for one component; it stands before the first section\n"
       "9:1: 'skip' must be true or false\n"
       "10:1: 'sources' must be a list of texts that are not empty: [\"...\", \"...\"]"},
      {"components = ['c/*.pog', 'a/*.smt2', 'named', 'a/one.pog']\n[component.oen]\n"
       "[component.a.b]\n[component.new]\nsources = ['*.smt2']\n",
       "1:15: nothing matches 'c/*.pog'\n"
       "1:26: nothing matches 'a/*.smt2'\n"
       "1:38: 'named' is neither a .pog or .pos file nor a directory; scripts stand in the "
       "'sources' of a section [component.NAME]\n"
       "2:12: no component is called 'oen' (did you mean one?)\n"
       "3:12: no component is called 'a'; 'pog' or 'sources' say what it is\n"
       "3:14: unknown section; a name with dots takes quotes: [component.\"a.b\"]\n"
       "4:12: 'sources' of 'new' names nothing\n"
       "5:12: nothing matches '*.smt2'"},
      {"components = ['scripts/queue']\n[component.queue]\npos = 'queue.pos'\n",
       "2:12: 'queue' is made of scripts: its files are X.pog and X.pos beside it"},
      {"components = ['one.pog']\ncomponent = 1\n", "2:13: write sections [component.NAME]"},
      {"components = ['one.pog']\n[component.one]\npog = 'a/one.pog'\n",
       "2:12: two components are called 'one': one.pog and a/one.pog"},
      {"components = ['a/\xff.pog']\n", "1:17: "},
  };
  for (const auto &row : rows) {
    QStringList faults;
    EXPECT_FALSE(load(row.toml, faults)) << row.toml;
    for (QString &fault : faults) {
      EXPECT_TRUE(fault.startsWith(root)) << fault.toStdString();
      fault.remove(root + QStringLiteral("/kelvarune.toml:"));
    }
    const std::string text = faults.join(QLatin1Char('\n')).trimmed().toStdString();
    const std::string expected = row.expected;
    if (expected.back() == ' ') // the parser's own words follow
      EXPECT_EQ(text.substr(0, expected.size()), expected);
    else
      EXPECT_EQ(text, expected) << row.toml;
  }
}

TEST_F(Project, IsFoundAboveAndItsComponentsByNamesAndFiles) {
  QDir(root).mkpath(QStringLiteral("b/kelvarune.toml")); // no file
  QStringList faults;
  const auto project =
      load("components = ['**/*.pog', 'scripts/queue']\n[component.six]\nskip=true", faults);
  ASSERT_TRUE(project) << faults.join(QLatin1Char('\n')).toStdString();
  EXPECT_EQ(project::find(root + QStringLiteral("/b/deep")), project->path);
  const QString saved = QDir::currentPath();
  QDir::setCurrent(root + QStringLiteral("/a"));
  EXPECT_EQ(project->shown(root + QStringLiteral("/b/x")), QStringLiteral("../b/x"));
  EXPECT_EQ(project->shown(QStringLiteral("/else/x")), QStringLiteral("/else/x"));
  const struct {
    QStringList names;
    const char *chosen;
    const char *fault;
  } rows[] = {
      {{}, "one two queue", ""},
      {{QStringLiteral("queue"), QStringLiteral("one"), QStringLiteral("one")}, "one queue", ""},
      {{QStringLiteral("two.pos"), QStringLiteral("../scripts/queue/")}, "two queue", ""},
      {{QStringLiteral("tow"), QStringLiteral("six"), QStringLiteral("zebra")},
       "",
       "no component is called tow (did you mean two?)\n"
       "component six: ../kelvarune.toml skips it\n"
       "no component is called zebra; there are one, two, queue"},
  };
  for (const auto &row : rows) {
    QStringList chosen;
    QStringList unknown;
    for (const project::component_t &component : project::choose(*project, row.names, unknown))
      chosen << component.name;
    EXPECT_EQ(chosen.join(QLatin1Char(' ')).toStdString(), row.chosen);
    EXPECT_EQ(unknown.join(QLatin1Char('\n')).toStdString(), row.fault);
  }
  QDir::setCurrent(saved);
}

} // namespace
