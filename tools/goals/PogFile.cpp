// The index says where to look, and what is there must be what the index promised: sizes, order,
// the goal's number. So a file that was cut off, edited by hand or made by somebody else is refused
// or read as it stands, and no reading leaves the file's bounds.

#include "PogFile.h"

#include "PogFormat.h"
#include "PogText.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <stdexcept>

#include <sys/stat.h>

namespace kelvarune::goals {

namespace {

constexpr std::uint64_t READ_AHEAD = 1 << 14;
constexpr std::uint64_t MOST_TAG = 1 << 20; // the longest start tag

using attributes_t = std::map<std::string, std::string>;

std::string valueOf(const attributes_t &attributes, const char *name) {
  const auto found = attributes.find(name);
  return found == attributes.end() ? std::string() : found->second;
}

std::optional<std::uint64_t> numberOf(std::string_view text) {
  std::uint64_t number = 0;
  const char *const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (text.empty() || rest != end || error != std::errc())
    return std::nullopt;
  return number;
}

/// The numbers of a text that `formatted` gave for `format`.
std::optional<std::pair<std::uint64_t, std::uint64_t>> numbersIn(std::string_view text,
                                                                 std::string_view format) {
  std::uint64_t numbers[2] = {0, 0};
  std::string_view rest = text;
  for (std::uint64_t &number : numbers) {
    const std::size_t begin = rest.find_first_of("0123456789");
    if (begin == std::string_view::npos)
      break;
    const std::size_t end = std::min(rest.find_first_not_of("0123456789", begin), rest.size());
    number = numberOf(rest.substr(begin, end - begin)).value_or(0);
    rest.remove_prefix(end);
  }
  if (text != pog::formatted(format, numbers[0], numbers[1]))
    return std::nullopt;
  return std::pair(numbers[0], numbers[1]);
}

file::Descriptor openForReading(const std::string &path) {
  file::Descriptor file;
  do // not waiting for the writer of a named pipe
    file = file::Descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  while (!file.isOpen() && errno == EINTR);
  return file;
}

/// Reads as much as there is, up to `length`.
std::string readAt(int fd, std::uint64_t offset, std::uint64_t length) {
  std::string bytes(length, '\0');
  std::uint64_t got = 0;
  while (got < length) {
    const ssize_t now =
        ::pread(fd, bytes.data() + got, length - got, static_cast<off_t>(offset + got));
    if (now == 0 || (now < 0 && errno != EINTR))
      break;
    got += now > 0 ? static_cast<std::uint64_t>(now) : 0;
  }
  bytes.resize(got);
  return bytes;
}

bool beginsAsPog(std::string_view bytes) {
  return bytes.substr(0, pog::XML.size()) == pog::XML &&
         bytes.substr(pog::XML.size(), pog::ROOT.size()) == pog::ROOT;
}

} // namespace

struct PogFile::fault_of_pog_t : std::runtime_error {
  using std::runtime_error::runtime_error;
};

PogFile::PogFile(std::string path, file::Descriptor file, std::uint64_t size)
    : path(std::move(path)), file(std::move(file)), size(size) {}

bool PogFile::isOne(const std::string &path) {
  const file::Descriptor file = openForReading(path);
  return file.isOpen() && beginsAsPog(readAt(file.get(), 0, pog::XML.size() + pog::ROOT.size()));
}

std::variant<PogFile, std::string> PogFile::open(const std::string &path) {
  file::Descriptor file = openForReading(path);
  struct stat status = {};
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0)
    return path + ": cannot be read: " + std::strerror(errno);
  if (!S_ISREG(status.st_mode))
    return path + ": not a regular file";
  PogFile pog(path, std::move(file), static_cast<std::uint64_t>(status.st_size));
  try {
    pog.readFrame();
  } catch (const fault_of_pog_t &fault) {
    return fault.what();
  }
  return pog;
}

void PogFile::refuse(const std::string &what) const {
  throw fault_of_pog_t(path + ": " + what);
}

void PogFile::refuseEdited() const {
  refuse(
      "its index does not fit, as if it had been cut off or edited; kelvarune-goals import makes "
      "it anew");
}

void PogFile::readFrame() {
  const std::uint64_t headSize = pog::XML.size() + pog::ROOT.size();
  if (!beginsAsPog(at(elements, 0, headSize)))
    refuse("not made by kelvarune-goals");
  const std::uint64_t trailerSize = pog::trailer(0).size();
  const std::uint64_t tagSize = pog::indexTag(0, 0).size();
  if (size < headSize + trailerSize)
    refuseEdited();
  const auto index = numbersIn(at(goalLines, size - trailerSize, trailerSize), pog::TRAILER_FORMAT);
  if (!index || index->first >= size)
    refuseEdited();
  indexOffset = index->first;
  linesOffset = indexOffset + tagSize;
  const auto counts = numbersIn(at(obligationLines, indexOffset, tagSize), pog::INDEX_FORMAT);
  const std::uint64_t most = size / pog::LINE_SIZE;
  if (!counts || counts->first > most || counts->second > most)
    refuseEdited();
  obligationCount = counts->first;
  goalCount = counts->second;
  const std::uint64_t end = linesOffset + (obligationCount + goalCount) * pog::LINE_SIZE;
  if (end + pog::END.size() + trailerSize != size ||
      at(goalLines, end, pog::END.size()) != pog::END)
    refuseEdited();
}

// What is returned is valid until the next call with this window.
std::string_view PogFile::at(window_t &window, std::uint64_t offset, std::uint64_t length) const {
  if (offset < window.offset || offset + length > window.offset + window.bytes.size()) {
    const std::uint64_t wanted = std::max(length, READ_AHEAD);
    window.bytes = readAt(file.get(), offset, std::min(wanted, size - std::min(offset, size)));
    window.offset = offset;
  }
  return std::string_view(window.bytes).substr(offset - window.offset, length);
}

// From `offset` on, where it must end before `limit`.
std::string_view PogFile::startTag(std::uint64_t offset, std::uint64_t limit) const {
  const std::uint64_t most = std::min(limit - std::min(limit, offset), MOST_TAG);
  for (std::uint64_t length = std::min<std::uint64_t>(most, 512);;
       length = std::min(most, length * 4)) {
    const std::string_view bytes = at(elements, offset, length);
    const std::size_t end = bytes.find('>');
    if (end != std::string_view::npos)
      return bytes.substr(0, end + 1);
    if (length == most)
      refuseEdited();
  }
}

PogFile::extent_t PogFile::line(std::uint64_t number) const {
  window_t &lines = number < obligationCount ? obligationLines : goalLines;
  const std::string_view bytes = at(lines, linesOffset + number * pog::LINE_SIZE, pog::LINE_SIZE);
  constexpr std::size_t DIGITS = (pog::LINE_SIZE - 2) / 2; // with a blank and a line break
  const auto first = numberOf(bytes.substr(0, DIGITS));
  const auto second = numberOf(bytes.substr(std::min(DIGITS + 1, bytes.size()), DIGITS));
  if (bytes.size() != pog::LINE_SIZE || bytes[DIGITS] != ' ' || bytes.back() != '\n' || !first ||
      !second)
    refuseEdited();
  return {*first, *second};
}

PogFile::obligation_t PogFile::obligationAt(std::size_t number) const {
  const extent_t begin = line(number);
  const extent_t end =
      number + 1 < obligationCount ? line(number + 1) : extent_t{indexOffset, goalCount};
  if (begin.first >= end.first || end.first > indexOffset || begin.second > end.second ||
      end.second > goalCount)
    refuseEdited();
  const auto attributes = attributesOf(startTag(begin.first, end.first), "obligation");
  if (!attributes || attributes->count("tag") == 0)
    refuseEdited();
  return {valueOf(*attributes, "tag"),
          valueOf(*attributes, "file"),
          valueOf(*attributes, "language") == "tptp" ? language_t::TPTP : language_t::SMTLIB,
          begin.first,
          end.first,
          begin.second,
          end.second};
}

goal_ref_t PogFile::goalAt(const obligation_t &obligation, std::uint64_t number,
                           bool withText) const {
  const extent_t extent = line(obligationCount + number);
  if (extent.first <= obligation.begin || extent.first >= obligation.end ||
      extent.second > obligation.end - extent.first)
    refuseEdited();
  const std::string_view tag = startTag(extent.first, extent.first + extent.second);
  const auto attributes = attributesOf(tag, "goal");
  const bool isWhole = tag.size() > 1 && tag[tag.size() - 2] == '/';
  const std::uint64_t tagSize = tag.size();
  if (!attributes || (isWhole && tagSize != extent.second))
    refuseEdited();
  const auto inObligation = numberOf(valueOf(*attributes, "number"));
  const auto check = numberOf(valueOf(*attributes, "check"));
  const auto lineOfCheck = numberOf(valueOf(*attributes, "line"));
  if (inObligation != number - obligation.firstGoal + 1 || !check || !lineOfCheck)
    refuseEdited();

  goal_ref_t goal;
  goal.tag = obligation.tag;
  goal.number = *inObligation;
  goal.check = *check;
  goal.line = *lineOfCheck;
  goal.digest = valueOf(*attributes, "digest");
  goal.name = valueOf(*attributes, "name");
  goal.expected = valueOf(*attributes, "expected");
  const bool hasOwnFile = attributes->count("file") > 0;
  goal.file = hasOwnFile ? attributes->at("file") : obligation.file;
  goal.language = obligation.language;
  if (hasOwnFile)
    goal.language =
        valueOf(*attributes, "language") == "tptp" ? language_t::TPTP : language_t::SMTLIB;
  if (!isWhole && withText) {
    constexpr std::string_view END_TAG = "</goal>";
    std::string bytes = readAt(file.get(), extent.first + tagSize, extent.second - tagSize);
    if (bytes.size() < END_TAG.size() ||
        bytes.compare(bytes.size() - END_TAG.size(), END_TAG.size(), END_TAG) != 0)
      refuseEdited();
    bytes.resize(bytes.size() - END_TAG.size());
    goal.text = decoded(bytes);
    if (!goal.text)
      refuseEdited();
  }
  return goal;
}

std::variant<goal_ref_t, std::string> PogFile::find(std::size_t obligation,
                                                    std::size_t goal) const {
  try {
    if (obligation >= obligationCount)
      refuse("there is no obligation " + std::to_string(obligation) + " (from 0), it has " +
             std::to_string(obligationCount));
    const obligation_t found = obligationAt(obligation);
    const std::uint64_t has = found.goalsEnd - found.firstGoal;
    if (goal >= has)
      refuse("there is no goal " + std::to_string(goal) + " (from 0) in obligation " +
             std::to_string(obligation) + ", which has " + std::to_string(has));
    return goalAt(found, found.firstGoal + goal, true);
  } catch (const fault_of_pog_t &fault) {
    return fault.what();
  }
}

std::optional<std::string> PogFile::visit(const visitor_t &visitor) const {
  try {
    std::uint64_t next = 0;
    for (std::size_t i = 0; i < obligationCount; ++i) {
      const obligation_t obligation = obligationAt(i);
      if (obligation.firstGoal != next)
        refuseEdited();
      next = obligation.goalsEnd;
      if (visitor.obligation)
        visitor.obligation(obligation.tag, next - obligation.firstGoal);
      for (std::uint64_t number = obligation.firstGoal; visitor.goal && number < next; ++number)
        visitor.goal(goalAt(obligation, number, false));
    }
    if (next != goalCount)
      refuseEdited();
  } catch (const fault_of_pog_t &fault) {
    return fault.what();
  }
  return std::nullopt;
}

pog_header_t PogFile::readHeader() const {
  const std::uint64_t end = obligationCount > 0 ? line(0).first : indexOffset;
  std::uint64_t offset = pog::XML.size();
  const std::string root(startTag(offset, end));
  const auto attributes = attributesOf(root, "pog");
  if (!attributes || end > indexOffset)
    refuseEdited();
  pog_header_t header;
  header.component = valueOf(*attributes, "component");
  header.base = valueOf(*attributes, "base");
  header.groupByDirectory = valueOf(*attributes, "group-by-directory") == "yes";
  header.embed = valueOf(*attributes, "embed") == "yes";
  header.skipBroken = valueOf(*attributes, "skip-broken") == "yes";
  offset += root.size() + 1; // and a line break
  while (offset < end) {
    const std::string_view tag = startTag(offset, end);
    const auto source = attributesOf(tag, "source");
    if (!source || source->count("path") == 0)
      refuseEdited();
    header.sources.push_back(source->at("path"));
    offset += tag.size() + 1;
  }
  return header;
}

std::variant<pog_header_t, std::string> PogFile::header() const {
  try {
    return readHeader();
  } catch (const fault_of_pog_t &fault) {
    return fault.what();
  }
}

} // namespace kelvarune::goals
