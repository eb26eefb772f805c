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

// The probe's stand-ins for the platform's calls (see AddHooks). Each calls the platform's own
// function by its name: inside a hook the seam lets the call through.
Platform::LSTATUS OpenKeyHook(Platform::HKEY key, Platform::LPCWSTR subKey, Platform::DWORD options,
                              Platform::REGSAM desired, Platform::HKEY* result) {
  if (!IsKey8(key) || key8StandIn == nullptr) return Platform::RegOpenKeyExW(key, subKey, options, desired, result);
  const Platform::LSTATUS status = Platform::RegOpenKeyExW(key8StandIn, subKey, options, desired, result);
  if (status == Platform::ERROR_SUCCESS) {
    key8HandleClosed = false;
    key8Handle = *result;
  }
  return status;
}

Platform::LSTATUS CloseKeyHook(Platform::HKEY key) {
  const Platform::LSTATUS status = Platform::RegCloseKey(key);
  if (status == Platform::ERROR_SUCCESS && key != nullptr && key == key8Handle.load()) key8HandleClosed = true;
  return status;
}

Platform::LSTATUS SetKeyValueHook(Platform::HKEY key, Platform::LPCWSTR subKey, Platform::LPCWSTR valueName,
                                  Platform::DWORD type, const void* data, Platform::DWORD dataSize) {
  if (refuseNextLargeWrite && dataSize > largeWriteLimit) {
    refuseNextLargeWrite = false;
    refusedWriteSize = dataSize;
    return Platform::ERROR_NOACCESS;
  }
  return Platform::RegSetKeyValueW(key, subKey, valueName, type, data, dataSize);
}

}  // namespace

namespace Testing::RegistryProbe {

void AddHooks(Platform::TestSeam::Hooks& hooks) {
  hooks.regOpenKeyExW = OpenKeyHook;
  hooks.regCloseKey = CloseKeyHook;
  hooks.regSetKeyValueW = SetKeyValueHook;
}

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
