#include "simulator/endpoint_registry.h"

#include <cstring>

#include "platform/com.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "simulator/property_text.h"

namespace Simulator {

using namespace Platform;

namespace {

constexpr const char16_t* kRenderPrefix = u"{0.0.0.00000000}.";
constexpr const char16_t* kCapturePrefix = u"{0.0.1.00000000}.";
constexpr const char16_t* kDeviceState = u"DeviceState";
constexpr const char16_t* kBssMode = u"RtkBssMode";

std::u16string Number(unsigned long long value) { return Utf8ToUtf16(std::to_string(value)); }

const char16_t* FlowName(EDataFlow flow) { return flow == eRender ? u"Render" : u"Capture"; }

const char16_t* StoreName(bool fxStore) { return fxStore ? u"FxProperties" : u"Properties"; }

bool IsSingleState(DWORD state) {
  return state == DEVICE_STATE_ACTIVE || state == DEVICE_STATE_DISABLED || state == DEVICE_STATE_NOTPRESENT ||
         state == DEVICE_STATE_UNPLUGGED;
}

// The names of the subkeys of `key`, in the registry's order.
std::vector<std::u16string> SubkeyNames(HKEY key) {
  std::vector<std::u16string> names;
  char16_t name[MAX_KEY_NAME_LENGTH + 1];
  for (DWORD index = 0;; ++index) {
    DWORD length = MAX_KEY_NAME_LENGTH + 1;
    if (RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    names.emplace_back(name, length);
  }
  return names;
}

// Reads one value whole; false when it is missing or cannot be read.
bool ReadValue(HKEY key, const char16_t* name, StoredValue& stored) {
  DWORD size = 0;
  if (RegQueryValueExW(key, name, nullptr, &stored.type, nullptr, &size) != ERROR_SUCCESS) return false;
  for (;;) {
    stored.data.resize(size);
    LSTATUS status = RegQueryValueExW(key, name, nullptr, &stored.type, stored.data.data(), &size);
    if (status == ERROR_SUCCESS) {
      stored.data.resize(size);
      return true;
    }
    if (status != ERROR_MORE_DATA) return false;
  }
}

// Every value of `key` by name, in the registry's order.
std::vector<std::pair<std::u16string, StoredValue>> ReadValues(HKEY key) {
  std::vector<std::pair<std::u16string, StoredValue>> values;
  std::vector<char16_t> name(MAX_VALUE_NAME_LENGTH + 1);
  for (DWORD index = 0;; ++index) {
    DWORD length = static_cast<DWORD>(name.size());
    if (RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS) break;
    std::u16string valueName(name.data(), length);
    StoredValue stored;
    if (ReadValue(key, valueName.c_str(), stored)) values.emplace_back(std::move(valueName), std::move(stored));
  }
  return values;
}

LPWSTR TaskString(const std::u16string& text) {
  auto* copy = static_cast<LPWSTR>(CoTaskMemAlloc((text.size() + 1) * sizeof(char16_t)));
  if (copy != nullptr) std::memcpy(copy, text.c_str(), (text.size() + 1) * sizeof(char16_t));
  return copy;
}

// The strings of REG_SZ or REG_MULTI_SZ data, which may lack their terminators.
std::vector<std::u16string> StringsOf(const StoredValue& stored) {
  std::u16string all(stored.data.size() / 2, u'\0');
  std::memcpy(all.data(), stored.data.data(), all.size() * sizeof(char16_t));
  std::vector<std::u16string> strings;
  std::size_t start = 0;
  while (start < all.size()) {
    std::size_t end = all.find(u'\0', start);
    if (end == std::u16string::npos) end = all.size();
    if (end == start) break;
    strings.push_back(all.substr(start, end - start));
    start = end + 1;
  }
  return strings;
}

std::u16string UpperName(std::u16string name) {
  for (char16_t& c : name) {
    if (c >= u'a' && c <= u'z') c = static_cast<char16_t>(c - 0x20);
  }
  return name;
}

LONG CreateKey(HKEY root, const std::u16string& path, UniqueKey& key) {
  return RegCreateKeyExW(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_READ | KEY_WRITE, nullptr,
                         key.Put(), nullptr);
}

}  // namespace

AudioRoot DefaultAudioRoot() {
  return AudioRoot{HKEY_LOCAL_MACHINE, u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\MMDevices\\Audio"};
}

bool ParseAudioRoot(const std::u16string& text, AudioRoot& root) {
  const std::size_t separator = text.find(u'\\');
  if (separator == std::u16string::npos || separator + 1 >= text.size()) return false;
  const std::u16string hive = UpperName(text.substr(0, separator));
  if (hive == u"HKLM" || hive == u"HKEY_LOCAL_MACHINE") {
    root.hive = HKEY_LOCAL_MACHINE;
  } else if (hive == u"HKCU" || hive == u"HKEY_CURRENT_USER") {
    root.hive = HKEY_CURRENT_USER;
  } else {
    return false;
  }
  root.path = text.substr(separator + 1);
  return true;
}

bool ToPropertyValue(const StoredValue& stored, PROPVARIANT& value) {
  value = PROPVARIANT{};
  switch (stored.type) {
    case REG_DWORD:
      if (stored.data.size() != sizeof(DWORD)) return false;
      value.vt = VT_UI4;
      std::memcpy(&value.ulVal, stored.data.data(), sizeof(DWORD));
      return true;
    case REG_QWORD:
      if (stored.data.size() != sizeof(ULONGLONG)) return false;
      value.vt = VT_UI8;
      std::memcpy(&value.uhVal, stored.data.data(), sizeof(ULONGLONG));
      return true;
    case REG_SZ: {
      std::vector<std::u16string> strings = StringsOf(stored);
      value.pwszVal = TaskString(strings.empty() ? std::u16string() : strings.front());
      value.vt = value.pwszVal != nullptr ? VT_LPWSTR : VT_EMPTY;
      return value.pwszVal != nullptr;
    }
    case REG_MULTI_SZ: {
      std::vector<std::u16string> strings = StringsOf(stored);
      auto* elements = static_cast<LPWSTR*>(CoTaskMemAlloc(sizeof(LPWSTR) * (strings.size() + 1)));
      if (elements == nullptr) return false;
      value.vt = VT_VECTOR | VT_LPWSTR;
      value.calpwstr.pElems = elements;
      for (const std::u16string& text : strings) {
        elements[value.calpwstr.cElems] = TaskString(text);
        if (elements[value.calpwstr.cElems] == nullptr) {
          PropVariantClear(&value);
          return false;
        }
        ++value.calpwstr.cElems;
      }
      return true;
    }
    case REG_BINARY: {
      auto* bytes = static_cast<BYTE*>(CoTaskMemAlloc(stored.data.size()));
      if (bytes == nullptr) return false;
      if (!stored.data.empty()) std::memcpy(bytes, stored.data.data(), stored.data.size());
      value.vt = VT_BLOB;
      value.blob.cbSize = static_cast<ULONG>(stored.data.size());
      value.blob.pBlobData = bytes;
      return true;
    }
    default:
      return false;
  }
}

bool ToStoredValue(const PROPVARIANT& value, StoredValue& stored) {
  stored = StoredValue{};
  auto append = [&](const void* bytes, std::size_t size) {
    const auto* begin = static_cast<const BYTE*>(bytes);
    stored.data.insert(stored.data.end(), begin, begin + size);
  };
  auto appendString = [&](const char16_t* text) {
    const std::size_t length = text == nullptr ? 0 : StringLength(text);
    if (length > 0) append(text, length * sizeof(char16_t));
    const char16_t terminator = 0;
    append(&terminator, sizeof(terminator));
  };
  switch (value.vt) {
    case VT_UI4:
      stored.type = REG_DWORD;
      append(&value.ulVal, sizeof(DWORD));
      return true;
    case VT_UI8:
      stored.type = REG_QWORD;
      append(&value.uhVal, sizeof(ULONGLONG));
      return true;
    case VT_LPWSTR:
      stored.type = REG_SZ;
      appendString(value.pwszVal);
      return true;
    case VT_VECTOR | VT_LPWSTR:
      stored.type = REG_MULTI_SZ;
      for (ULONG i = 0; value.calpwstr.pElems != nullptr && i < value.calpwstr.cElems; ++i) {
        appendString(value.calpwstr.pElems[i]);
      }
      appendString(nullptr);
      return true;
    case VT_BLOB:
      stored.type = REG_BINARY;
      if (value.blob.cbSize > 0 && value.blob.pBlobData != nullptr) append(value.blob.pBlobData, value.blob.cbSize);
      return true;
    default:
      return false;
  }
}

EndpointRegistry::EndpointRegistry(AudioRoot root, MessageSink report)
    : m_root(std::move(root)), m_report(std::move(report)) {}

std::u16string EndpointRegistry::EndpointId(EDataFlow flow, const std::u16string& keyName) {
  return (flow == eRender ? kRenderPrefix : kCapturePrefix) + keyName;
}

std::u16string EndpointRegistry::FlowPath(EDataFlow flow) const { return m_root.path + u"\\" + FlowName(flow); }

std::u16string EndpointRegistry::EndpointPath(const Endpoint& endpoint) const {
  return FlowPath(endpoint.flow) + u"\\" + endpoint.keyName;
}

std::u16string EndpointRegistry::StorePath(const Endpoint& endpoint, bool fxStore) const {
  return EndpointPath(endpoint) + u"\\" + StoreName(fxStore);
}

bool EndpointRegistry::ReadEndpoint(HKEY flowKey, EDataFlow flow, const std::u16string& keyName,
                                    Endpoint& endpoint) const {
  const std::u16string where = std::u16string(u"Simulator: the endpoint key ") + FlowName(flow) + u"\\" + keyName;
  if (!IsBracedGuid(keyName)) {
    m_report(where + u" is refused: its name is not a braced GUID");
    return false;
  }
  UniqueKey key;
  if (RegOpenKeyExW(flowKey, keyName.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return false;
  StoredValue state;
  if (!ReadValue(key.Get(), kDeviceState, state)) {
    m_report(where + u" is refused: it has no DeviceState value");
    return false;
  }
  if (state.type != REG_DWORD || state.data.size() != sizeof(DWORD)) {
    m_report(where + u" is refused: its DeviceState is of registry type " + Number(state.type) +
             u", not REG_DWORD (4)");
    return false;
  }
  DWORD number = 0;
  std::memcpy(&number, state.data.data(), sizeof(number));
  if (!IsSingleState(number)) {
    m_report(where + u" is refused: its DeviceState " + Number(number) + u" is none of the states 1, 2, 4 and 8");
    return false;
  }
  endpoint = Endpoint{EndpointId(flow, keyName), flow, keyName, number};
  return true;
}

std::vector<Endpoint> EndpointRegistry::List(EDataFlow flow, DWORD stateMask) const {
  std::vector<Endpoint> endpoints;
  for (EDataFlow each : {eRender, eCapture}) {
    if (flow != eAll && flow != each) continue;
    UniqueKey flowKey;
    if (RegOpenKeyExW(m_root.hive, FlowPath(each).c_str(), 0, KEY_READ, flowKey.Put()) != ERROR_SUCCESS) continue;
    for (const std::u16string& name : SubkeyNames(flowKey.Get())) {
      Endpoint endpoint;
      if (ReadEndpoint(flowKey.Get(), each, name, endpoint) && (endpoint.state & stateMask) != 0) {
        endpoints.push_back(std::move(endpoint));
      }
    }
  }
  return endpoints;
}

bool EndpointRegistry::Find(const char16_t* id, Endpoint& endpoint) const {
  if (id == nullptr) return false;
  const std::u16string text(id);
  const std::u16string render(kRenderPrefix);
  const std::u16string capture(kCapturePrefix);
  EDataFlow flow;
  std::u16string keyName;
  if (text.compare(0, render.size(), render) == 0) {
    flow = eRender;
    keyName = text.substr(render.size());
  } else if (text.compare(0, capture.size(), capture) == 0) {
    flow = eCapture;
    keyName = text.substr(capture.size());
  } else {
    return false;
  }
  if (!IsBracedGuid(keyName)) return false;
  UniqueKey flowKey;
  if (RegOpenKeyExW(m_root.hive, FlowPath(flow).c_str(), 0, KEY_READ, flowKey.Put()) != ERROR_SUCCESS) return false;
  return ReadEndpoint(flowKey.Get(), flow, keyName, endpoint);
}

StoredProperties EndpointRegistry::ReadStore(const Endpoint& endpoint, bool fxStore) const {
  StoredProperties properties;
  UniqueKey store;
  if (RegOpenKeyExW(m_root.hive, StorePath(endpoint, fxStore).c_str(), 0, KEY_READ, store.Put()) != ERROR_SUCCESS) {
    return properties;
  }
  for (auto& [name, stored] : ReadValues(store.Get())) {
    const std::u16string where = u"Simulator: the property " + std::u16string(FlowName(endpoint.flow)) + u"\\" +
                                 endpoint.keyName + u"\\" + StoreName(fxStore) + u"\\" + name;
    PROPERTYKEY key;
    if (!ParsePropertyValueName(name, key)) {
      m_report(where + u" is ignored: its name is not {fmtid},pid");
      continue;
    }
    PROPVARIANT value;
    if (!ToPropertyValue(stored, value)) {
      m_report(where + u" is ignored: registry type " + Number(stored.type) + u" with " + Number(stored.data.size()) +
               u" bytes holds no property value");
      continue;
    }
    PropVariantClear(&value);
    properties.emplace(UpperName(name), std::move(stored));
  }
  return properties;
}

std::vector<EndpointSnapshot> EndpointRegistry::Snapshot() const {
  std::vector<EndpointSnapshot> snapshots;
  for (Endpoint& endpoint : List(eAll, DEVICE_STATEMASK_ALL)) {
    EndpointSnapshot snapshot{endpoint, ReadStore(endpoint, false), ReadStore(endpoint, true)};
    snapshots.push_back(std::move(snapshot));
  }
  return snapshots;
}

HRESULT EndpointRegistry::ReadProperty(const Endpoint& endpoint, bool fxStore, const PROPERTYKEY& key,
                                       PROPVARIANT& value) const {
  value = PROPVARIANT{};
  UniqueKey endpointKey;
  if (RegOpenKeyExW(m_root.hive, EndpointPath(endpoint).c_str(), 0, KEY_READ, endpointKey.Put()) != ERROR_SUCCESS) {
    return E_NOTFOUND;
  }
  UniqueKey store;
  if (RegOpenKeyExW(endpointKey.Get(), StoreName(fxStore), 0, KEY_READ, store.Put()) != ERROR_SUCCESS) return S_OK;
  const std::u16string name = PropertyValueName(key);
  StoredValue stored;
  if (!ReadValue(store.Get(), name.c_str(), stored)) return S_OK;
  if (!ToPropertyValue(stored, value)) {
    m_report(u"Simulator: the property " + std::u16string(FlowName(endpoint.flow)) + u"\\" + endpoint.keyName + u"\\" +
             StoreName(fxStore) + u"\\" + name + u" is ignored: registry type " + Number(stored.type) + u" with " +
             Number(stored.data.size()) + u" bytes holds no property value");
    return HRESULT_FROM_WIN32(ERROR_UNSUPPORTED_TYPE);
  }
  return S_OK;
}

HRESULT EndpointRegistry::WriteProperty(const Endpoint& endpoint, bool fxStore, const PROPERTYKEY& key,
                                        const PROPVARIANT& value) const {
  UniqueKey endpointKey;
  if (RegOpenKeyExW(m_root.hive, EndpointPath(endpoint).c_str(), 0, KEY_READ, endpointKey.Put()) != ERROR_SUCCESS) {
    return E_NOTFOUND;
  }
  const std::u16string name = PropertyValueName(key);
  UniqueKey store;
  if (value.vt == VT_EMPTY) {
    if (RegOpenKeyExW(endpointKey.Get(), StoreName(fxStore), 0, KEY_WRITE, store.Put()) != ERROR_SUCCESS) return S_OK;
    LONG status = RegDeleteValueW(store.Get(), name.c_str());
    return status == ERROR_SUCCESS || status == ERROR_FILE_NOT_FOUND ? S_OK : HRESULT_FROM_WIN32(status);
  }
  StoredValue stored;
  if (!ToStoredValue(value, stored)) return DISP_E_BADVARTYPE;
  if (LONG status = CreateKey(endpointKey.Get(), StoreName(fxStore), store); status != ERROR_SUCCESS) {
    return HRESULT_FROM_WIN32(status);
  }
  LONG status = RegSetValueExW(store.Get(), name.c_str(), 0, stored.type, stored.data.data(),
                               static_cast<DWORD>(stored.data.size()));
  return HRESULT_FROM_WIN32(status);
}

std::vector<PROPERTYKEY> EndpointRegistry::PropertyKeys(const Endpoint& endpoint, bool fxStore) const {
  std::vector<PROPERTYKEY> keys;
  UniqueKey store;
  if (RegOpenKeyExW(m_root.hive, StorePath(endpoint, fxStore).c_str(), 0, KEY_READ, store.Put()) != ERROR_SUCCESS) {
    return keys;
  }
  StoredProperties valid = ReadStore(endpoint, fxStore);
  for (auto& [name, stored] : ReadValues(store.Get())) {
    PROPERTYKEY key;
    if (valid.count(UpperName(name)) != 0 && ParsePropertyValueName(name, key)) keys.push_back(key);
  }
  return keys;
}

HRESULT EndpointRegistry::SetState(const Endpoint& endpoint, DWORD state) const {
  UniqueKey key;
  LONG status = RegOpenKeyExW(m_root.hive, EndpointPath(endpoint).c_str(), 0, KEY_WRITE, key.Put());
  if (status == ERROR_FILE_NOT_FOUND) return E_NOTFOUND;
  if (status == ERROR_SUCCESS) {
    status =
        RegSetValueExW(key.Get(), kDeviceState, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&state), sizeof(state));
  }
  return HRESULT_FROM_WIN32(status);
}

DWORD EndpointRegistry::BssMode(const Endpoint& endpoint) const {
  DWORD mode = 0;
  DWORD size = sizeof(mode);
  if (RegGetValueW(m_root.hive, EndpointPath(endpoint).c_str(), kBssMode, RRF_RT_REG_DWORD, nullptr, &mode, &size) !=
      ERROR_SUCCESS) {
    return 0;
  }
  return mode;
}

HRESULT EndpointRegistry::SetBssMode(const Endpoint& endpoint, DWORD mode) const {
  UniqueKey key;
  LONG status = RegOpenKeyExW(m_root.hive, EndpointPath(endpoint).c_str(), 0, KEY_WRITE, key.Put());
  if (status == ERROR_FILE_NOT_FOUND) return E_NOTFOUND;
  if (status == ERROR_SUCCESS) {
    status = RegSetValueExW(key.Get(), kBssMode, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&mode), sizeof(mode));
  }
  return HRESULT_FROM_WIN32(status);
}

HRESULT EndpointRegistry::Create(const EndpointDefinition& definition) const {
  UniqueKey key;
  LONG status = CreateKey(m_root.hive, FlowPath(definition.flow) + u"\\" + definition.keyName, key);
  if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
  status = RegSetValueExW(key.Get(), kDeviceState, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&definition.state),
                          sizeof(definition.state));
  for (bool fxStore : {false, true}) {
    const auto& properties = fxStore ? definition.textFxProperties : definition.textProperties;
    UniqueKey store;
    if (status == ERROR_SUCCESS) status = CreateKey(key.Get(), StoreName(fxStore), store);
    for (const auto& [propertyKey, text] : properties) {
      if (status != ERROR_SUCCESS) break;
      const std::u16string name = PropertyValueName(propertyKey);
      status = RegSetValueExW(store.Get(), name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                              static_cast<DWORD>((text.size() + 1) * sizeof(char16_t)));
    }
  }
  return HRESULT_FROM_WIN32(status);
}

bool EndpointRegistry::HasAnyEndpointKey() const {
  for (EDataFlow flow : {eRender, eCapture}) {
    UniqueKey flowKey;
    if (RegOpenKeyExW(m_root.hive, FlowPath(flow).c_str(), 0, KEY_READ, flowKey.Put()) != ERROR_SUCCESS) continue;
    if (!SubkeyNames(flowKey.Get()).empty()) return true;
  }
  return false;
}

}  // namespace Simulator
