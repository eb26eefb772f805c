// A listing of the simulated endpoints for people: one line per endpoint with its id, flow, state,
// the BSS mode that the Realtek object keeps for it, its friendly name, its hardware id and the
// three marker properties of the product.
#pragma once

#include <string>
#include <vector>

#include "simulator/endpoint_registry.h"

namespace Simulator {

// A heading line, then one line per endpoint, columns separated by two spaces. A missing property
// shows as "-", a string in quotes, a number as it is. Refusals of malformed endpoints go to the
// registry's message sink.
std::vector<std::string> ListEndpoints(const EndpointRegistry& endpoints);

}  // namespace Simulator
