#include "tools/halcyrad/module_library.h"

#include <vector>

#include "module_host/module_table.h"
#include "platform/module.h"
#include "platform/utf.h"

namespace {
template <class Function>
Function Resolve(Platform::HMODULE library, const char* name) {
  return reinterpret_cast<Function>(Platform::GetProcAddress(library, name));
}
}  // namespace

bool ModuleLibrary::Load(const std::u16string& path, std::string& error) {
  m_library = Platform::LoadLibraryW(path.c_str());
  if (m_library == nullptr) {
    error = "cannot load the module library " + Platform::Utf16ToUtf8(path);
    return false;
  }
  m_createModule = Resolve<CreateModuleFunction>(m_library, "CreateModule");
  m_releaseModule = Resolve<ReleaseModuleFunction>(m_library, "ReleaseModule");
  m_getModuleNames = Resolve<GetModuleNamesFunction>(m_library, "GetModuleNames");
  m_getClsid = Resolve<GetCLSIDFromModuleNameFunction>(m_library, "GetCLSIDFromModuleName");
  m_configureHost = Resolve<HalcyraConfigureHostFunction>(m_library, "HalcyraConfigureHost");
  if (!m_createModule || !m_releaseModule || !m_getModuleNames || !m_getClsid) {
    error = Platform::Utf16ToUtf8(path) + " is not a daemon module library: an export is missing";
    return false;
  }
  return true;
}

bool ModuleLibrary::Configure(const HalcyraHostSettings& settings) {
  return m_configureHost == nullptr || m_configureHost(&settings) == ErrorNone;
}

Daemon::IModule* ModuleLibrary::OpenFirstModule(Common::GUID& clsid, std::string& error) {
  std::vector<char16_t> names(DynamicModuleHost::kModuleNameSlot, 0);
  if (m_getModuleNames(names.data(), 1) != ErrorNone || names[0] == 0) {
    error = "the module library has no module";
    return nullptr;
  }
  if (m_getClsid(&clsid, names.data()) != ErrorNone) {
    error = "the module library gives no CLSID for " + Platform::Utf16ToUtf8(names.data());
    return nullptr;
  }
  m_handle = m_createModule(names.data());
  Daemon::IModule* module = m_handle != nullptr ? m_handle->GetModule() : nullptr;
  if (module == nullptr) error = "the module library created no module";
  return module;
}

void ModuleLibrary::Release(Daemon::IModule*) {
  if (m_handle != nullptr) m_releaseModule(m_handle);
  m_handle = nullptr;
}
