#include "tests/storage_system/registry/registry_probe.h"

#include <atomic>
#include <cstdint>

namespace {

thread_local Platform::HKEY key8StandIn = nullptr;
std::atomic<Platform::HKEY> key8Handle{nullptr};
std::atomic<bool> key8HandleClosed{false};
thread_local bool refuseNextLargeWrite = false;
thread_local Platform::DWORD largeWriteLimit = 0;
std::atomic<Platform::DWORD> refusedWriteSize{0};

bool IsKey8(Platform::HKEY key) {
  return reinterpret_cast<std::intptr_t>(key) == static_cast<std::intptr_t>(static_cast<std::int32_t>(0x80000008u));
}

}  // namespace

// The linker sends the library's calls of these platform functions here (--wrap), and the
// __real_ names to the platform's own.
extern "C" {
Platform::LSTATUS __real__ZN8Platform13RegOpenKeyExWEPNS_6HKEY__EPKDsjjPS1_(Platform::HKEY key, Platform::LPCWSTR subKey,
                                                                        Platform::DWORD options,
                                                                        Platform::REGSAM desired,
                                                                        Platform::HKEY* result);
Platform::LSTATUS __real__ZN8Platform11RegCloseKeyEPNS_6HKEY__E(Platform::HKEY key);
Platform::LSTATUS __real__ZN8Platform15RegSetKeyValueWEPNS_6HKEY__EPKDsS3_jPKvj(Platform::HKEY key,
                                                                             Platform::LPCWSTR subKey,
                                                                             Platform::LPCWSTR valueName,
                                                                             Platform::DWORD type, const void* data,
                                                                             Platform::DWORD dataSize);

Platform::LSTATUS __wrap__ZN8Platform13RegOpenKeyExWEPNS_6HKEY__EPKDsjjPS1_(Platform::HKEY key, Platform::LPCWSTR subKey,
                                                                        Platform::DWORD options,
                                                                        Platform::REGSAM desired,
                                                                        Platform::HKEY* result) {
  if (!IsKey8(key) || key8StandIn == nullptr) {
    return __real__ZN8Platform13RegOpenKeyExWEPNS_6HKEY__EPKDsjjPS1_(key, subKey, options, desired, result);
  }
  const Platform::LSTATUS status =
      __real__ZN8Platform13RegOpenKeyExWEPNS_6HKEY__EPKDsjjPS1_(key8StandIn, subKey, options, desired, result);
  if (status == Platform::ERROR_SUCCESS) {
    key8HandleClosed = false;
    key8Handle = *result;
  }
  return status;
}

Platform::LSTATUS __wrap__ZN8Platform11RegCloseKeyEPNS_6HKEY__E(Platform::HKEY key) {
  const Platform::LSTATUS status = __real__ZN8Platform11RegCloseKeyEPNS_6HKEY__E(key);
  if (status == Platform::ERROR_SUCCESS && key != nullptr && key == key8Handle.load()) key8HandleClosed = true;
  return status;
}

Platform::LSTATUS __wrap__ZN8Platform15RegSetKeyValueWEPNS_6HKEY__EPKDsS3_jPKvj(Platform::HKEY key,
                                                                             Platform::LPCWSTR subKey,
                                                                             Platform::LPCWSTR valueName,
                                                                             Platform::DWORD type, const void* data,
                                                                             Platform::DWORD dataSize) {
  if (refuseNextLargeWrite && dataSize > largeWriteLimit) {
    refuseNextLargeWrite = false;
    refusedWriteSize = dataSize;
    return Platform::ERROR_NOACCESS;
  }
  return __real__ZN8Platform15RegSetKeyValueWEPNS_6HKEY__EPKDsS3_jPKvj(key, subKey, valueName, type, data, dataSize);
}
}

namespace Testing::RegistryProbe {

void OpenKey8As(Platform::HKEY standIn) { key8StandIn = standIn; }
Platform::HKEY Key8Handle() { return key8Handle.load(); }
bool Key8HandleClosed() { return key8HandleClosed.load(); }

void RefuseNextWriteAbove(Platform::DWORD limit) {
  refusedWriteSize = 0;
  largeWriteLimit = limit;
  refuseNextLargeWrite = true;
}

Platform::DWORD RefusedWriteSize() { return refusedWriteSize.load(); }

}  // namespace Testing::RegistryProbe
