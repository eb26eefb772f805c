#include "module_host/module_base.h"

#include <algorithm>
#include <exception>

#include "foundation/log.h"

namespace Daemon {

AModule::AModule(const char16_t* name, const char16_t* displayName) : m_name(name), m_displayName(displayName) {
  RegisterInterfaceBase(IID_IModule, static_cast<IModule*>(this));
}

void AModule::SetManager(IDaemonManager* manager) { m_manager = manager; }

const char16_t* AModule::GetName() { return m_name; }

const char16_t* AModule::GetDisplayName() { return m_displayName; }

std::int32_t AModule::GetState() {
  if (m_startCount > 0) return 2;
  return m_initCount > 0 ? 1 : 0;
}

std::int32_t AModule::Reserved() { return 0; }

void AModule::Trace(const char16_t* request, Common::IExtensible* caller) {
  const char16_t* callerName = u"unknown object";
  if (auto* module = static_cast<IModule*>(caller->GetInterface(&IID_IModule))) {
    callerName = module->GetName();
  } else if (caller->GetInterface(&IID_IDaemonManager) != nullptr) {
    callerName = u"daemon manager";
  }
  LogWrite(LogLevelTrace, kLogTag, u"%s: %s request on module %s (0x%p) from %s (0x%p)", GetProcessBaseName(), request,
           m_name, static_cast<void*>(this), callerName, static_cast<void*>(caller));
}

void AModule::NotifyStateChanged() {
  if (m_manager != nullptr) m_manager->OnModuleStateChanged();
}

ErrorCode AModule::Init(Common::IExtensible* caller) {
  Trace(u"Init", caller);
  if (m_initCount == 0) {
    m_flags |= kLoadingDependencies;
    ErrorCode result = LoadDependencies();
    if (result == ErrorNone) {
      result = InitDependencies();
      if (result != ErrorNone) {
        m_dependencies.clear();
        m_flags &= ~kDependenciesLoaded;
      }
    }
    m_flags &= ~kLoadingDependencies;
    if (result != ErrorNone) return result;
    // The count moves after the notice: the manager still sees the module uninitialized here.
    NotifyStateChanged();
  }
  ++m_initCount;
  return ErrorNone;
}

void AModule::Uninit(Common::IExtensible* caller) {
  Trace(u"Uninit", caller);
  if (m_initCount-- != 1) return;
  UninitDependencies();
  m_dependencies.clear();
  m_flags &= ~kDependenciesLoaded;
  NotifyStateChanged();
}

ErrorCode AModule::Start(Common::IExtensible* caller) {
  Trace(u"Start", caller);
  if (m_startCount != 0) {
    ++m_startCount;
    return ErrorNone;
  }
  for (std::size_t failed = 0; failed < m_dependencies.size(); ++failed) {
    ErrorCode result = m_dependencies[failed].module->Start(this);
    if (result == ErrorNone) continue;
    // DELIBERATE: a partial rollback. The dependency just before the failed one stays started: the
    // walk back begins two below.
    for (std::size_t i = failed; i >= 2; --i) m_dependencies[i - 2].module->Stop(this);
    return result;
  }
  ErrorCode result = OnStart();
  if (result != ErrorNone) {
    StopDependencies();
    return result;
  }
  ++m_startCount;
  NotifyStateChanged();
  return ErrorNone;
}

void AModule::Stop(Common::IExtensible* caller) {
  Trace(u"Stop", caller);
  if (m_startCount-- != 1) return;
  OnStop();
  StopDependencies();
  NotifyStateChanged();
}

void* AModule::GetExtension(std::int32_t code) {
  switch (code) {
    case 0:
    case 2:
    case 3:
    case 4:
      return nullptr;
    case 1:
      return GetEventListener();
    default:
      static_cast<void>(
          RaiseError("Daemon::AModule::GetExtension", ErrorInvalidParameter, u"Asking for unknown extension %d", code));
      return nullptr;
  }
}

void* AModule::ScalarDeletingDestructor(std::uint32_t flags) {
  return CExtensible<IModule>::ScalarDeletingDestructor(flags);
}

void AModule::EnumDependencies(DependencyEnumTarget&) {}

ErrorCode AModule::LoadDependencies() {
  if (m_flags & kDependenciesLoaded) return ErrorNone;
  try {
    DependencyEnumTarget target;
    EnumDependencies(target);
    std::vector<DependencyRecord>& records = target.Records();
    bool optionalMissing = false;
    for (DependencyRecord& record : records) {
      record.module = m_manager != nullptr ? m_manager->FindModule(&record.moduleId) : nullptr;
      if (record.module != nullptr) continue;
      char16_t guidText[Common::GUID::kTextCapacity];
      record.moduleId.ToString(guidText);
      if ((record.flags & kDependencyOptional) == 0) {
        return RaiseError("Daemon::AModule::LoadDependencies", ErrorNotFound,
                          u"Module %s requires dependent module %s, which was not found in the daemon. Update your "
                          u"daemon module list accordingly.",
                          m_name, guidText);
      }
      LogWrite(LogLevelInfo, kLogTag, u"Optional dependency %s not found for module %s", guidText, m_name);
      optionalMissing = true;
    }
    if (optionalMissing) {
      std::erase_if(records, [](const DependencyRecord& record) { return record.module == nullptr; });
    }
    m_dependencies = records;
    m_flags |= kDependenciesLoaded;
    return ErrorNone;
  } catch (const std::exception& e) {
    return RaiseStlException("Daemon::AModule::LoadDependencies", e.what());
  }
}

ErrorCode AModule::InitDependencies() {
  // The walk runs over the vector's slots with its end fixed before it starts. Erasing an optional
  // record shifts the later ones down and leaves the last slot as it was, so the records at the end
  // are visited once more; `slots` mirrors that storage, stale tail included.
  std::vector<DependencyRecord> slots = m_dependencies;
  const std::size_t end = slots.size();
  for (std::size_t position = 0; position < end;) {
    const DependencyRecord record = slots[position];
    ErrorCode result = record.module->Init(this);
    if (result == ErrorNone) {
      ++position;
      continue;
    }
    if (record.flags & kDependencyOptional) {
      if (position >= m_dependencies.size()) {
        ++position;  // a stale copy: nothing left to erase
        continue;
      }
      m_dependencies.erase(m_dependencies.begin() + static_cast<std::ptrdiff_t>(position));
      std::copy(slots.begin() + static_cast<std::ptrdiff_t>(position) + 1, slots.end(),
                slots.begin() + static_cast<std::ptrdiff_t>(position));
      continue;
    }
    for (std::size_t i = position; i >= 2; --i) slots[i - 2].module->Uninit(this);
    return result;
  }
  for (DependencyRecord& record : m_dependencies) {
    if (record.interfaceSlot == nullptr) continue;
    void* found = record.module->GetInterface(&record.interfaceId);
    if (found != nullptr) {
      *record.interfaceSlot = found;
      continue;
    }
    char16_t guidText[Common::GUID::kTextCapacity];
    record.interfaceId.ToString(guidText);
    if (record.flags & kDependencyOptional) {
      *record.interfaceSlot = nullptr;
      LogWrite(LogLevelInfo, kLogTag, u"Optional interface %s not found in daemon module %s for module %s.", guidText,
               record.module->GetName(), m_name);
      continue;
    }
    const char16_t* dependencyName = record.module->GetName();
    UninitDependencies();
    return RaiseError("Daemon::AModule::InitDependencies", ErrorNotFound,
                      u"Module %s requires interface %s, which was not found in daemon module %s.", m_name, guidText,
                      dependencyName);
  }
  return ErrorNone;
}

void AModule::UninitDependencies() {
  for (auto record = m_dependencies.rbegin(); record != m_dependencies.rend(); ++record) {
    if (record->interfaceSlot != nullptr) *record->interfaceSlot = nullptr;
    record->module->Uninit(this);
  }
}

void AModule::StopDependencies() {
  for (auto record = m_dependencies.rbegin(); record != m_dependencies.rend(); ++record) record->module->Stop(this);
}

}  // namespace Daemon
