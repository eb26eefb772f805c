#include "simulator/component_settings.h"

#include <string>

#include "platform/registry.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"

namespace Simulator {

using namespace Platform;

namespace {

constexpr const char16_t* kGen3Supported = u"Gen3Supported";

}  // namespace

ComponentSettings::ComponentSettings(AudioRoot root) : m_root(std::move(root)) {}

std::u16string ComponentSettings::RealtekPath() const { return m_root.path + u"\\Realtek"; }

std::u16string ComponentSettings::AudioProcessingPath() const { return m_root.path + u"\\AudioProcessing"; }

std::optional<DWORD> ComponentSettings::ReadNumber(const std::u16string& path, const std::u16string& name) const {
  DWORD value = 0;
  DWORD size = sizeof(value);
  if (RegGetValueW(m_root.hive, path.c_str(), name.c_str(), RRF_RT_REG_DWORD, nullptr, &value, &size) !=
      ERROR_SUCCESS) {
    return std::nullopt;
  }
  return value;
}

HRESULT ComponentSettings::WriteNumber(const std::u16string& path, const std::u16string& name, DWORD value) const {
  UniqueKey key;
  LSTATUS status = RegCreateKeyExW(m_root.hive, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_WRITE, nullptr,
                                   key.Put(), nullptr);
  if (status == ERROR_SUCCESS) {
    status =
        RegSetValueExW(key.Get(), name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
  }
  return HRESULT_FROM_WIN32(status);
}

bool ComponentSettings::Gen3Supported() const { return ReadNumber(RealtekPath(), kGen3Supported).value_or(1) != 0; }

HRESULT ComponentSettings::SetGen3Supported(bool supported) const {
  return WriteNumber(RealtekPath(), kGen3Supported, supported ? 1 : 0);
}

std::optional<DWORD> ComponentSettings::Parameter(DWORD number) const {
  return ReadNumber(AudioProcessingPath(), Utf8ToUtf16(std::to_string(number)));
}

HRESULT ComponentSettings::SetParameter(DWORD number, DWORD value) const {
  return WriteNumber(AudioProcessingPath(), Utf8ToUtf16(std::to_string(number)), value);
}

}  // namespace Simulator
