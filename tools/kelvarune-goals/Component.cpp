#include "Component.h"

#include "Paths.h"
#include "Sources.h"
#include "file/Io.h"
#include "goals/Digest.h"
#include "goals/PogText.h"
#include "output/Output.h"
#include "text/Literals.h"

#include <cerrno>

using namespace kelvarune;
using goals::goal_ref_t;
using goals::PogFile;

namespace {

constexpr int BUFFER = 256 * 1024;

bool walk(const PogFile &pog, const PogFile::visitor_t &visitor) {
  const auto fault = pog.visit(visitor);
  if (fault)
    complain(QString::fromStdString(*fault));
  return !fault;
}

goals::digest_t digestOf(const PogFile &pog) {
  goals::TokenDigest digest;
  const auto fault = pog.visit(
      {[&digest](const std::string &tag, std::size_t) { digest.add(tag); },
       [&digest](const goal_ref_t &goal) {
         for (const std::string &part : {goal.file, std::to_string(goal.check), goal.digest})
           digest.add(part);
       }});
  if (fault)
    digest.add(*fault);
  return digest.take();
}

} // namespace

std::string component::pogPathOf(const std::string &name) {
  const std::string suffix = ".pog";
  const bool hasSuffix = name.size() > suffix.size() &&
                         name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0;
  return hasSuffix ? name : name + suffix;
}

std::string component::posPathOf(const std::string &pogPath) {
  return withoutSuffix(pogPath) + ".pos";
}

bool component::isAnothers(const std::string &pogPath) {
  if (paths::realPath(pogPath).empty() || PogFile::isOne(pogPath))
    return false;
  complain(paths::textOf(pogPath) + ": is there already and not made by this program"_s);
  return true;
}

std::optional<PogFile> component::open(const std::string &pogPath) {
  auto opened = PogFile::open(pogPath);
  if (auto *pog = std::get_if<PogFile>(&opened))
    return std::move(*pog);
  complain(QString::fromStdString(std::get<std::string>(opened)));
  return std::nullopt;
}

QString component::sourceOf(const goal_ref_t &goal) {
  return QString::fromStdString(goals::encoded(goal.file, goals::place_t::MESSAGE) + ":" +
                                std::to_string(goal.line));
}

bool component::readList(const PogFile &pog, std::vector<pos::listed_obligation_t> &list) {
  return walk(pog,
              {[&list](const std::string &tag, std::size_t goals) {
                 list.push_back({QString::fromStdString(tag), {}});
                 list.back().goals.reserve(goals);
               },
               [&list](const goal_ref_t &goal) {
                 list.back().goals.push_back({QString::fromStdString(goal.digest), sourceOf(goal)});
               }});
}

bool component::writeFresh(const PogFile &pog, int fd) {
  QByteArray buffer = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Proof_Obligations>\n";
  bool isOpen = false;
  int error = 0;
  const auto put = [&](const QByteArray &text) {
    buffer += text;
    if (buffer.size() < BUFFER)
      return;
    if (error == 0 && !file::writeAll(fd, buffer))
      error = errno;
    buffer.clear();
  };
  const auto endObligation = [&] {
    if (isOpen)
      put("    </Proof_Obligation>\n");
    isOpen = true;
  };
  const bool isSound =
      walk(pog, {[&](const std::string &tag, std::size_t) {
                   endObligation();
                   put("    <Proof_Obligation>\n        <Tag>" +
                       QString::fromStdString(tag).toHtmlEscaped().toUtf8() + "</Tag>\n");
                 },
                 [&](const goal_ref_t &goal) {
                   put("        <Simple_Goal status=\"Unproved\" digest=\"" +
                       QString::fromStdString(goal.digest).toHtmlEscaped().toUtf8() +
                       "\" source=\"" + sourceOf(goal).toHtmlEscaped().toUtf8() +
                       "\">\n            <Proof_State proofState=\"Unproved\"/>\n"
                       "        </Simple_Goal>\n");
                 }});
  endObligation();
  put("</Proof_Obligations>\n");
  if (error == 0 && !file::writeAll(fd, buffer))
    error = errno;
  errno = error;
  return isSound && error == 0;
}

bool component::haveSameGoals(const PogFile &first, const PogFile &second) {
  return digestOf(first) == digestOf(second);
}
