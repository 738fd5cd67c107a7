// Each row makes one change in a description without remarks.

#include "mechanism/Remarks.h"
#include "support/Fixtures.h"

#include <QFileInfo>

#include <gmock/gmock.h>

namespace {

const std::string FLAWLESS = R"(<mechanism trust="always" xmlns:x="urn:x" x:y=""><x:z/>
<definition name="D"><param value="-t"/></definition>
<driver name="d" ext="e" fast="false">
<writer path="w"><param name="-o" value="a b" separator=""/></writer>
<prover path="p" input="file" timeout="2"><expand name="D"/><param value="${timeout}${file}"/></prover>
<reader path="r"><param name="${file}"/><param name="--x" value="-a b"/></reader>
</driver>
</mechanism>)";

class Remarks : public testing::Test {
protected:
  /// The remarks on the files, each as "FILE:LINE: TEXT".
  std::vector<std::string> on(const QStringList &files) {
    std::vector<std::string> lines;
    for (const mechanism::remark_t &remark : mechanism::readRemarks(files))
      lines.push_back(QFileInfo(remark.file).fileName().toStdString() + ":" +
                      std::to_string(remark.line) + ": " + remark.text.toStdString());
    return lines;
  }

  QString write(const std::string &name, std::string content) {
    return QString::fromStdString(directory.write(name, content));
  }

  TemporaryDirectory directory;
};

TEST_F(Remarks, SayWhatIsProbablyNotMeant) {
  const struct {
    std::string from, to;
    std::vector<std::string> expected; ///< line and a part of each remark
  } rows[] = {
      {"x:y=\"\"", "name='n'", {"1: attribute 'name' of 'mechanism' is skipped; a mechanism has"}},
      {"fast=", "fst=", {"3: attribute 'fst' of 'driver' is skipped; 'fast' was probably"}},
      {"fast=", "timeout=", {"3: attribute 'timeout' of 'driver' is skipped; it belongs to 'prov"}},
      {"path=\"r\"", "xyz=''", {"6: attribute 'xyz' of 'reader' is skipped; there are 'name', 'p"}},
      {"<x:z/>", "<drver/>", {"1: element 'drver' does not belong in 'mechanism'; 'driver' was"}},
      {"<x:z/>", "<param/>", {"1: element 'param' does not belong in 'mechanism'; it belongs in"}},
      {"\"-t\"/>", "''><a>b</a></param>", {"2: element 'a' does not belong in 'param'; nothing"}},
      {"\"-t\"/>", "''>-a</param>", {"2: the text '-a' in 'param' is skipped"}},
      {"</definition>", "</definition><definition/>", {"2: this 'definition' is skipped"}},
      {"</writer>", "</writer><writer fst=''/>", {"4: this 'writer' is skipped; only the first"}},
      {"<expand name=\"D\"/>", "", {"2: no 'expand' names the definition 'D'."}},
      {"<driver name=\"d\"", "<driver", {"3: the driver has no 'name'"}},
      {"</driver>", "</driver><driver name='d' ext='e'/>", {"7: there is a driver 'd' already"}},
      {"\"always\"", "'redundancy'", {"1: trust 'redundancy' asks for the proofs of two drivers"}},
      {"ext=\"e\"", "", {"3: there is no 'ext', so the secondary files end in '.po2'"}},
      {"ext=\"e\"", "ext='.e'", {"3: with the 'ext' '.e' the secondary files end in '..e'"}},
      {"name=\"d\"", "name='a/b'", {"3: 'name' 'a/b' becomes part of file names"}},
      {"fast=\"false\"", "fast='yes'", {"3: 'fast' is 'yes', which counts as 'false'"}},
      {"input=\"file\"", "input='STDIN'", {"5: 'input' is 'STDIN', which counts as 'file'"}},
      {"${timeout}${file}", "${timeout}", {"5: the prover is never told its file"}},
      {"${timeout}${file}", "${file}", {"5: 'timeout' has no effect"}},
      {"timeout=\"2\"", "timeout='2s'", {"5: 'timeout' is '2s', which is no whole number"}},
      {"timeout=\"2\"", "", {"5: '${timeout}' in 'value' is not replaced: the prover has no"}},
      {"\"${timeout}", "\"${timeout}${fil}", {"'${fil}' in 'value' is not replaced; '${file}'"}},
      {"\"${timeout}", "\"${timeout}$(file)", {"'$(file)' in 'value' is not replaced; '${file}'"}},
      {"\"${timeout}", "\"${timeout}${HOME}", {"'${HOME}' in 'value' is not replaced; there are"}},
      {"\"a b\"", "'${file}'", {"4: '${file}' in 'value' is not replaced: a writer gets its file"}},
      {"name=\"${file}\"", "value='${timeout}'", {"6: '${timeout}' in 'value' is not replaced fo"}},
      {"path=\"w\"", "path='${file}'", {"4: '${file}' in 'path' is not replaced; it is in name"}},
      {"path=\"w\"", "path='~/w'", {"4: '~' is not replaced in 'path'"}},
      {"\"-t\"", "'-t 3'", {"2: '-t 3' is one argument, with its blank"}},
      {"<expand", "<param/><expand", {"5: without 'name' and 'value' it is no argument"}},
      {"</writer>", "<param/></writer>", {"4: without 'name' and 'value' it is an empty argument"}},
      {"name=\"${file}\"", "name='' value=''", {"6: the empty 'name' is an empty argument for a"}},
      {"name=\"--x\"", "name='--x' separator=''", {"6: with an empty 'separator' name and value"}},
      {"\"-t\"", "'-t' separator='='", {"2: 'separator' has no effect without both"}},
      {"fast=\"false\"", "fast='' at=''", {"3: attribute 'at' of", "3: 'fast' is '', which"}},
  };
  EXPECT_THAT(on({write("m.xml", FLAWLESS)}), testing::IsEmpty());
  for (const auto &row : rows) {
    SCOPED_TRACE(row.from + " -> " + row.to);
    std::string content = FLAWLESS;
    ASSERT_NE(content.find(row.from), std::string::npos);
    content.replace(content.find(row.from), row.from.size(), row.to);
    std::vector<testing::Matcher<std::string>> matchers;
    for (const std::string &text : row.expected)
      matchers.push_back(testing::HasSubstr(text));
    EXPECT_THAT(on({write("m.xml", content)}), testing::ElementsAreArray(matchers));
  }
}

TEST_F(Remarks, CompareTheMechanismsOfOneRun) {
  const std::string driver = "<driver name='d' ext='e'/><driver name='c' ext='e'/></mechanism>";
  const auto trusting = [&](const std::string &name, const std::string &trust) {
    return write(name, "<mechanism trust='" + trust + "'>" + driver);
  };
  const QStringList files = {trusting("a.xml", "redundancy"), trusting("b.xml", "always"),
                             trusting("c.xml", "never"),      write("d.xml", "<mechanism>"),
                             trusting("b", "always"),         write("e.xml", "<mechanism/>")};
  EXPECT_THAT(on(files), testing::ElementsAre(
                             testing::AllOf(testing::StartsWith("a.xml:1: trust 'redundancy'"),
                                            testing::HasSubstr(files[1].toStdString() + ", ")),
                             testing::StartsWith("c.xml:1: trust 'never' comes before"),
                             testing::StartsWith("b:1: the mechanism has the same name"),
                             "e.xml:1: there is no 'driver', so nothing is ever played."));
}

} // namespace
