// Includes the lower layer's public header (allowed) and its private folder: the one include that
// the check must report.
#pragma once

#include "low/detail/hidden.h"
#include "low/public.h"
