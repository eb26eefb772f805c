// Where the routing value bVacRoutingState of the default product lives in the registry: its data
// system's place, the store Profiles, the value's id. Written out here rather than taken from the
// schema, so that the tests and benchmarks that use it check the schema instead of repeating it.
#pragma once

namespace Testing {

constexpr const char16_t* kProfilesKey =
    u"Software\\Velorin\\VelorinV3\\{A7FAF9D6-CD2F-4B99-89C3-5B8CF5451651}\\{2D892500-1F2C-4141-B46B-2A6BD660E61D}";
constexpr const char16_t* kRoutingValue = u"{E3C373EE-ABAB-4D5F-81E3-FC4607FD963A}";

}  // namespace Testing
