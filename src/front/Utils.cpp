// General utilities of the programs.

#include "front/Utils.h"

const std::string FILE_SEPARATOR = "/";
