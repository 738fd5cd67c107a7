#ifndef KELVARUNE_PLAY_COMMANDS_H
#define KELVARUNE_PLAY_COMMANDS_H

#include "mechanism/Mechanism.h"

#include <QString>
#include <QStringList>

#include <filesystem>

/// A program and its arguments.
struct command_t {
  std::filesystem::path program;
  QStringList arguments;
};

/// The tools of one entry, as they are run.
struct chain_t {
  command_t writer;
  command_t prover;
  command_t reader;
  mechanism::input_t input = mechanism::input_t::STDIN; ///< of the prover
  QString secondaryFile;
};

/// The two lines for a POSIX shell that do what the tools of an entry do, in the same working
/// directory: the writer; the prover piped into the reader.
QStringList linesOf(const chain_t &chain);

#endif
