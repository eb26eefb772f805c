// Includes the layer above: the one include that the check must report.
#pragma once

#include "high/above.h"
#include "low/below.h"
