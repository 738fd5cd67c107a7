// What writers have in common: the goals that are asked for, and where their text comes from.

#include "Goals.h"

#include "goals/Source.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>

namespace kelvarune::provers {

namespace {

std::size_t indexOf(const std::string &text) {
  std::size_t index = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
  if (error != std::errc() || end != text.data() + text.size())
    throw Refusal("\"" + text + "\" is not an index: -a takes two numbers, counted from 0",
                  STATUS_USAGE);
  return index;
}

std::string directoryOfFile(const std::string &path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

std::string pathOf(const order_t &order, const goals::goal_ref_t &goal) {
  const bool isAbsolute = !goal.file.empty() && goal.file.front() == '/';
  return isAbsolute ? goal.file : directoryOfFile(order.pog) + "/" + goal.file;
}

std::string ofGoal(const asked_t &asked) {
  return " (goal " + asked.name() + ")";
}

} // namespace

bool order_t::takes(Words &words) {
  const std::string &name = words.name();
  if (name == "-a") {
    const std::size_t obligation = indexOf(words.value());
    goals.push_back({obligation, indexOf(words.value())});
  } else if (name == "-i") {
    pog = words.value();
  } else if (name == "-o") {
    output = words.value();
  } else if (name == "-m") {
    model = true;
  } else {
    return false;
  }
  return true;
}

void order_t::check() const {
  if (pog.empty() || output.empty())
    throw Refusal(std::string(pog.empty() ? "-i" : "-o") + " is missing", STATUS_USAGE);
  std::set<std::pair<std::size_t, std::size_t>> seen;
  for (const address_t &address : goals) {
    if (!seen.emplace(address.obligation, address.goal).second)
      throw Refusal("-a " + std::to_string(address.obligation) + " " +
                        std::to_string(address.goal) + " is given twice",
                    STATUS_USAGE);
  }
}

std::string asked_t::number() const {
  return std::to_string(address.obligation) + " " + std::to_string(address.goal);
}

std::string asked_t::name() const {
  std::string tag = goal.tag;
  std::replace_if(
      tag.begin(), tag.end(), [](unsigned char c) { return c < ' '; }, ' ');
  return tag + "." + std::to_string(address.goal + 1);
}

std::vector<asked_t> askedGoals(const order_t &order) {
  order.check();
  auto opened = goals::PogFile::open(order.pog);
  if (const auto *message = std::get_if<std::string>(&opened))
    throw Refusal(*message);
  const auto &pog = std::get<goals::PogFile>(opened);
  std::vector<asked_t> asked;
  for (const order_t::address_t &address : order.goals) {
    auto found = pog.find(address.obligation, address.goal);
    if (const auto *message = std::get_if<std::string>(&found))
      throw Refusal(*message);
    asked.push_back({address, std::get<goals::goal_ref_t>(std::move(found))});
  }
  return asked;
}

void visitSources(const order_t &order, const std::vector<asked_t> &asked,
                  goals::language_t language, const std::function<void(const source_t &)> &visit) {
  std::map<std::string, source_t> files;
  for (const asked_t &one : asked) {
    if (one.goal.language != language)
      continue;
    if (one.goal.text)
      visit({*one.goal.text, ".", {&one}, {0}});
    else
      files[one.goal.file].goals.push_back(&one);
  }
  for (auto &[name, source] : files) {
    const asked_t &first = *source.goals.front();
    const std::string path = pathOf(order, first.goal);
    auto text = goals::readSource(path);
    if (const auto *error = std::get_if<goals::source_error_t>(&text))
      throw Refusal("cannot read " + name + ": " + error->text + ofGoal(first));
    source.text = std::get<std::string>(std::move(text));
    source.directory = directoryOfFile(path);
    std::sort(source.goals.begin(), source.goals.end(),
              [](const asked_t *a, const asked_t *b) { return a->goal.check < b->goal.check; });
    for (const asked_t *one : source.goals)
      source.indexes.push_back(one->goal.check);
    visit(source);
    source = {}; // one text at a time
  }
}

void refuseChanged(const asked_t &asked) {
  throw Refusal(asked.goal.file + " has changed since the POG was made" + ofGoal(asked));
}

void checkDigest(const asked_t &asked, const std::string &digest) {
  if (!asked.goal.text && digest != asked.goal.digest)
    refuseChanged(asked);
}

} // namespace kelvarune::provers
