#ifndef KELVARUNE_PROJECT_PROJECT_FILE_H
#define KELVARUNE_PROJECT_PROJECT_FILE_H

#include <QString>
#include <QStringList>

#include <map>
#include <vector>

/// What a project file says, before anything is made of it.
namespace kelvarune::project {

struct place_t {
  int line = 0;
  int column = 0;
};

/// What is wrong with a file.
class Faults {
public:
  void add(const place_t &place, const QString &text) {
    all.insert({{place.line, place.column}, text});
  }
  bool isEmpty() const { return all.empty(); }
  /// "PATH:LINE:COLUMN: what is wrong", in the order of the places.
  QStringList lines(const QString &path) const;

private:
  std::multimap<std::pair<int, int>, QString> all;
};

struct text_t {
  QString text;
  place_t place;
};

/// The keys of the file itself, or of one [component.NAME]. Their values are of the right type: a
/// list has any number of texts, anything else exactly one.
struct section_t {
  QString name;
  place_t place;
  std::map<QString, std::vector<text_t>> values;

  bool has(const char *key) const { return values.count(QLatin1String(key)) > 0; }
  std::vector<text_t> list(const char *key) const;
  QString text(const char *key) const; ///< empty when it is not there
  place_t placeOf(const char *key) const;
};

struct project_file_t {
  section_t top;
  std::vector<section_t> components; ///< in the order of the file
};

/// Reads a file; what it says is complete when there are no faults.
project_file_t readProjectFile(const QString &path, Faults &faults);

} // namespace kelvarune::project

#endif
