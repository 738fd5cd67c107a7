// Locates tools in real directories: two installation directories, of which one is reached through
// a link, and a working directory.

#include "mechanism/Mechanism.h"
#include "resource/ResourceManager.h"
#include "support/Fixtures.h"

namespace fs = std::filesystem;

namespace {

TEST(ComputePath, PrefersTheResource) {
  const TemporaryDirectory directory;
  const std::string resources =
      directory.write("resources", "MVL*Proof*Alto_Path: /opt/tools//bin/../bin/./alto/\n"
                                   "MVL*Proof*Latin: /opt/\xe9\nMVL*Other*Elsewhere: /opt/other\n");
  init_resource_manager();
  load_resources(resources.c_str());
  const struct {
    const char *defaultPath;
    const char *resource;
    const char *expected;
  } rows[] = {
      {"bin//../alto", "", "bin//../alto"}, // as written
      {"alto", "Alto_Path", "/opt/tools/bin/alto"},
      {"alto", "Any*Thing*Alto_Path", "/opt/tools/bin/alto"},
      {"bin//alto", "alto_path", "bin//alto"},
      {"alto", "Elsewhere", "alto"}, // of another tool
      {"", "Latin", "/opt/é"},
  };
  for (const auto &row : rows)
    EXPECT_EQ(
        mechanism::computePath(QString::fromUtf8(row.defaultPath), QString::fromUtf8(row.resource))
            .toStdString(),
        row.expected)
        << row.resource;
}

class ToolExistence : public testing::Test {
protected:
  ToolExistence() : root(fs::canonical(directory.path().toStdString())), saved(fs::current_path()) {
    for (const char *name : {"A", "B", "work"})
      fs::create_directory(root / name);
    fs::create_directory_symlink(root / "B", root / "link");
    fs::current_path(root / "work");
  }
  ~ToolExistence() override { fs::current_path(saved); }

  void put(const std::string &name, fs::perms permissions = fs::perms::owner_all) {
    fs::create_directories((root / name).parent_path());
    directory.write(name, "");
    fs::permissions(root / name, permissions);
  }

  /// The path found for `path` with the installation directories A and link, below the root; "-"
  /// when none is, and the path has not changed.
  std::string found(const std::string &path) {
    fs::path located = path;
    if (mechanism::checkToolExistence(located, {(root / "A").native(), (root / "link").native()}))
      return located.native().substr(root.native().size() + 1);
    return located.native() == path ? "-" : "changed to " + located.native();
  }

  TemporaryDirectory directory;
  fs::path root;
  fs::path saved;
};

TEST_F(ToolExistence, SearchesInOrder) {
  for (const char *name :
       {"A/both", "B/both", "B/late", "B/late.exe", "A/suffix.exe", "B/suffix", "A/alto.sh.exe",
        "A/.hidden.exe", "A/sub.d/tool.exe", "work/here", "work/there.exe"})
    put(name);
  put("A/blocked", fs::perms::group_all | fs::perms::others_all);
  put("A/blocked.exe", fs::perms::owner_read);
  put("B/blocked", fs::perms::owner_exec);
  put("A/data", fs::perms::owner_read);
  fs::create_directory(root / "A/here");
  const struct {
    const char *name;
    std::string path;
    const char *expected;
  } rows[] = {
      {"the first directory wins", "both", "A/both"},
      {"a link to a directory is resolved; the bare name wins", "late", "B/late"},
      {"the suffix is tried before the next directory", "suffix", "A/suffix.exe"},
      {"no suffix after an extension", "alto.sh", "-"},
      {"a leading dot is no extension", ".hidden", "A/.hidden.exe"},
      {"a dot in a directory is no extension", "sub.d/tool", "A/sub.d/tool.exe"},
      {"only the owner's bit counts", "blocked", "B/blocked"},
      {"a file that is not executable", "data", "-"},
      {"a directory is no tool; the working directory comes last", "here", "work/here"},
      {"the suffix in the working directory", "there", "work/there.exe"},
      {"the path is not resolved", "../A/./both", "A/../A/./both"},
      {"an absolute path as it stands", root / "link/../B/both", "link/../B/both"},
      {"no suffix after an absolute path", root / "A/suffix", "-"},
      {"an absolute path is not looked for elsewhere", "/both", "-"},
  };
  for (const auto &row : rows)
    EXPECT_EQ(found(row.path), row.expected) << row.name;
  fs::remove_all(root / "work");
  EXPECT_EQ(found("both"), "A/both");
  EXPECT_EQ(found("here"), "-") << "the working directory is gone";
}

} // namespace
