#include "simulator/endpoint_listing.h"

#include "simulator/property_text.h"

namespace Simulator {

using namespace Platform;

namespace {

// The product's marker properties of the endpoint store.
constexpr PROPERTYKEY kMarkers[] = {
    {{0xF363DF17, 0xA750, 0x4AC3, {0xB7, 0xB5, 0x2B, 0xBE, 0xFF, 0xA9, 0x08, 0x5F}}, 11},
    {{0x9B8844FE, 0x1650, 0x40E5, {0xA5, 0xEA, 0x11, 0xB8, 0xC8, 0x38, 0x21, 0xA1}}, 12},
    {{0x8A80F57F, 0xE31A, 0x40BB, {0xBB, 0x7B, 0xB1, 0xF6, 0xF5, 0xAA, 0x93, 0x69}}, 0},
};

const char* StateName(DWORD state) {
  switch (state) {
    case DEVICE_STATE_ACTIVE:
      return "active";
    case DEVICE_STATE_DISABLED:
      return "disabled";
    case DEVICE_STATE_NOTPRESENT:
      return "notpresent";
    default:
      return "unplugged";
  }
}

std::string ShortValue(const EndpointRegistry& endpoints, const Endpoint& endpoint, const PROPERTYKEY& key) {
  PROPVARIANT value{};
  if (endpoints.ReadProperty(endpoint, false, key, value) < 0) return "?";
  std::string text;
  switch (value.vt) {
    case VT_EMPTY:
      text = "-";
      break;
    case VT_UI4:
      text = std::to_string(value.ulVal);
      break;
    case VT_UI8:
      text = std::to_string(value.uhVal);
      break;
    case VT_LPWSTR:
      text = "\"" + Narrow(value.pwszVal) + "\"";
      break;
    default:
      text = DescribeValue(value);
      break;
  }
  PropVariantClear(&value);
  return text;
}

std::string Padded(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

}  // namespace

std::vector<std::string> ListEndpoints(const EndpointRegistry& endpoints) {
  std::vector<std::string> lines;
  lines.push_back(Padded("id", 56) + "  " + Padded("flow", 7) + "  " + Padded("state", 10) + "  " + Padded("bss", 3) +
                  "  " + Padded("name", 38) + "  hardware id  markers");
  for (const Endpoint& endpoint : endpoints.List(eAll, DEVICE_STATEMASK_ALL)) {
    std::string hardwareId = ShortValue(endpoints, endpoint, PKEY_Device_InstanceId);
    std::string line =
        Padded(Narrow(endpoint.id), 56) + "  " + Padded(endpoint.flow == eRender ? "render" : "capture", 7) + "  " +
        Padded(StateName(endpoint.state), 10) + "  " + Padded(std::to_string(endpoints.BssMode(endpoint)), 3) + "  " +
        Padded(ShortValue(endpoints, endpoint, PKEY_Device_FriendlyName), 38) + "  " + hardwareId + "  markers:";
    for (const PROPERTYKEY& marker : kMarkers) line += " " + ShortValue(endpoints, endpoint, marker);
    lines.push_back(line);
  }
  return lines;
}

}  // namespace Simulator
