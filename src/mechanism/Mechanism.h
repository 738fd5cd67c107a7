#ifndef KELVARUNE_MECHANISM_MECHANISM_H
#define KELVARUNE_MECHANISM_MECHANISM_H

#include <QList>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <string>
#include <vector>

class QDomElement;

/// Proof mechanisms: their records, the reader of their description files, the location of their
/// tools on disk and their dump as text.
///
/// Write `mechanism::input_t::FILE` in full: a `using namespace mechanism` clashes with C's FILE.
namespace mechanism {

// ---- Records: Mechanism.cpp. Plain values, filled once by the reader, then only read and copied.

/// How the text of the proof obligations reaches a prover.
enum class input_t : std::int32_t { FILE = 0, STDIN = 1 };

/// Which goals a driver puts together into one run of its prover.
enum class group_t : std::int32_t { NONE = 0, RELATED = 1, FULL = 2 };

/// How far the proofs of a mechanism are relied upon.
enum class trust_t : std::int32_t { NEVER = 0, REDUNDANCY = 1, ALWAYS = 2 };

/// One command line parameter of a tool.
///
/// `name` and `value` are null (`QString::isNull`) when their attribute is absent, and empty but
/// not null when it is present and empty: the command lines of provers and readers depend on it.
struct param_t {
  QString name;
  QString separator = QStringLiteral(" "); ///< Between name and value; one blank when absent.
  QString value; ///< For a prover, with its timeout in place of every "${timeout}".
};

/// One external program.
struct tool_t {
  QString name;
  QString default_path;       ///< As written in the description; may be relative or empty.
  std::filesystem::path path; ///< The executable that is run, once it has been located.
  QString resource;           ///< The resource whose value, if any, overrides `default_path`.
  QList<param_t> parameters;  ///< The tool's own ones, then those of each expanded definition.
};

/// A prover: a tool with a time limit.
struct prover_t : tool_t {
  std::int32_t timeout = -1; ///< In the prover's own unit; -1 when the description gives none.
  input_t input = input_t::STDIN;
};

/// One driver: the chain of a writer, a prover and a reader.
struct driver_t {
  tool_t writer;   ///< Generates the secondary proof obligation files.
  prover_t prover; ///< Runs on each of them.
  tool_t reader;   ///< Reads the verdicts out of the prover's output.
  QString name;
  group_t group = group_t::NONE;
  QString ext;       ///< Of the secondary proof obligation files, without the dot.
  bool fast = false; ///< Marked: also played when only marked drivers are.
};

/// A whole mechanism. `driver_names` has the names of `drivers`, in the same order.
struct mechanism_t {
  QString spare_text; ///< Nothing sets or reads it.
  std::string name;   ///< UTF-8: the base name of the description file.
  trust_t trust = trust_t::NEVER;
  std::vector<driver_t> drivers; ///< In document order.
  QStringList driver_names;
};

// ---- Vocabulary of the description files: Mechanism.cpp. Built before main, read-only.

extern const QString TAG_MECHANISM;
extern const QString TAG_DEFINITION;
extern const QString TAG_DRIVER;
extern const QString TAG_WRITER;
extern const QString TAG_PROVER;
extern const QString TAG_READER;
extern const QString TAG_PARAM;
extern const QString TAG_EXPAND;
extern const QString ATTR_NAME;
extern const QString ATTR_PATH;
extern const QString ATTR_RESOURCE;
extern const QString ATTR_SEPARATOR;
extern const QString ATTR_VALUE;
extern const QString ATTR_TIMEOUT;
extern const QString ATTR_INPUT;
extern const QString ATTR_GROUP;
extern const QString ATTR_EXT;
extern const QString ATTR_TRUST;
extern const QString ATTR_FAST;

extern const QString ATTR_VALUE_NEVER;
extern const QString ATTR_VALUE_REDUNDANCY;
extern const QString ATTR_VALUE_ALWAYS;
extern const QString ATTR_VALUE_NONE;
extern const QString ATTR_VALUE_RELATED;
extern const QString ATTR_VALUE_FULL;
extern const QString ATTR_VALUE_STDIN;
extern const QString ATTR_VALUE_FILE;

/// The texts of the enumerations, and back. Look them up with `at`: a text outside the table is an
/// error (std::out_of_range), never a default. Texts compare exactly, with their case.
///
/// No table leads to `input_t`: any text but "stdin" means a file.
extern const std::map<QString, group_t> groupOfXmlAttr;
extern const std::map<QString, trust_t> trustOfXmlAttr;
extern const std::map<group_t, QString> qstringOfGroup;
extern const std::map<trust_t, QString> qstringOfTrust;
extern const std::map<input_t, QString> qstringOfInput;

// ---- Reader of the description files: MechanismFile.cpp. Main thread.

/// The parameter lists of a description's definitions, by name.
using definitions_t = std::map<QString, QList<param_t>>;

/// Reads the description `file` into `out` and locates every tool that it names, searching
/// `installDirs` in their order.
///
/// True when the whole description was read and every tool located; nothing is written then.
/// Otherwise one line says why: on the standard log stream when the file cannot be opened (also
/// when it is not a regular file or nests too deeply), on the standard error stream when a tool is
/// not found. `out` then keeps the drivers read so far and counts as not loaded.
///
/// A file that is not well-formed is read as far as the XML library goes; without a "mechanism"
/// element it gives a mechanism without drivers. Throws std::out_of_range ("map::at") for a trust,
/// a group or an expanded definition that does not exist, and what checkToolExistence throws.
bool ofFile(const QString &file, mechanism_t &out, const std::vector<std::string> &installDirs);

/// Reads a writer or reader element into `tool` and locates the tool. False, after one line on the
/// standard error stream, when it is not found; its parameters are not read then.
bool toolOfXml(const QDomElement &element, tool_t &tool, const definitions_t &definitions,
               const std::vector<std::string> &installDirs);

/// Appends one parameter for each "param" child of `element`, in document order.
void paramListOfXml(const QDomElement &element, QList<param_t> &list);

/// Appends, for each "expand" child of `element` in document order, the parameters of the
/// definition that it names. Throws std::out_of_range for a name that `definitions` lacks.
void expandListOfXml(const QDomElement &element, QList<param_t> &list,
                     const definitions_t &definitions);

// ---- Tool location: ToolLocation.cpp.

/// The path that a description means for a tool: the value of the resource named by the text of
/// `resource` after its last "*", normalised, or `defaultPath` when there is no resource or it has
/// no value. Reads the resource manager, which must not change meanwhile.
QString computePath(const QString &defaultPath, const QString &resource);

/// Finds the executable that `path` means, and makes `path` that file.
///
/// An absolute path is tried as it stands. A relative one is looked for in each of `installDirs`
/// and then in the working directory; in each, a path without extension is also tried with ".exe".
/// Executable is a regular file whose owner may execute it, whoever asks; links are followed, and a
/// file whose status cannot be had (a loop of links, say) is simply not executable.
///
/// False when nothing is found; `path` is unchanged then. Throws std::filesystem::filesystem_error
/// when a relative path is looked for in an installation directory that does not exist.
bool checkToolExistence(std::filesystem::path &path, const std::vector<std::string> &installDirs);

// ---- Dump: MechanismDump.cpp. Human-readable text, every line flushed; nothing reads it back.

std::ostream &operator<<(std::ostream &stream, const param_t &param);
std::ostream &operator<<(std::ostream &stream, const tool_t &tool);
std::ostream &operator<<(std::ostream &stream, const prover_t &prover);
std::ostream &operator<<(std::ostream &stream, const driver_t &driver);
std::ostream &operator<<(std::ostream &stream, const mechanism_t &mechanism);

} // namespace mechanism

#endif
