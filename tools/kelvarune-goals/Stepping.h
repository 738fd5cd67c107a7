#ifndef KELVARUNE_TOOLS_GOALS_STEPPING_H
#define KELVARUNE_TOOLS_GOALS_STEPPING_H

#include "Making.h"

#include <QString>

#include <string>

struct options_t;

/// Where a component is.
struct component_paths_t {
  std::string pog;
  std::string pos;
};

struct stepped_t {
  bool wasInStep = false;
  QString text; ///< see Statuses::text
};

/// Makes the component anew from its files and brings what is there in step; with --check only
/// compares. False after a complaint: then nothing was changed unless it says so.
bool bringInStep(const component_paths_t &files, const recipe_t &recipe, const options_t &options,
                 stepped_t &stepped);

/// The recipe of an import. False after a complaint.
bool recipeOfImport(const options_t &options, const component_paths_t &files, recipe_t &recipe);

#endif
