// Lists what is wrong with descriptions as compilers do, so that editors find the places: errors
// keep a description from being played, warnings tell what is probably not meant.

#include "Commands.h"
#include "Inputs.h"
#include "Trial.h"
#include "mechanism/Remarks.h"
#include "output/MechanismWords.h"
#include "output/Output.h"
#include "pos/pos.h"
#include "text/Literals.h"

#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <memory>
#include <tuple>

#include <string.h>

using namespace kelvarune;

namespace {

struct finding_t {
  int line = 0;
  int column = 0;
  bool isError = true;
  QString text;
};

/// What was found in one file.
struct findings_t {
  std::vector<finding_t> list;
  QStringList notes; ///< how tools ended well
  int drivers = 0;
};

QString inSeconds(qint64 ms) {
  return QString::number(static_cast<double>(ms) / 1000, 'f', 2) + " s"_s;
}

QString howItEnded(const ending_t &ending, int limitS) {
  const QString said = ending.complaint.isEmpty() ? QString() : ": '%1'"_s.arg(ending.complaint);
  switch (ending.kind) {
  case ending_t::kind_t::NOT_STARTED:
    return "could not be started: "_s + QString::fromLocal8Bit(std::strerror(ending.number));
  case ending_t::kind_t::TIMED_OUT:
    return "did not end within %1 s"_s.arg(limitS) + said;
  case ending_t::kind_t::SIGNALLED:
    return "was ended by signal %1 (%2)"_s.arg(QString::number(ending.number),
                                               QLatin1String(::strsignal(ending.number))) +
           said;
  case ending_t::kind_t::EXITED:
    break;
  }
  return "exited with status %1 after %2"_s.arg(QString::number(ending.number),
                                                inSeconds(ending.ms)) +
         said;
}

/// What is wrong with the reader's answer for one goal; empty when it is a verdict.
QString faultOfAnswer(const ReaderOutput &output) {
  const std::string_view text = output.text();
  const QString line = QString::fromUtf8(text.data(), static_cast<int>(text.size()));
  if (output.lineCount() != 1)
    return "the reader printed %1 lines for one goal"_s.arg(output.lineCount());
  if (text.empty())
    return "the reader printed nothing"_s;
  const QStringList verdicts = {pos::ATTR_VALUE_PROVED, pos::ATTR_VALUE_UNKNOWN,
                                pos::ATTR_VALUE_DISPROVED};
  return verdicts.contains(line)
             ? QString()
             : "the reader printed '%1', which is no verdict; there are %2"_s.arg(
                   shown(line.left(80)), verdicts.join(", "_s));
}

void judge(const trial_t &trial, const mechanism::driver_t &driver, const options_t &options,
           findings_t &findings) {
  const QString prefix = "driver %1: "_s.arg(shown(driver.name));
  const bool hasGoal = !options.pogPath.isEmpty();
  const QString fault = faultOfAnswer(trial.output);
  const std::string_view answer = trial.output.text();
  const bool isConclusive = hasGoal && fault.isEmpty() && answer != "Unknown";
  for (const ending_t &ending : trial.endings) {
    // Exit statuses say nothing of a writer and a reader, nor of a prover that gives a verdict.
    const bool hasFailed =
        ending.kind != ending_t::kind_t::EXITED ||
        (ending.role == mechanism::TAG_PROVER && ending.number != 0 && !isConclusive);
    const QString text =
        prefix + ending.role + QLatin1Char(' ') + howItEnded(ending, options.limitS);
    if (hasFailed)
      findings.list.push_back({0, 0, true, text});
    else if (hasGoal || ending.role == mechanism::TAG_PROVER)
      findings.notes << text;
    else // what it says of an empty file helps nobody
      findings.notes << prefix + ending.role + " starts"_s;
    if (ending.role == mechanism::TAG_WRITER && hasGoal && !trial.hasFile)
      findings.list.push_back({0, 0, true, prefix + "the writer wrote no file"_s});
  }
  if (hasGoal && !fault.isEmpty())
    findings.list.push_back({0, 0, true, prefix + fault});
  else if (hasGoal)
    findings.notes << prefix + "verdict "_s +
                          QString::fromUtf8(answer.data(), static_cast<int>(answer.size()));
}

QString linesOf(const findings_t &findings, const QString &file) {
  QString text;
  int errors = 0;
  for (const finding_t &finding : findings.list) {
    errors += finding.isError ? 1 : 0;
    const cell_t severity =
        finding.isError ? cell_t("error: "_s, "1;31") : cell_t("warning: "_s, "35");
    text += (finding.line > 0 ? placed(file, finding.line, finding.column) : file + ": "_s) +
            coloured(severity) + shown(finding.text) + QLatin1Char('\n');
  }
  for (const QString &note : findings.notes)
    text += file + ": "_s + shown(note) + QLatin1Char('\n');
  return text + "%1: %2, %3, %4\n"_s.arg(
                    file, counted(findings.drivers, "driver"), counted(errors, "error"),
                    counted(static_cast<int>(findings.list.size()) - errors, "warning"));
}

/// Checks one file after the other; its exit status is the worst of all.
class Checker {
public:
  explicit Checker(const options_t &options) : options(options) {}

  int check(const QStringList &files);

private:
  int checkFile(const QString &file, const std::vector<mechanism::remark_t> &remarks);
  void runTools(const mechanism::mechanism_t &mechanism, findings_t &findings);

  const options_t &options;
  std::unique_ptr<TrialRoom> room;
};

int Checker::check(const QStringList &files) {
  if (options.runTools) {
    room = std::make_unique<TrialRoom>();
    if (!room->isUsable()) {
      complain("there is no room for temporary files; TMPDIR names it"_s);
      return EXIT_REFUSED;
    }
  }
  const std::vector<mechanism::remark_t> remarks = mechanism::readRemarks(files);
  int status = EXIT_DONE;
  for (const QString &file : files)
    status = std::max(status, checkFile(file, remarks));
  return status;
}

int Checker::checkFile(const QString &file, const std::vector<mechanism::remark_t> &remarks) {
  findings_t findings;
  mechanism::mechanism_t mechanism;
  const auto faults = mechanism::readFaults(file, mechanism, options.installDirs);
  for (const mechanism::fault_t &fault : faults) {
    if (fault.kind == mechanism::fault_kind_t::UNREADABLE) {
      complain(file + ": "_s + textOf(fault));
      return EXIT_REFUSED;
    }
    findings.list.push_back({fault.line, fault.column, true, textOf(fault)});
  }
  for (const mechanism::remark_t &remark : remarks) {
    if (remark.file == file)
      findings.list.push_back({remark.line, remark.column, false, remark.text});
  }
  std::stable_sort(findings.list.begin(), findings.list.end(),
                   [](const auto &one, const auto &other) {
                     return std::tie(one.line, one.column) < std::tie(other.line, other.column);
                   });
  findings.drivers = mechanism.driver_names.size();
  if (room && faults.empty())
    runTools(mechanism, findings);
  return finish(linesOf(findings, file).toUtf8(), findings.list.empty() ? EXIT_DONE : EXIT_FOUND);
}

void Checker::runTools(const mechanism::mechanism_t &mechanism, findings_t &findings) {
  for (const mechanism::driver_t &driver : mechanism.drivers) {
    const trial_t trial = room->run(mechanism.name, driver, options.pogPath, options.limitS * 1000);
    judge(trial, driver, options, findings);
  }
}

} // namespace

int commands::check(const options_t &options) {
  std::optional<QStringList> files = descriptionsIn(options.paths);
  if (!files || !loadPlaces(options))
    return EXIT_REFUSED;
  const QFileInfo pog(options.pogPath);
  if (!options.pogPath.isEmpty() && !(pog.isFile() && pog.isReadable())) {
    complain(options.pogPath + ": no readable file; --pog names the obligations"_s);
    return EXIT_REFUSED;
  }
  files->removeDuplicates();
  return Checker(options).check(*files);
}
