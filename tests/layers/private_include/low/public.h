// Includes its own private folder: allowed.
#pragma once

#include "low/detail/hidden.h"
