// Includes the layer below: allowed.
#pragma once

#include "low/below.h"
