// Says what a description does that its author probably did not mean. The reader skips what it does
// not know, without a word, so a misspelt "timeout" shows only in proofs that take for ever.
//
// One table says what belongs where; the rest looks at each tool's parameters as the director will
// make arguments of them. Parameters of a definition are looked at for each tool that uses them.

#include "mechanism/Remarks.h"

#include "mechanism/Mechanism.h"
#include "text/Literals.h"
#include "text/Paths.h"
#include "text/Similar.h"
#include "xml/XmlFile.h"

#include <QDomDocument>
#include <QDomElement>
#include <QRegularExpression>

#include <algorithm>
#include <map>
#include <optional>
#include <tuple>

using namespace kelvarune;

namespace mechanism {

namespace {

const QString VARIABLE_FILE = "file"_s;
const QString VARIABLE_TIMEOUT = "timeout"_s;

struct vocabulary_t {
  QStringList attributes;
  QStringList children;
};

const std::map<QString, vocabulary_t> &vocabulary() {
  static const QStringList location = {ATTR_NAME, ATTR_PATH, ATTR_RESOURCE};
  static const QStringList parameters = {TAG_PARAM, TAG_EXPAND};
  static const std::map<QString, vocabulary_t> table = {
      {TAG_MECHANISM, {{ATTR_TRUST}, {TAG_DEFINITION, TAG_DRIVER}}},
      {TAG_DEFINITION, {{ATTR_NAME}, {TAG_PARAM}}},
      {TAG_DRIVER,
       {{ATTR_NAME, ATTR_GROUP, ATTR_EXT, ATTR_FAST}, {TAG_WRITER, TAG_PROVER, TAG_READER}}},
      {TAG_WRITER, {location, parameters}},
      {TAG_PROVER, {location + QStringList{ATTR_INPUT, ATTR_TIMEOUT}, parameters}},
      {TAG_READER, {location, parameters}},
      {TAG_PARAM, {{ATTR_NAME, ATTR_SEPARATOR, ATTR_VALUE}, {}}},
      {TAG_EXPAND, {{ATTR_NAME}, {}}}};
  return table;
}

QString quoted(const QString &text) {
  return QLatin1Char('\'') + text + QLatin1Char('\'');
}

QString quotedList(const QStringList &words) {
  QStringList texts;
  for (const QString &word : words)
    texts << quoted(word);
  return texts.join(", "_s);
}

/// The elements to which the attribute or the child element `word` belongs.
QStringList ownersOf(const QString &word, QStringList vocabulary_t::*words) {
  QStringList owners;
  for (const auto &[tag, known] : vocabulary()) {
    if ((known.*words).contains(word))
      owners << tag;
  }
  return owners;
}

/// How one tool takes a parameter.
struct taker_t {
  QString role;
  bool hasTimeout = false;
};

/// Whether the director, or the reader of descriptions, puts something in the place of a variable
/// in this attribute of a parameter. A null role stands for elements that are no parameters.
bool isReplaced(const QString &variable, const QString &attribute, const QString &role) {
  if (variable == VARIABLE_TIMEOUT)
    return role == TAG_PROVER && attribute == ATTR_VALUE;
  return variable == VARIABLE_FILE && (role == TAG_PROVER || role == TAG_READER) &&
         attribute != ATTR_SEPARATOR;
}

/// Collects the remarks on one file.
class Remarker {
public:
  explicit Remarker(const QString &file) : file(file) {}

  void look(const QDomElement &root);
  void remark(const QDomElement &element, const QString &text);
  std::vector<remark_t> sorted();

private:
  void lookAtWords(const QDomElement &element);
  void lookAtAttribute(const QDomElement &element, const QString &name);
  void lookAtChild(const QDomElement &element, const QDomElement &child);
  void lookAtNames(const QDomElement &root);
  void lookAtTrust(const QDomElement &root);
  void lookAtDriver(const QDomElement &driver);
  void lookAtProver(const QDomElement &prover);
  void lookAtParameters(const QDomElement &tool);
  void lookAtParameter(const QDomElement &param, const taker_t &taker);
  void lookAtVariables(const QDomElement &element, const QString &attribute, const taker_t &taker);
  std::vector<QDomElement> parametersOf(const QDomElement &tool) const;

  const QString file;
  QDomElement definition; ///< the first one, null when there is none
  std::vector<remark_t> remarks;
};

void Remarker::remark(const QDomElement &element, const QString &text) {
  remarks.push_back({file, element.lineNumber(), element.columnNumber(), text});
}

// Without those that several users of a definition have given.
std::vector<remark_t> Remarker::sorted() {
  const auto key = [](const remark_t &remark) { return std::tie(remark.line, remark.column); };
  std::stable_sort(remarks.begin(), remarks.end(),
                   [&key](const auto &one, const auto &other) { return key(one) < key(other); });
  std::vector<remark_t> result;
  for (const remark_t &remark : remarks) {
    const auto isSame = [&](const remark_t &other) {
      return key(remark) == key(other) && remark.text == other.text;
    };
    if (std::none_of(result.begin(), result.end(), isSame))
      result.push_back(remark);
  }
  return result;
}

void Remarker::look(const QDomElement &root) {
  definition = root.firstChildElement(TAG_DEFINITION);
  lookAtWords(root);
  lookAtNames(root);
  lookAtTrust(root);
  for (const QDomElement &driver : xml::children(root, TAG_DRIVER))
    lookAtDriver(driver);
}

// --- What belongs where --------------------------------------------------------------------------

void Remarker::lookAtWords(const QDomElement &element) {
  const QDomNamedNodeMap attributes = element.attributes();
  for (int i = 0; i < attributes.count(); ++i)
    lookAtAttribute(element, attributes.item(i).nodeName());
  for (QDomNode node = element.firstChild(); !node.isNull(); node = node.nextSibling()) {
    if (node.isElement())
      lookAtChild(element, node.toElement());
    else if (node.isText() && !node.nodeValue().trimmed().isEmpty())
      remark(element,
             "the text %1 in %2 is skipped; only elements and attributes count."_s.arg(
                 quoted(node.nodeValue().simplified().left(40)), quoted(element.tagName())));
  }
}

// Names with a prefix are those of other tools, such as editors with schemas.
void Remarker::lookAtAttribute(const QDomElement &element, const QString &name) {
  const QString tag = element.tagName();
  const QStringList &known = vocabulary().at(tag).attributes;
  if (known.contains(name) || name.contains(QLatin1Char(':')) || name == "xmlns"_s)
    return;
  const QString skipped =
      "attribute %1 of %2 is skipped"_s.arg(quoted(name), quoted(tag)) + "; %1."_s;
  const QString similar = similarWord(name, known);
  const QStringList owners = ownersOf(name, &vocabulary_t::attributes);
  if (tag == TAG_MECHANISM && name == ATTR_NAME)
    remark(element, skipped.arg("a mechanism has the name of its file"_s));
  else if (!owners.isEmpty())
    remark(element, skipped.arg("it belongs to %1"_s.arg(quotedList(owners))));
  else if (!similar.isEmpty())
    remark(element, skipped.arg("%1 was probably meant"_s.arg(quoted(similar))));
  else
    remark(element, skipped.arg("there are %1"_s.arg(quotedList(known))));
}

void Remarker::lookAtChild(const QDomElement &element, const QDomElement &child) {
  const QString tag = child.tagName();
  const QStringList &known = vocabulary().at(element.tagName()).children;
  if (known.contains(tag)) {
    const bool isFirstOnly = tag == TAG_DEFINITION || element.tagName() == TAG_DRIVER;
    if (isFirstOnly && child != element.firstChildElement(tag))
      remark(child, "this %1 is skipped; only the first one in %2 counts."_s.arg(
                        quoted(tag), quoted(element.tagName())));
    else
      lookAtWords(child);
    return;
  }
  if (tag.contains(QLatin1Char(':')))
    return;
  const QString place =
      "element %1 does not belong in %2; "_s.arg(quoted(tag), quoted(element.tagName()));
  const QString similar = similarWord(tag, known);
  const QStringList owners = ownersOf(tag, &vocabulary_t::children);
  if (!owners.isEmpty())
    remark(child, place + "it belongs in %1."_s.arg(quotedList(owners)));
  else if (!similar.isEmpty())
    remark(child, place + "%1 was probably meant."_s.arg(quoted(similar)));
  else
    remark(child, place + (known.isEmpty() ? "nothing does."_s
                                           : "there are %1."_s.arg(quotedList(known))));
}

// --- Mechanism and drivers -----------------------------------------------------------------------

void Remarker::lookAtNames(const QDomElement &root) {
  QStringList names;
  for (const QDomElement &driver : xml::children(root, TAG_DRIVER)) {
    const QString name = driver.attribute(ATTR_NAME);
    if (name.isEmpty())
      remark(driver, "the driver has no 'name'; name it, to tell its results from others."_s);
    else if (names.contains(name))
      remark(driver, "there is a driver %1 already; its verdicts and files would be mixed up "
                     "with those of this one."_s.arg(quoted(name)));
    names << name;
  }
  if (names.isEmpty())
    remark(root, "there is no 'driver', so nothing is ever played."_s);

  QStringList expanded;
  for (const QDomElement &driver : xml::children(root, TAG_DRIVER)) {
    for (const QString &role : {TAG_WRITER, TAG_PROVER, TAG_READER}) {
      for (const QDomElement &expand : xml::children(driver.firstChildElement(role), TAG_EXPAND))
        expanded << expand.attribute(ATTR_NAME);
    }
  }
  if (!definition.isNull() && !expanded.contains(definition.attribute(ATTR_NAME)))
    remark(definition,
           "no 'expand' names the definition %1."_s.arg(quoted(definition.attribute(ATTR_NAME))));
}

void Remarker::lookAtTrust(const QDomElement &root) {
  const bool isSingle = root.firstChildElement(TAG_DRIVER) == root.lastChildElement(TAG_DRIVER);
  if (root.attribute(ATTR_TRUST) == ATTR_VALUE_REDUNDANCY && isSingle &&
      !root.firstChildElement(TAG_DRIVER).isNull())
    remark(root, "trust 'redundancy' asks for the proofs of two drivers, and there is one; its "
                 "goals never become 'Proved'."_s);
}

void Remarker::lookAtDriver(const QDomElement &driver) {
  const QString ext = driver.attribute(ATTR_EXT);
  if (!driver.hasAttribute(ATTR_EXT))
    remark(driver, "there is no 'ext', so the secondary files end in '.po2'; say what the prover "
                   "expects."_s);
  else if (ext.isEmpty() || ext.startsWith(QLatin1Char('.')))
    remark(driver,
           "with the 'ext' %1 the secondary files end in %2; write it without the dot."_s.arg(
               quoted(ext), quoted(QLatin1Char('.') + ext)));
  for (const QString &attribute : {ATTR_NAME, ATTR_EXT}) {
    lookAtVariables(driver, attribute, {});
    if (driver.attribute(attribute).contains(QLatin1Char('/')))
      remark(driver, "%1 %2 becomes part of file names and must hold no '/'."_s.arg(
                         quoted(attribute), quoted(driver.attribute(attribute))));
  }
  const QString fast = driver.attribute(ATTR_FAST, "false"_s);
  if (fast != "true"_s && fast != "false"_s)
    remark(driver, "'fast' is %1, which counts as 'false'; there are 'true' and 'false'."_s.arg(
                       quoted(fast)));
  for (const QString &role : {TAG_WRITER, TAG_PROVER, TAG_READER})
    lookAtParameters(driver.firstChildElement(role));
  const QDomElement prover = driver.firstChildElement(TAG_PROVER);
  if (!prover.isNull())
    lookAtProver(prover);
}

void Remarker::lookAtProver(const QDomElement &prover) {
  const QString input = prover.attribute(ATTR_INPUT, ATTR_VALUE_STDIN);
  const QStringList inputs = {ATTR_VALUE_STDIN, ATTR_VALUE_FILE};
  if (!inputs.contains(input))
    remark(prover, "'input' is %1, which counts as 'file'; there are %2."_s.arg(
                       quoted(input), quotedList(inputs)));
  const auto reaches = [&](const QString &variable, const QStringList &attributes) {
    const QString text = "${%1}"_s.arg(variable);
    for (const QDomElement &param : parametersOf(prover)) {
      for (const QString &attribute : attributes) {
        if (param.attribute(attribute).contains(text))
          return true;
      }
    }
    return false;
  };
  if (input != ATTR_VALUE_STDIN && !reaches(VARIABLE_FILE, {ATTR_NAME, ATTR_VALUE}))
    remark(prover, "the prover is never told its file; put '${file}' into a parameter, or let "
                   "'input' be 'stdin'."_s);

  const QString timeout = prover.attribute(ATTR_TIMEOUT);
  static const QRegularExpression digits("^[0-9]+$"_s);
  bool isNumber = false;
  timeout.toInt(&isNumber);
  if (!timeout.isEmpty() && (!isNumber || !digits.match(timeout).hasMatch()))
    remark(prover, "'timeout' is %1, which is no whole number; it is put into parameters as it "
                   "stands."_s.arg(quoted(timeout)));
  if (!timeout.isEmpty() && !reaches(VARIABLE_TIMEOUT, {ATTR_VALUE}))
    remark(prover, "'timeout' has no effect: no parameter's value holds '${timeout}'."_s);
}

// --- Parameters ----------------------------------------------------------------------------------

std::vector<QDomElement> Remarker::parametersOf(const QDomElement &tool) const {
  std::vector<QDomElement> result;
  for (const QDomElement &param : xml::children(tool, TAG_PARAM))
    result.push_back(param);
  for (const QDomElement &expand : xml::children(tool, TAG_EXPAND)) {
    if (definition.isNull() || expand.attribute(ATTR_NAME) != definition.attribute(ATTR_NAME))
      continue;
    for (const QDomElement &param : xml::children(definition, TAG_PARAM))
      result.push_back(param);
  }
  return result;
}

void Remarker::lookAtParameters(const QDomElement &tool) {
  for (const QString &attribute : {ATTR_PATH, ATTR_RESOURCE})
    lookAtVariables(tool, attribute, {});
  if (tool.attribute(ATTR_PATH).startsWith(QLatin1Char('~')))
    remark(tool, "'~' is not replaced in 'path'; write the path out, or let a resource name it."_s);
  const taker_t taker = {tool.tagName(), !tool.attribute(ATTR_TIMEOUT).isEmpty()};
  for (const QDomElement &param : parametersOf(tool))
    lookAtParameter(param, taker);
}

void Remarker::lookAtParameter(const QDomElement &param, const taker_t &taker) {
  const QString name = xml::attribute(param, ATTR_NAME);
  const QString value = xml::attribute(param, ATTR_VALUE);
  const QString separator = param.attribute(ATTR_SEPARATOR, " "_s);
  const bool isWriter = taker.role == TAG_WRITER;
  if (name.isNull() && value.isNull())
    remark(param, isWriter ? "without 'name' and 'value' it is an empty argument."_s
                           : "without 'name' and 'value' it is no argument."_s);
  else if (!isWriter && !name.isNull() && name.isEmpty())
    remark(param,
           "the empty 'name' is an empty argument for a %1; leave it out."_s.arg(taker.role));
  if (param.hasAttribute(ATTR_SEPARATOR) && (name.isEmpty() || value.isNull()))
    remark(param, "'separator' has no effect without both 'name' and 'value'."_s);
  else if (!isWriter && separator.isEmpty())
    remark(param, "with an empty 'separator' name and value are two arguments for a %1; write both "
                  "into 'value' to make one."_s.arg(taker.role));
  static const QRegularExpression twoWords("^-[^ =]+ +[^ ]"_s);
  for (const QString &text : {name, name.isEmpty() ? value : QString()}) {
    if (twoWords.match(text).hasMatch())
      remark(param, "%1 is one argument, with its blank, as no shell reads it; write one 'param' "
                    "for each."_s.arg(quoted(text)));
  }
  for (const QString &attribute : {ATTR_NAME, ATTR_SEPARATOR, ATTR_VALUE})
    lookAtVariables(param, attribute, taker);
}

void Remarker::lookAtVariables(const QDomElement &element, const QString &attribute,
                               const taker_t &taker) {
  // The second alternative is what other languages write for a variable.
  static const QRegularExpression pattern(
      R"(\$\{(?<variable>[^{}]*)\}|\$[({]?(?<bare>file|timeout)\b\)?)"_s);
  static const QStringList variables = {VARIABLE_FILE, VARIABLE_TIMEOUT};
  for (auto matches = pattern.globalMatch(element.attribute(attribute)); matches.hasNext();) {
    const QRegularExpressionMatch match = matches.next();
    const QString variable = match.captured("variable"_s);
    const QString similar = similarWord(variable + match.captured("bare"_s), variables);
    const QString kept =
        quoted(match.captured()) + " in %1 is not replaced"_s.arg(quoted(attribute));
    if (!variables.contains(variable))
      remark(element, kept + (similar.isEmpty() ? "; there are '${file}' and '${timeout}'."_s
                                                : "; '${%1}' was probably meant."_s.arg(similar)));
    else if (taker.role == TAG_WRITER)
      remark(element, kept + ": a writer gets its file as '-o FILE' and no timeout."_s);
    else if (!isReplaced(variable, attribute, taker.role))
      remark(element, kept + (taker.role.isNull() ? QString() : " for a "_s + taker.role) +
                          (variable == VARIABLE_FILE
                               ? "; it is in name and value of parameters of provers and readers."_s
                               : "; it is in values of parameters of provers."_s));
    else if (variable == VARIABLE_TIMEOUT && !taker.hasTimeout)
      remark(element, kept + ": the prover has no 'timeout'."_s);
  }
}

// --- Several files -------------------------------------------------------------------------------

struct description_t {
  QString file;
  std::string name;
  QDomElement root;
  std::optional<trust_t> trust; ///< none when the text is no trust
};

// Only with mechanisms that have been read, in the order in which they are played.
void lookAtOrder(const std::vector<description_t> &all, std::size_t index, Remarker &remarker) {
  const description_t &description = all[index];
  QStringList stronger;
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (i > index && description.trust && all[i].trust > description.trust)
      stronger << all[i].file;
    if (i < index && all[i].name == description.name)
      remarker.remark(description.root, "the mechanism has the same name as that of %1, so they "
                                        "share their results."_s.arg(all[i].file));
  }
  if (!stronger.isEmpty())
    remarker.remark(
        description.root,
        "trust '%1' comes before %2, with more trust: a replay takes up only goals that are still "
        "'Unproved', so it skips what this mechanism has left 'UnreliablyProved'. Let this one "
        "come "
        "last; in a directory the names of the files decide."_s.arg(
            qstringOfTrust.at(*description.trust), stronger.join(", "_s)));
}

} // namespace

std::vector<remark_t> readRemarks(const QStringList &files) {
  std::vector<description_t> descriptions;
  std::vector<QDomDocument> documents; // which own the elements
  for (const QString &file : files) {
    QDomDocument &document = documents.emplace_back();
    if (!xml::readDocument(file, document).wellFormed)
      continue;
    const QDomElement root = document.firstChildElement(TAG_MECHANISM);
    if (root.isNull())
      continue;
    description_t &description = descriptions.emplace_back();
    description.file = file;
    description.name = baseNameOfPath(file.toStdString());
    description.root = root;
    const auto trust = trustOfXmlAttr.find(root.attribute(ATTR_TRUST, ATTR_VALUE_NEVER));
    if (trust != trustOfXmlAttr.end())
      description.trust = trust->second;
  }
  std::vector<remark_t> remarks;
  for (std::size_t i = 0; i < descriptions.size(); ++i) {
    Remarker remarker(descriptions[i].file);
    remarker.look(descriptions[i].root);
    lookAtOrder(descriptions, i, remarker);
    const std::vector<remark_t> found = remarker.sorted();
    remarks.insert(remarks.end(), found.begin(), found.end());
  }
  return remarks;
}

} // namespace mechanism
