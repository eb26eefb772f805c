// EndpointRegistry: the simulated endpoints, kept in the registry where Windows keeps its own.
//
// Below a root key, "Render" and "Capture" hold one key per endpoint, named by a braced GUID, with
// its state in the REG_DWORD "DeviceState", the mode that the Realtek object keeps for it in the
// REG_DWORD "RtkBssMode" (0 when missing), and two property stores as subkeys: "Properties" (the
// endpoint store) and "FxProperties" (the effects store). A property is a value named
// "{fmtid},pid"; REG_DWORD, REG_QWORD, REG_SZ, REG_MULTI_SZ and REG_BINARY hold VT_UI4, VT_UI8,
// VT_LPWSTR, VT_VECTOR | VT_LPWSTR and VT_BLOB values. The endpoint id is Core Audio's:
// "{0.0.0.00000000}.<key name>" for render endpoints, "{0.0.1.00000000}.<key name>" for capture.
//
// Any process may add or change endpoints there. Data that does not have this shape is refused
// with a message naming the key and the fault, and the rest carries on: an endpoint key with a bad
// name or state is left out, a property value with a bad name or type is ignored. Every operation
// reads the registry afresh; any thread.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/core_audio.h"
#include "platform/registry.h"

namespace Simulator {

// Where the simulated endpoints live: a predefined key and a path below it.
struct AudioRoot {
  Platform::HKEY hive;
  std::u16string path;
};

// Core Audio's own place: the machine hive's MMDevices\Audio.
AudioRoot DefaultAudioRoot();

// Reads a root written as on reg.exe's command line: "HKLM\path" or "HKCU\path" (or the long
// names HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER), case ignored. False for any other text.
bool ParseAudioRoot(const std::u16string& text, AudioRoot& root);

struct Endpoint {
  std::u16string id;
  Platform::EDataFlow flow;
  std::u16string keyName;
  Platform::DWORD state;
};

// One stored property value: the registry type and the bytes.
struct StoredValue {
  Platform::DWORD type;
  std::vector<Platform::BYTE> data;
  bool operator==(const StoredValue& other) const = default;
};

// The properties of one store by value name (upper case), as stored.
using StoredProperties = std::map<std::u16string, StoredValue>;

// What an endpoint is to the notification thread: its state and both stores.
struct EndpointSnapshot {
  Endpoint endpoint;
  StoredProperties properties;
  StoredProperties fxProperties;
};

// Describes an endpoint to create: `properties` and `fxProperties` are written as values.
struct EndpointDefinition {
  Platform::EDataFlow flow;
  std::u16string keyName;
  Platform::DWORD state;
  std::vector<std::pair<Platform::PROPERTYKEY, std::u16string>> textProperties;
  std::vector<std::pair<Platform::PROPERTYKEY, std::u16string>> textFxProperties;
};

class EndpointRegistry {
public:
  using MessageSink = std::function<void(const std::u16string& message)>;

  // `report` receives each refusal; it must be thread-safe.
  EndpointRegistry(AudioRoot root, MessageSink report);

  const AudioRoot& Root() const { return m_root; }

  // The endpoints of `flow` (eAll: render, then capture) whose state is in `stateMask`, in the
  // registry's order.
  std::vector<Endpoint> List(Platform::EDataFlow flow, Platform::DWORD stateMask) const;
  // The endpoint of an id; false when there is none or it is refused.
  bool Find(const char16_t* id, Endpoint& endpoint) const;
  // Every endpoint with both stores.
  std::vector<EndpointSnapshot> Snapshot() const;

  // Reads a property into `value` (VT_EMPTY when missing). Returns S_OK, E_NOTFOUND for a missing
  // endpoint, HRESULT_FROM_WIN32(ERROR_UNSUPPORTED_TYPE) for a value of a type with no property
  // type, or E_OUTOFMEMORY.
  Platform::HRESULT ReadProperty(const Endpoint& endpoint, bool fxStore, const Platform::PROPERTYKEY& key,
                                 Platform::PROPVARIANT& value) const;
  // Writes a property; VT_EMPTY removes it. Returns S_OK, E_NOTFOUND, DISP_E_BADVARTYPE for a value
  // of another type than the five, or HRESULT_FROM_WIN32 of a registry failure.
  Platform::HRESULT WriteProperty(const Endpoint& endpoint, bool fxStore, const Platform::PROPERTYKEY& key,
                                  const Platform::PROPVARIANT& value) const;
  // The keys of the properties of one store, in the registry's order, bad ones left out.
  std::vector<Platform::PROPERTYKEY> PropertyKeys(const Endpoint& endpoint, bool fxStore) const;
  // Writes the endpoint's DeviceState.
  Platform::HRESULT SetState(const Endpoint& endpoint, Platform::DWORD state) const;

  // The Realtek BSS mode of the endpoint, the REG_DWORD "RtkBssMode" of its key; 0 when missing.
  Platform::DWORD BssMode(const Endpoint& endpoint) const;
  // Writes it. Returns S_OK, E_NOTFOUND for a missing endpoint, or HRESULT_FROM_WIN32 of the
  // registry's failure.
  Platform::HRESULT SetBssMode(const Endpoint& endpoint, Platform::DWORD mode) const;

  // Creates (or overwrites) an endpoint from `definition`. Returns S_OK or HRESULT_FROM_WIN32 of the
  // registry's failure.
  Platform::HRESULT Create(const EndpointDefinition& definition) const;
  // Whether the root holds any endpoint key at all, refused ones included.
  bool HasAnyEndpointKey() const;

  // Core Audio's id of an endpoint key.
  static std::u16string EndpointId(Platform::EDataFlow flow, const std::u16string& keyName);

private:
  std::u16string FlowPath(Platform::EDataFlow flow) const;
  std::u16string EndpointPath(const Endpoint& endpoint) const;
  std::u16string StorePath(const Endpoint& endpoint, bool fxStore) const;
  bool ReadEndpoint(Platform::HKEY flowKey, Platform::EDataFlow flow, const std::u16string& keyName,
                    Endpoint& endpoint) const;
  StoredProperties ReadStore(const Endpoint& endpoint, bool fxStore) const;

  AudioRoot m_root;
  MessageSink m_report;
};

// The property value that a stored value holds; false (and VT_EMPTY) for a type with no property
// type. Strings are task memory owned by `value`.
bool ToPropertyValue(const StoredValue& stored, Platform::PROPVARIANT& value);
// The stored form of a property value; false for a type outside the five.
bool ToStoredValue(const Platform::PROPVARIANT& value, StoredValue& stored);

}  // namespace Simulator
