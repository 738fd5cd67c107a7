// What a driver has to do: the goals, and from them the command lines of its tools. The jobs only
// carry out these tables.

#include "director/Arguments.h"
#include "director/DirectorParts.h"
#include "director/ProofDirector.h"
#include "text/Literals.h"

#include <QDir>

#include <algorithm>
#include <map>
#include <set>

using namespace kelvarune;

using mechanism::group_t;

namespace {

/// The goals that share one secondary file, and the numbers in the file's name.
struct bundle_t {
  std::vector<address_t> addresses;
  QStringList arguments; ///< the -a arguments
  QString fileName;
};

void wrapProver(prover_data_t &entry, const QStringList &wrapper, mechanism::input_t input,
                const QString &file) {
  if (wrapper.isEmpty())
    return;
  const QString placeholder = "${file}"_s;
  QStringList words;
  for (QString word : wrapper) {
    if (input == mechanism::input_t::FILE || !word.contains(placeholder))
      words << word.replace(placeholder, file);
  }
  entry.argsp =
      words.mid(1) + QStringList(QString::fromStdString(entry.cmdp.native())) + entry.argsp;
  entry.cmdp = words.first().toStdString();
}

void addGoal(QStringList &arguments, unsigned long obligation, unsigned long goal) {
  arguments << "-a"_s << QString::number(obligation) << QString::number(goal);
}

} // namespace

bool ProofDirector::hasWork() const {
  return std::any_of(poData.begin(), poData.end(), [](const auto &obligation) {
    return std::any_of(obligation.second.begin(), obligation.second.end(),
                       [](const po_data_t &data) { return !data.drivers.isEmpty(); });
  });
}

void ProofDirector::selectForDriver(selection_t &selection) const {
  if (!poFilter.isEmpty()) {
    const QStringList parts = poFilter.split(QLatin1Char('.'));
    const std::string tag = parts.value(0).toStdString();
    for (std::size_t i = 0; i < poData.size(); ++i) {
      if (poData[i].first == tag) {
        selection.push_back({{i, static_cast<unsigned long>(parts.value(1).toLong() - 1)}});
        return;
      }
    }
    return;
  }
  const std::set<address_t> chosen = chosenGoals();
  const bool all = parts->choice.goals.empty();
  for (std::size_t i = 0; i < poData.size(); ++i) {
    const std::vector<po_data_t> &goals = poData[i].second;
    selection.emplace_back();
    for (std::size_t j = 0; j < goals.size(); ++j) {
      const bool isWanted = isDesignated() || goals[j].drivers.contains(currentDriver.name);
      if (isWanted && (all || chosen.count({i, j}) > 0))
        selection.back().emplace_back(i, j);
    }
  }
}

// A name means the first goal that has it.
std::set<address_t> ProofDirector::chosenGoals() const {
  std::map<std::pair<std::string, std::size_t>, address_t> byName;
  for (std::size_t i = 0; i < poData.size() && !parts->choice.goals.empty(); ++i) {
    for (std::size_t j = 0; j < poData[i].second.size(); ++j)
      byName.insert({{poData[i].first, j + 1}, {i, j}});
  }
  std::set<address_t> chosen;
  for (const pos::goal_name_t &name : parts->choice.goals) {
    const auto found = byName.find({name.tag.toStdString(), static_cast<std::size_t>(name.number)});
    if (found != byName.end())
      chosen.insert(found->second);
  }
  return chosen;
}

void ProofDirector::produceWriterData(const QString &directory, const QString &pogPath,
                                      const selection_t &selection) {
  const QString base = baseNameOfPog(pogPath);
  const auto fileName = [&](std::initializer_list<unsigned long> numbers) {
    return secondaryFileName(base, QString::fromStdString(mechanism.name), currentDriver.name,
                             numbers, currentDriver.ext);
  };
  writerData.clear();
  const auto addEntry = [&](const bundle_t &bundle) {
    writer_data_t entry;
    entry.cmd = currentDriver.writer.path;
    entry.po2filename = QDir(directory).filePath(bundle.fileName);
    entry.positions = bundle.addresses;
    entry.args = bundle.arguments;
    entry.args << "-i"_s << pogPath << "-o"_s << entry.po2filename;
    if (isDesignated())
      entry.args << "-m"_s;
    addParametersBits(entry.args, currentDriver.writer);
    writerData.push_back(std::move(entry));
  };

  const bool eachAlone = !parts->choice.goals.empty();
  const group_t group = eachAlone ? group_t::NONE : currentDriver.group;
  if (group == group_t::NONE) {
    for (const std::vector<address_t> &addresses : selection) {
      for (const address_t &address : addresses) {
        bundle_t bundle = {{address}, {}, fileName({address.first, address.second})};
        addGoal(bundle.arguments, address.first, address.second);
        addEntry(bundle);
      }
    }
  } else if (group == group_t::RELATED) {
    for (std::size_t k = 0; k < selection.size(); ++k) {
      bundle_t bundle = {selection[k], {}, fileName({k})};
      // The place in the selection, not the address's own first member (wanted); they only differ
      // for a designated goal.
      for (const address_t &address : selection[k])
        addGoal(bundle.arguments, k, address.second);
      if (!selection[k].empty())
        addEntry(bundle);
    }
  } else if (group == group_t::FULL) {
    bundle_t bundle = {{}, {}, fileName({})};
    for (const std::vector<address_t> &addresses : selection) {
      for (const address_t &address : addresses) {
        bundle.addresses.push_back(address);
        addGoal(bundle.arguments, address.first, address.second);
      }
    }
    addEntry(bundle); // also without any goal
  }

  parts->secondaryFiles.set(writerData);
}

void ProofDirector::produceProverData() {
  proverData.clear();
  for (writer_data_t &writer : writerData) {
    prover_data_t entry;
    entry.cmdp = currentDriver.prover.path;
    for (const mechanism::param_t &param : std::as_const(currentDriver.prover.parameters))
      append_param(param, entry.argsp, writer.po2filename);
    wrapProver(entry, parts->choice.proverWrapper, currentDriver.prover.input, writer.po2filename);
    entry.cmdr = currentDriver.reader.path;
    for (const mechanism::param_t &param : std::as_const(currentDriver.reader.parameters))
      append_param(param, entry.argsr, writer.po2filename);
    entry.inpath = writer.po2filename;
    entry.addresses = std::move(writer.positions);
    writer.positions.clear(); // a moved-from vector need not be empty
    proverData.push_back(std::move(entry));
  }
}
