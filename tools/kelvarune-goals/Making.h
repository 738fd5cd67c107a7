#ifndef KELVARUNE_TOOLS_GOALS_MAKING_H
#define KELVARUNE_TOOLS_GOALS_MAKING_H

#include "ReadAhead.h"
#include "goals/PogFile.h"

#include <QStringList>

#include <optional>
#include <string>
#include <vector>

/// What a POG is made of. Paths are absolute.
struct recipe_t {
  std::string directory; ///< the POG's
  std::string component;
  std::string base; ///< see pog_header_t
  std::vector<std::string> sources;
  bool groupByDirectory = false;
  bool embed = false;
  bool skipBroken = false;
  bool mayBeGone = false; ///< sources; what is not there holds no goals
};

/// What a header says, as seen from the POG's directory.
recipe_t recipeOf(const kelvarune::goals::pog_header_t &header, const std::string &directory);

/// Reads files with goals, one after the other, and writes their POG. No more than one large
/// file is in memory at a time.
class Maker {
public:
  /// Writes to the descriptor, at the start of an empty file.
  Maker(const recipe_t &recipe, int fd);

  /// False, with the reason in errno, when the POG could not be written. The faults of the sources
  /// are another matter.
  bool make();

  /// A line for each file that cannot be read or is broken; these are left out.
  const QStringList &faults() const { return faultLines; }
  std::size_t goals() const { return writer.goalCount(); }
  std::size_t filesWithoutGoals() const { return emptyFiles; }

private:
  void take(const found_file_t &file, const file_text_t &read);
  bool takeGoals(const found_file_t &file, const std::string &text);
  void beginObligation(const found_file_t &file);
  void refuse(const std::string &path, const QString &what);

  const recipe_t &recipe;
  const std::string up; // from the POG's directory to the common one
  kelvarune::goals::PogWriter writer;
  Tags tags;
  std::optional<std::string> group; // the directory whose obligation is open
  QStringList faultLines;
  std::size_t emptyFiles = 0;
};

#endif
