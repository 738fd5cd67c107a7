#ifndef KELVARUNE_TOOLS_POS_COMMANDS_COMPONENTS_H
#define KELVARUNE_TOOLS_POS_COMMANDS_COMPONENTS_H

#include "history/Past.h"
#include "input/Earlier.h"
#include "model/Overview.h"

#include <QDomDocument>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>
#include <vector>

struct options_t;

/// A component by its name and the path of its status file.
struct listed_t {
  QString name;
  QString path;
};

/// The components that a command is about.
struct portfolio_t {
  QString name;
  QString directory;  ///< that they belong to: an earlier state has their paths below it
  QString reports;    ///< where the pages go, unless the options say so
  bool isAll = false; ///< whether other status files below the directory would belong to it
  std::vector<listed_t> components;
};

/// The files of the options, several as a rule, or those of the project that the options name or
/// that is found. Nothing, after a complaint, when there is none.
std::optional<portfolio_t> portfolioOf(const options_t &options);

/// All status files below a directory.
portfolio_t portfolioBelow(const QString &directory);

/// What was read of one component. There are few of them at any time.
struct content_t {
  QDomDocument document;
  std::vector<goal_t> goals;
  std::optional<history::past_t> past;
};

/// Gets each component that could be read, by its place in the portfolio and on any thread, several
/// at once.
using use_content_t = std::function<void(std::size_t, component_t &, const content_t &)>;

/// Reads all components, with what changed when there is an earlier state. What cannot be read is a
/// fault of its component. Each fault has been told on standard error.
overview_t readAll(const portfolio_t &portfolio, const options_t &options, Earlier *earlier,
                   const use_content_t &use = {});

/// Whether all could be read, as an exit status.
int statusOf(const overview_t &overview);

/// The earlier state of --against; null when it is not given. Nothing, after a complaint, when
/// there is no such state.
std::optional<std::unique_ptr<Earlier>> earlierOf(const QString &against,
                                                  const portfolio_t &portfolio);

#endif
