// That a limit was reached is known by the line that says so. The exit status may have changed on
// its way through other wrappers, those that run a prover elsewhere for instance.

#include "Limits.h"

#include "text/Literals.h"

#include <QCoreApplication>
#include <QDir>
#include <QRegularExpression>

using namespace kelvarune;

namespace {

QString besideThis(const QString &program) {
  return QDir(QCoreApplication::applicationDirPath()).filePath(program);
}

QStringList cachingCommand(const play_options_t &options) {
  if (options.cache.isEmpty())
    return {};
  // The answers of provers for SMT-LIB and TPTP that their readers believe.
  const QString definite = "unsat|sat|[#%] SZS status (Theorem|Unsatisfiable|ContradictoryAxioms|"
                           "CounterSatisfiable|Satisfiable)\\b.*|"
                           "SPASS beiseite: (Proof|Completion) found\\."_s;
  return {besideThis("kelvarune-cache"_s), "--directory"_s, options.cache, "--definite"_s, definite,
          "--goal-file=${file}"_s,         "--"_s};
}

QStringList limitingCommand(const play_options_t &options) {
  QStringList command;
  if (!options.timeLimit.isEmpty())
    command << "--time"_s << options.timeLimit;
  if (!options.memoryLimit.isEmpty())
    command << "--memory"_s << options.memoryLimit;
  return command.isEmpty()
             ? command
             : QStringList(besideThis("kelvarune-limit"_s)) + command + QStringList("--"_s);
}

} // namespace

QStringList wrappingCommand(const play_options_t &options) {
  return cachingCommand(options) + limitingCommand(options);
}

QStringList wrappingPrograms(const play_options_t &options) {
  return cachingCommand(options).mid(0, 1) + limitingCommand(options).mid(0, 1);
}

QString reachedLimit(const tool_record_t &tool) {
  static const QRegularExpression line("kelvarune-limit: ([a-z ]*limit of .*) reached(.*)\n$"_s);
  if (tool.end != tool_record_t::end_t::EXITED || tool.number == 0)
    return QString();
  const std::string_view said = tool.standardError.end();
  const auto match = line.match(QString::fromUtf8(said.data(), static_cast<int>(said.size())));
  return match.hasMatch() ? "reached its "_s + match.captured(1) + match.captured(2) : QString();
}
