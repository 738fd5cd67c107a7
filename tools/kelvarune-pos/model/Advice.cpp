// A run over the recorded times: what a driver costs after others depends on which these are, not
// on their order, so that the best order is found over sets of drivers.

#include "model/Advice.h"

#include "model/Times.h"
#include "text/Literals.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <tuple>

using namespace history;
using namespace kelvarune;

namespace {

using set_t = std::uint64_t; // of drivers, a bit for each

constexpr std::size_t MOST_FOR_ALL_ORDERS = 12;
constexpr std::size_t MOST_DRIVERS = 64;
constexpr double MARGIN = 2;
constexpr double LEAST_LIMIT_S = 0.5;
constexpr double NO_LIMIT = std::numeric_limits<double>::infinity();
constexpr double NOTHING_S = 1e-9; // less is no gain
constexpr int MOST_ROUNDS = 8;
constexpr std::size_t MOST_CANDIDATES = 24; // limits that are tried for a driver

set_t bit(std::size_t driver) {
  return set_t{1} << driver;
}

/// What a driver makes of a goal.
struct cell_t {
  bool isKnown = false;
  bool proves = false;
  bool disproves = false;
  std::int64_t entry = 0; // 0 where it is estimated
  double around = 0; // time of the entry's writer and reader, which is the same for fewer goals
  double prover = 0; // of the entry
  double goals = 1;  // that share it
};

/// What becomes of a cell under a time limit.
struct effect_t {
  double wall; // the goal's share of the prover's time
  bool settles;
};

effect_t effectOf(const cell_t &cell, double limit) {
  const double wall = std::min(cell.prover, limit) / cell.goals;
  return {wall, (cell.proves || cell.disproves) && cell.prover * MARGIN <= limit};
}

double roundedUp(double seconds) { // to two digits
  const double unit = std::pow(10, std::floor(std::log10(seconds)) - 1);
  return std::ceil(seconds / unit - NOTHING_S) * unit;
}

double limitFor(double slowest) {
  return std::max(LEAST_LIMIT_S, roundedUp(std::max(slowest, NOTHING_S) * MARGIN));
}

/// Plays the goals on paper.
class Game {
public:
  explicit Game(const past_t &past)
      : past(past), count(std::min(past.drivers.size(), MOST_DRIVERS)) {
    std::map<std::size_t, std::size_t> rows; // of goals that were ever played
    for (const play_t *play : latestPlays(past)) {
      if (play->driver >= count)
        continue;
      active |= bit(play->driver);
      const auto [row, isNew] = rows.insert({play->goal, goals.size()});
      if (isNew) {
        goals.push_back(play->goal);
        cells.emplace_back(count);
      }
      const double goalsOfEntry = play->goals;
      cells[row->second][play->driver] = {true,
                                          play->outcome == outcome_t::PROVED,
                                          play->outcome == outcome_t::DISPROVED,
                                          play->entry,
                                          std::max(0.0, play->wall * goalsOfEntry - play->prover),
                                          play->prover,
                                          goalsOfEntry};
    }
    estimate();
    limits.assign(count, NO_LIMIT);
    for (std::size_t driver = 0; driver < count; ++driver) {
      set_t drivers = 0;
      for (std::size_t other = 0; other < count; ++other)
        drivers |= past.drivers[other].mechanism == past.drivers[driver].mechanism ? bit(other) : 0;
      mechanisms.push_back(drivers);
      const QString &trust = past.drivers[driver].trust;
      always |= trust == "always"_s ? bit(driver) : 0;
      never |= trust == "never"_s ? bit(driver) : 0;
    }
  }

  const past_t &past;
  const std::size_t count;
  std::vector<std::size_t> goals;
  std::vector<std::vector<cell_t>> cells; // by goal, then driver
  std::vector<double> limits;

  /// Proofs and disproofs by each set of drivers.
  struct sets_t {
    set_t proofs = 0;
    set_t disproofs = 0;
  };

  sets_t setsOf(std::size_t goal) const {
    sets_t sets;
    for (std::size_t driver = 0; driver < count; ++driver) {
      const cell_t &cell = cells[goal][driver];
      if (!effectOf(cell, limits[driver]).settles)
        continue;
      (cell.proves ? sets.proofs : sets.disproofs) |= bit(driver);
    }
    return sets;
  }

  /// 2 when the goal is done with after these drivers, 1 when it has an unreliable proof.
  int resultOf(const sets_t &sets, set_t played) const {
    const set_t proofs = sets.proofs & played;
    if ((sets.disproofs & played) || (proofs & always))
      return 2;
    for (std::size_t driver = 0; driver < count && proofs; ++driver) { // two of one mechanism
      if ((proofs & ~never & bit(driver)) && (proofs & ofMechanism(driver) & ~bit(driver)))
        return 2;
    }
    return proofs ? 1 : 0;
  }

  bool isPlayed(const sets_t &sets, std::size_t driver, set_t before) const {
    const bool isEnough =
        (never & bit(driver)) != 0 && (sets.proofs & before & ofMechanism(driver)) != 0;
    return !isEnough && resultOf(sets, before) < 2;
  }

  set_t ofMechanism(std::size_t driver) const { return mechanisms[driver]; }

  /// The drivers that have played something.
  set_t all() const { return active; }

private:
  std::vector<set_t> mechanisms; // by driver
  set_t active = 0;
  set_t always = 0; // drivers whose proof is one
  set_t never = 0;  // drivers whose proof is an unreliable one

  // What is not known is no proof, in the mean time of what did not prove.
  void estimate() {
    for (std::size_t driver = 0; driver < count; ++driver) {
      cell_t sum[2];
      double number[2] = {0, 0}; // of all, of those that did not settle the goal
      for (const auto &row : cells) {
        const cell_t &cell = row[driver];
        for (int i = 0; i < 2 && cell.isKnown; ++i) {
          if (i == 1 && (cell.proves || cell.disproves))
            continue;
          sum[i].around += cell.around / cell.goals;
          sum[i].prover += cell.prover / cell.goals;
          ++number[i];
        }
      }
      const int i = number[1] > 0 ? 1 : 0;
      for (auto &row : cells) {
        if (!row[driver].isKnown && number[i] > 0)
          row[driver] = {
              false, false, false, 0, sum[i].around / number[i], sum[i].prover / number[i], 1};
      }
    }
  }
};

/// The entries that a driver starts: those that have begun cost no more for another goal.
class Begun {
public:
  double wallOf(const cell_t &cell) {
    return cell.entry == 0 || entries.insert(cell.entry).second ? cell.around : 0;
  }

private:
  std::set<std::int64_t> entries;
};

/// Goals on which the same drivers have the same effect, as far as they settle them.
struct class_t {
  Game::sets_t sets;
  int result = 0;            // that must come out
  std::vector<double> walls; // by driver, of the prover for all its goals
};

struct board_t {
  std::vector<class_t> classes;
  /// By driver: what entries take besides, by the classes of their goals.
  std::vector<std::map<std::set<std::size_t>, double>> around;
};

board_t boardOf(const Game &game, const std::vector<int> &results) {
  board_t board;
  board.around.resize(game.count);
  std::map<std::tuple<set_t, set_t, int>, std::size_t> indexes;
  std::map<std::pair<std::size_t, std::int64_t>, std::set<std::size_t>> entries;
  std::map<std::pair<std::size_t, std::int64_t>, double> around;
  for (std::size_t goal = 0; goal < game.goals.size(); ++goal) {
    const Game::sets_t sets = game.setsOf(goal);
    const auto [found, isNew] =
        indexes.insert({{sets.proofs, sets.disproofs, results[goal]}, board.classes.size()});
    if (isNew)
      board.classes.push_back({sets, results[goal], std::vector<double>(game.count, 0)});
    const std::size_t index = found->second;
    for (std::size_t driver = 0; driver < game.count; ++driver) {
      const cell_t &cell = game.cells[goal][driver];
      board.classes[index].walls[driver] += effectOf(cell, game.limits[driver]).wall;
      if (cell.entry == 0) {
        board.around[driver][{index}] += cell.around;
        continue;
      }
      entries[{driver, cell.entry}].insert(index);
      around[{driver, cell.entry}] = cell.around;
    }
  }
  for (const auto &[key, classes] : entries)
    board.around[key.first][classes] += around[key];
  return board;
}

double wallOfNext(const Game &game, const board_t &board, std::size_t driver, set_t before) {
  double wall = 0;
  std::vector<bool> isPlayed;
  for (const class_t &each : board.classes) {
    isPlayed.push_back(game.isPlayed(each.sets, driver, before));
    wall += isPlayed.back() ? each.walls[driver] : 0;
  }
  for (const auto &[classes, around] : board.around[driver]) {
    if (std::any_of(classes.begin(), classes.end(), [&](std::size_t i) { return isPlayed[i]; }))
      wall += around;
  }
  return wall;
}

bool hasAllResults(const Game &game, const board_t &board, set_t played) {
  return std::all_of(board.classes.begin(), board.classes.end(), [&](const class_t &each) {
    return game.resultOf(each.sets, played) >= each.result;
  });
}

using order_t = std::vector<std::size_t>;

/// The best order of drivers that gives all results; of two as good the one with more drivers.
order_t bestOrder(const Game &game, const board_t &board) {
  // By what was played and the driver that came last.
  struct state_t {
    double wall = NO_LIMIT;
    std::size_t before = 0; // the last driver but one
  };
  const std::size_t count = game.count;
  const std::size_t none = count;
  std::vector<std::vector<state_t>> states(std::size_t{1} << count,
                                           std::vector<state_t>(count + 1));
  states[0][none].wall = 0;
  std::pair<set_t, std::size_t> best = {0, none};
  double least = NO_LIMIT;
  int drivers = -1;
  for (set_t played = 0; played < states.size(); ++played) {
    const bool isWhole = hasAllResults(game, board, played);
    const int size = __builtin_popcountll(played);
    std::vector<double> walls;
    for (std::size_t next = 0; next < count; ++next)
      walls.push_back(wallOfNext(game, board, next, played));
    for (std::size_t last = 0; last <= count; ++last) {
      const double wall = states[played][last].wall;
      if (wall == NO_LIMIT)
        continue;
      if (isWhole && (wall < least - NOTHING_S || (wall < least + NOTHING_S && size > drivers))) {
        least = std::min(least, wall);
        best = {played, last};
        drivers = size;
      }
      for (std::size_t next = 0; next < count; ++next) {
        const bool isApart = (played & game.ofMechanism(next)) != 0 &&
                             !(last < count && (game.ofMechanism(last) & bit(next)));
        if ((played & bit(next)) || !(game.all() & bit(next)) || isApart)
          continue;
        state_t &state = states[played | bit(next)][next];
        const double reached = wall + walls[next];
        if (reached < state.wall - NOTHING_S || state.wall == NO_LIMIT)
          state = {reached, last};
      }
    }
  }
  order_t order;
  set_t played = best.first;
  std::size_t last = best.second;
  while (last < count) {
    order.push_back(last);
    played &= ~bit(last);
    last = states[played | bit(last)][last].before;
  }
  std::reverse(order.begin(), order.end());
  return order;
}

/// The next driver is the one that settles most for its time, first among those of the mechanism.
order_t greedyOrder(const Game &game, const std::vector<int> &results) {
  order_t order;
  set_t played = 0;
  std::vector<Game::sets_t> sets;
  for (std::size_t goal = 0; goal < game.goals.size(); ++goal)
    sets.push_back(game.setsOf(goal));
  const auto isOpen = [&](std::size_t goal) {
    return game.resultOf(sets[goal], played) < results[goal];
  };
  while (true) {
    std::size_t best = game.count;
    double bestRate = 0;
    const bool isWithin = !order.empty();
    for (int pass = isWithin ? 0 : 1; pass < 2 && best == game.count; ++pass) {
      for (std::size_t driver = 0; driver < game.count; ++driver) {
        const bool isOfLast = isWithin && (game.ofMechanism(order.back()) & bit(driver));
        const bool isStarted = (game.ofMechanism(driver) & played) != 0;
        if ((played & bit(driver)) || (pass == 0 ? !isOfLast : isStarted))
          continue;
        double wall = NOTHING_S;
        int settled = 0;
        Begun begun;
        for (std::size_t goal = 0; goal < sets.size(); ++goal) {
          if (!game.isPlayed(sets[goal], driver, played))
            continue;
          wall += effectOf(game.cells[goal][driver], game.limits[driver]).wall +
                  begun.wallOf(game.cells[goal][driver]);
          settled += isOpen(goal) && game.resultOf(sets[goal], played | bit(driver)) >
                                         game.resultOf(sets[goal], played)
                         ? 1
                         : 0;
        }
        if (settled / wall > bestRate) {
          bestRate = settled / wall;
          best = driver;
        }
      }
    }
    if (best == game.count)
      return order;
    order.push_back(best);
    played |= bit(best);
  }
}

/// A run over all goals.
struct sum_t {
  double wall = 0;
  bool isWhole = true; // all results came out
  int estimates = 0;
  std::vector<double> walls;                // by place in the order
  std::vector<std::vector<double>> settled; // the provers' times of results, likewise
  std::vector<double> longest;              // of any prover
};

sum_t play(const Game &game, const order_t &order, const std::vector<int> &results) {
  sum_t sum;
  sum.walls.resize(order.size(), 0);
  sum.settled.resize(order.size());
  sum.longest.resize(order.size(), 0);
  std::vector<Begun> begun(order.size());
  for (std::size_t goal = 0; goal < game.goals.size(); ++goal) {
    const Game::sets_t sets = game.setsOf(goal);
    set_t played = 0;
    for (std::size_t place = 0; place < order.size(); ++place) {
      const std::size_t driver = order[place];
      const cell_t &cell = game.cells[goal][driver];
      if (game.isPlayed(sets, driver, played)) {
        const effect_t effect = effectOf(cell, game.limits[driver]);
        sum.walls[place] += effect.wall + begun[place].wallOf(cell);
        sum.estimates += cell.isKnown ? 0 : 1;
        sum.longest[place] = std::max(sum.longest[place], cell.prover);
        if (effect.settles)
          sum.settled[place].push_back(cell.prover);
      }
      played |= bit(driver);
    }
    sum.isWhole = sum.isWhole && game.resultOf(sets, played) >= results[goal];
  }
  for (const double wall : sum.walls)
    sum.wall += wall;
  return sum;
}

/// Gives each driver the limit that its place in the order allows, and lower ones where that pays.
void setLimits(Game &game, const order_t &order, const std::vector<int> &results) {
  for (std::size_t place = 0; place < order.size(); ++place) {
    sum_t sum = play(game, order, results);
    double &limit = game.limits[order[place]];
    std::vector<double> times = sum.settled[place];
    std::sort(times.begin(), times.end());
    limit = std::min(limit, limitFor(times.empty() ? 0 : times.back()));
    double least = play(game, order, results).wall;
    const std::size_t step = std::max<std::size_t>(1, times.size() / MOST_CANDIDATES);
    for (std::size_t i = 0; i < times.size(); i += step) {
      const double kept = limit;
      limit = std::min(limit, limitFor(times[i]));
      const sum_t tried = play(game, order, results);
      if (tried.isWhole && tried.wall < least - NOTHING_S)
        least = tried.wall;
      else
        limit = kept;
    }
  }
}

/// The order of the drivers in the last of the runs that had most of them, then the others.
order_t presentOrder(const past_t &past, const Game &game) {
  order_t order;
  for (const known_run_t &run : past.runs) {
    if (run.drivers.size() >= order.size())
      order = run.drivers;
  }
  for (const play_t &play : past.plays) {
    if (std::find(order.begin(), order.end(), play.driver) == order.end())
      order.push_back(play.driver);
  }
  order.erase(std::remove_if(order.begin(), order.end(),
                             [&](std::size_t driver) {
                               return driver >= game.count || !(game.all() & bit(driver));
                             }),
              order.end());
  return order;
}

void findOrder(Game &game, const std::vector<int> &results, advice_t &advice) {
  order_t best = advice.order;
  std::vector<double> bestLimits = game.limits;
  double least = advice.wall;
  order_t order = best;
  for (int round = 0; round < MOST_ROUNDS; ++round) {
    const order_t found = game.count <= MOST_FOR_ALL_ORDERS
                              ? bestOrder(game, boardOf(game, results))
                              : greedyOrder(game, results);
    if (play(game, found, results).isWhole)
      order = found;
    setLimits(game, order, results);
    const sum_t sum = play(game, order, results);
    if (!sum.isWhole || sum.wall > least - NOTHING_S)
      break;
    least = sum.wall;
    best = order;
    bestLimits = game.limits;
  }
  game.limits = bestLimits;
  const sum_t sum = play(game, best, results);
  advice.advisedWall = sum.wall;
  advice.advisedEstimates = sum.estimates;
  for (std::size_t place = 0; place < best.size(); ++place) {
    const double limit = game.limits[best[place]];
    advice.steps.push_back({best[place],
                            sum.longest[place] > limit ? std::optional(limit) : std::nullopt,
                            sum.walls[place]});
  }
  for (const std::size_t driver : advice.order) {
    if (std::find(best.begin(), best.end(), driver) == best.end())
      advice.leftOut.push_back(driver);
  }
}

} // namespace

advice_t adviceFor(const past_t &past) {
  Game game(past);
  advice_t advice;
  advice.order = presentOrder(past, game);
  advice.goals = static_cast<int>(game.goals.size());
  advice.drivers = static_cast<int>(advice.order.size());
  advice.hanging.resize(past.drivers.size());
  std::vector<int> results;
  for (std::size_t goal = 0; goal < game.goals.size(); ++goal) {
    const Game::sets_t sets = game.setsOf(goal);
    results.push_back(game.resultOf(sets, game.all()));
    for (std::size_t driver = 0; driver < game.count; ++driver) {
      advice.known += game.cells[goal][driver].isKnown ? 1 : 0;
      if (game.resultOf(sets, game.all() & ~bit(driver)) < results[goal])
        advice.hanging[driver].push_back(game.goals[goal]);
    }
  }
  for (const std::size_t driver : advice.order) {
    if (advice.hanging[driver].empty())
      advice.neededByNone.push_back(driver);
  }
  const sum_t now = play(game, advice.order, results);
  advice.wall = now.wall;
  advice.estimates = now.estimates;
  findOrder(game, results, advice);
  return advice;
}
