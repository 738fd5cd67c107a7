// Every element is written once, in its order; only where each is must be remembered.

#include "PogFile.h"
#include "PogFormat.h"
#include "PogText.h"

#include <cerrno>

#include <unistd.h>

namespace kelvarune::goals {

namespace {

constexpr std::size_t BUFFER = 1 << 18;

std::string attribute(std::string_view name, std::string_view value) {
  return " " + std::string(name) + "=\"" + encoded(value, place_t::ATTRIBUTE) + "\"";
}

std::string flag(std::string_view name, bool value) {
  return value ? attribute(name, "yes") : std::string();
}

std::string optional(std::string_view name, std::string_view value) {
  return value.empty() ? std::string() : attribute(name, value);
}

} // namespace

PogWriter::PogWriter(int fd, const pog_header_t &header) : fd(fd) {
  put(std::string(pog::XML) + std::string(pog::ROOT) + attribute("component", header.component) +
      optional("base", header.base) + flag("group-by-directory", header.groupByDirectory) +
      flag("embed", header.embed) + flag("skip-broken", header.skipBroken) + ">\n");
  for (const std::string &source : header.sources)
    put("<source" + attribute("path", source) + "/>\n");
}

void PogWriter::put(std::string_view text) {
  buffer += text;
  if (buffer.size() >= BUFFER)
    flush();
}

void PogWriter::flush() {
  std::string_view rest = buffer;
  while (!rest.empty() && error == 0) {
    const ssize_t written = ::write(fd, rest.data(), rest.size());
    if (written >= 0)
      rest.remove_prefix(static_cast<std::size_t>(written));
    else if (errno != EINTR)
      error = errno;
  }
  flushed += buffer.size();
  buffer.clear();
}

void PogWriter::endObligation() {
  if (isOpen)
    put("</obligation>\n");
  isOpen = false;
}

void PogWriter::obligation(const std::string &tag, const std::string &file, language_t language) {
  endObligation();
  isOpen = true;
  numberInObligation = 0;
  obligations.emplace_back(flushed + buffer.size(), goals.size());
  put("<obligation" + attribute("tag", tag) + optional("file", file) +
      attribute("language", pog::nameOf(language)) + ">\n");
}

void PogWriter::goal(const check_t &check, const std::string &file, language_t language,
                     const std::optional<std::string> &text) {
  std::string element = "<goal" + attribute("number", std::to_string(++numberInObligation)) +
                        attribute("check", std::to_string(check.index)) +
                        attribute("line", std::to_string(check.line)) +
                        attribute("digest", check.digest) + optional("expected", check.expected) +
                        optional("name", check.name);
  if (!file.empty())
    element += attribute("file", file) + attribute("language", pog::nameOf(language));
  element += text ? ">" + encoded(*text, place_t::CONTENT) + "</goal>" : "/>";
  goals.emplace_back(flushed + buffer.size(), element.size());
  put(element);
  put("\n");
}

PogWriter::mark_t PogWriter::mark() const {
  return {flushed + buffer.size(), obligations.size(), goals.size(), numberInObligation, isOpen};
}

void PogWriter::goBack(const mark_t &mark) {
  if (mark.offset >= flushed) {
    buffer.resize(mark.offset - flushed);
  } else {
    buffer.clear();
    const auto offset = static_cast<off_t>(mark.offset);
    if (error == 0 && (::ftruncate(fd, offset) != 0 || ::lseek(fd, offset, SEEK_SET) != offset))
      error = errno;
    flushed = mark.offset;
  }
  obligations.resize(mark.obligations);
  goals.resize(mark.goals);
  numberInObligation = mark.numberInObligation;
  isOpen = mark.isOpen;
}

bool PogWriter::finish() {
  endObligation();
  const std::uint64_t index = flushed + buffer.size();
  put(pog::indexTag(obligations.size(), goals.size()));
  for (const auto *table : {&obligations, &goals}) {
    for (const auto &[first, second] : *table)
      put(pog::indexLine(first, second));
  }
  put(std::string(pog::END) + pog::trailer(index));
  flush();
  errno = error;
  return error == 0;
}

} // namespace kelvarune::goals
