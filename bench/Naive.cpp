// The obvious way to write such a program with Qt, to measure against: QProcess for the tools, one
// document in memory, and after every entry that whole document written over the file. As that
// needs one lock around update and save, other jobs wait for it.
//
// Not safe: the file is truncated first. Prints the wall seconds that the entries took.

#include "Component.h"

#include <QDomDocument>
#include <QFile>
#include <QProcess>
#include <QTextStream>

#include <cstdlib>
#include <iostream>
#include <mutex>
#include <stdexcept>

namespace {

constexpr int INDENT = 4;
constexpr int NO_LIMIT = -1;

const QString STATUS = QStringLiteral("status");
const QString NAME = QStringLiteral("name");
const QString MECHANISM = QStringLiteral("bench");
const QString DRIVER = QStringLiteral("d1");

QDomElement childOfName(const QDomElement &parent, const QString &tag, const QString &name) {
  QDomElement child = parent.firstChildElement(tag);
  while (!child.isNull() && child.attribute(NAME) != name)
    child = child.nextSiblingElement(tag);
  return child;
}

QStringList toStringList(const std::vector<std::string> &texts) {
  QStringList list;
  for (const std::string &text : texts)
    list.append(QString::fromStdString(text));
  return list;
}

class Naive {
public:
  explicit Naive(const bench::component_t &component) : component(component) { load(); }

  void play(std::size_t entry) {
    runWriter(entry);
    const QByteArray output = runChain(entry);
    const std::lock_guard lock(resultMutex);
    const std::vector<std::string> verdicts = bench::linesOf(output.toStdString());
    const bench::entry_t &addresses = component.entries[entry];
    if (verdicts.size() != addresses.size())
      throw std::runtime_error("Unexpected number of results");
    for (std::size_t i = 0; i < verdicts.size(); ++i)
      update(addresses[i], QString::fromStdString(verdicts[i]));
    save();
  }

  unsigned long countProved() {
    goals.clear();
    load();
    unsigned long count = 0;
    for (const auto &obligation : goals) {
      for (const QDomElement &goal : obligation)
        count += goal.attribute(STATUS) == QStringLiteral("Proved") ? 1 : 0;
    }
    return count;
  }

private:
  void load() {
    QFile file(QString::fromStdString(component.posPath()));
    if (!file.open(QIODevice::ReadOnly) || !document.setContent(&file))
      throw std::runtime_error("Cannot read " + component.posPath());
    QDomElement obligation =
        document.documentElement().firstChildElement(QStringLiteral("Proof_Obligation"));
    const QString tag = QStringLiteral("Simple_Goal");
    for (; !obligation.isNull(); obligation = obligation.nextSiblingElement()) {
      goals.emplace_back();
      for (QDomElement goal = obligation.firstChildElement(tag); !goal.isNull();
           goal = goal.nextSiblingElement(tag))
        goals.back().push_back(goal);
    }
  }

  void runWriter(std::size_t entry) const {
    QProcess writer;
    writer.start(QString::fromStdString(component.toolPath("writer")),
                 toStringList(component.writerArguments(entry)));
    writer.waitForFinished(NO_LIMIT);
  }

  QByteArray runChain(std::size_t entry) const {
    QProcess prover;
    QProcess reader;
    prover.setStandardInputFile(QString::fromStdString(component.secondaryFile(entry)));
    prover.setStandardOutputProcess(&reader);
    prover.start(QString::fromStdString(component.toolPath("prover")), QStringList());
    reader.start(QString::fromStdString(component.toolPath("reader")),
                 toStringList(component.readerArguments));
    prover.waitForFinished(NO_LIMIT);
    reader.waitForFinished(NO_LIMIT);
    return reader.readAllStandardOutput();
  }

  void update(const bench::address_t &address, const QString &verdict) {
    QDomElement goal = goals.at(address.first).at(address.second);
    QDomElement mechanism = childOfName(goal, QStringLiteral("Mechanism"), MECHANISM);
    childOfName(mechanism, QStringLiteral("Driver"), DRIVER).setAttribute(STATUS, verdict);
    mechanism.setAttribute(STATUS, verdict);
    if (verdict != QStringLiteral("Unknown"))
      goal.setAttribute(STATUS, verdict);
  }

  void save() {
    document.documentElement().setAttribute(QStringLiteral("author"),
                                            QStringLiteral("proof_director"));
    QFile file(QString::fromStdString(component.posPath()));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
      throw std::runtime_error("Cannot write " + component.posPath());
    QTextStream stream(&file);
    document.save(stream, INDENT);
  }

  const bench::component_t &component;
  QDomDocument document;
  std::vector<std::vector<QDomElement>> goals;
  std::mutex resultMutex;
};

int run(int argc, char **argv) {
  const bench::component_t component = bench::componentOfArguments(argc, argv);
  Naive naive(component);
  const double seconds =
      bench::runEntries(component, [&](std::size_t entry) { naive.play(entry); });
  std::cout << "Proved " << naive.countProved() << '\n' << "seconds " << seconds << '\n';
  return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception &error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
