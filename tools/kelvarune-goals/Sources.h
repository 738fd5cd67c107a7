#ifndef KELVARUNE_TOOLS_GOALS_SOURCES_H
#define KELVARUNE_TOOLS_GOALS_SOURCES_H

#include "goals/Language.h"

#include <functional>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

/// A file that may hold goals, as it was found.
struct found_file_t {
  std::string path;  ///< to open it
  std::string below; ///< its path below the common directory
  kelvarune::goals::language_t language;
};

/// Searches files and directories for files with goals, in an order that the file system has no
/// part in: as the paths were given; in a directory first its files, then its directories, each by
/// the bytes of their names. Names that begin with a dot are left out. A directory is searched
/// once, however many links lead to it, so that links that loop end.
class Search {
public:
  /// Called with each file; and with a path and what is wrong with it.
  using found_t = std::function<void(const found_file_t &)>;
  using fault_t = std::function<void(const std::string &path, const std::string &fault)>;

  Search(found_t found, fault_t fault) : found(std::move(found)), fault(std::move(fault)) {}

  /// Searches `path`, which is absolute; `base` is the common directory.
  void search(const std::string &path, const std::string &base);

private:
  void searchDirectory(const std::string &path, const std::string &below);

  const found_t found;
  const fault_t fault;
  std::set<std::pair<unsigned long, unsigned long>> searched;
};

/// The directory that all of these absolute paths are in; of a directory alone itself.
std::string commonDirectory(const std::vector<std::string> &paths);

/// Names for obligations: what tags should not have is replaced, and no two are the same.
class Tags {
public:
  /// For a path without its suffix.
  std::string tagFor(const std::string &path);

private:
  std::unordered_set<std::size_t> taken;     // hashes: of two with one hash the second is renamed
  std::unordered_map<std::string, int> last; // number that was given to tags that came again
};

std::string withoutSuffix(const std::string &path);

#endif
