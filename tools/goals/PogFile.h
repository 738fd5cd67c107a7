#ifndef KELVARUNE_GOALS_POGFILE_H
#define KELVARUNE_GOALS_POGFILE_H

#include "Language.h"
#include "file/Descriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// The file with the goals of a component (POG), which refers to the files that the goals are in or
/// holds their scripts.
///
/// It is XML with a line per goal; its last part, still XML, is an index in lines of fixed width,
/// so that a goal is found without reading the rest. What XML or UTF-8 cannot hold, and "%", is
/// written as "%" and two hexadecimal digits per byte.
namespace kelvarune::goals {

/// What a POG was made of, so that it can be made anew. Paths are relative to the POG's directory.
struct pog_header_t {
  std::string component;
  std::string base; ///< the directory below which the paths are the tags
  std::vector<std::string> sources;
  bool groupByDirectory = false;
  bool embed = false;
  bool skipBroken = false;
};

/// A goal as the POG has it.
struct goal_ref_t {
  std::string tag;
  std::size_t number = 0; ///< within its obligation, from 1
  std::string file;       ///< as written, relative to the POG's directory unless absolute
  language_t language = language_t::SMTLIB;
  std::size_t check = 0; ///< see check_t
  std::size_t line = 0;
  std::string digest;
  std::string name;
  std::string expected;
  std::optional<std::string> text; ///< its own script, where the POG holds it
};

/// Writes a POG from its start to its end. It keeps 16 bytes of each goal in memory.
class PogWriter {
public:
  /// To the descriptor's position, which must be the file's start.
  PogWriter(int fd, const pog_header_t &header);

  /// Begins an obligation. `file` may be empty when each of its goals names its own.
  void obligation(const std::string &tag, const std::string &file = {},
                  language_t language = language_t::SMTLIB);

  /// The next goal of the obligation; `file` where it is not the obligation's, `text` where the POG
  /// shall hold the goal's own script.
  void goal(const check_t &check, const std::string &file = {},
            language_t language = language_t::SMTLIB,
            const std::optional<std::string> &text = std::nullopt);

  /// What has been written, to come back to.
  struct mark_t {
    std::uint64_t offset;
    std::size_t obligations, goals;
    std::uint64_t numberInObligation;
    bool isOpen;
  };
  mark_t mark() const;
  void goBack(const mark_t &mark);

  std::size_t goalCount() const { return goals.size(); }
  std::size_t obligationCount() const { return obligations.size(); }

  /// Writes the rest. False, with the reason in errno, when something could not be written.
  bool finish();

private:
  void put(std::string_view text);
  void flush();
  void endObligation();

  int fd;
  int error = 0;
  std::uint64_t flushed = 0;
  std::string buffer;
  bool isOpen = false; // an obligation
  std::uint64_t numberInObligation = 0;
  using extent_t = std::pair<std::uint64_t, std::uint64_t>;
  std::vector<extent_t> obligations; // offset of each, number of goals before it
  std::vector<extent_t> goals;       // offset and length of each
};

/// Reads goals of a POG, each by a few small reads. Nothing in the file is trusted: what is wrong
/// gives a message of one line, which names the file. One thread at a time.
class PogFile {
public:
  /// Whether the file at `path` begins as those of PogWriter do; what other programs call a POG may
  /// be anything.
  static bool isOne(const std::string &path);

  static std::variant<PogFile, std::string> open(const std::string &path);

  std::size_t obligations() const { return obligationCount; }
  std::size_t goals() const { return goalCount; } ///< of all obligations

  /// The goal at these indexes, both from 0.
  std::variant<goal_ref_t, std::string> find(std::size_t obligation, std::size_t goal) const;

  /// The parts in their order, without scripts. The message when that had to be given up.
  struct visitor_t {
    std::function<void(const std::string &tag, std::size_t goals)> obligation = nullptr;
    std::function<void(const goal_ref_t &)> goal = nullptr;
  };
  std::optional<std::string> visit(const visitor_t &visitor) const;

  std::variant<pog_header_t, std::string> header() const;

private:
  /// Reads ahead, so that a walk needs few reads.
  struct window_t {
    std::uint64_t offset = 0;
    std::string bytes;
  };
  struct extent_t {
    std::uint64_t first;
    std::uint64_t second;
  };
  struct obligation_t {
    std::string tag;
    std::string file;
    language_t language;
    std::uint64_t begin, end;          // offsets
    std::uint64_t firstGoal, goalsEnd; // numbers
  };
  struct fault_of_pog_t; // raised within, never out of this class

  PogFile(std::string path, file::Descriptor file, std::uint64_t size);

  [[noreturn]] void refuse(const std::string &what) const;
  [[noreturn]] void refuseEdited() const;
  void readFrame();
  std::string_view at(window_t &window, std::uint64_t offset, std::uint64_t length) const;
  std::string_view startTag(std::uint64_t offset, std::uint64_t limit) const;
  extent_t line(std::uint64_t number) const;
  obligation_t obligationAt(std::size_t number) const;
  goal_ref_t goalAt(const obligation_t &obligation, std::uint64_t number, bool withText) const;
  pog_header_t readHeader() const;

  std::string path;
  file::Descriptor file;
  std::uint64_t size;
  std::uint64_t indexOffset = 0; // of the index element
  std::uint64_t linesOffset = 0; // of its first line
  std::uint64_t obligationCount = 0;
  std::uint64_t goalCount = 0;
  // A window for each part that a walk goes through, so that none is read twice.
  mutable window_t obligationLines; // of the index
  mutable window_t goalLines;       // of the index
  mutable window_t elements;        // of the rest
};

} // namespace kelvarune::goals

#endif
