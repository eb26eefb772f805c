#include "storage_system/registry/serializer_manager.h"

#include <algorithm>
#include <exception>

#include "storage_system/registry/default_serializer.h"
#include "storage_system/registry/guid_serializer.h"

namespace StorageSystem {

CSerializerManager& CSerializerManager::Get() {
  static CSerializerManager manager;
  return manager;
}

CSerializerManager::CSerializerManager() {
  static CDefaultSerializer defaultSerializer;
  static CGuidSerializer guidSerializer;
  Platform::InitializeCriticalSectionAndSpinCount(&m_section, 0);
  m_serializers = {&defaultSerializer, &guidSerializer};
}

CSerializerManager::~CSerializerManager() { Platform::DeleteCriticalSection(&m_section); }

ErrorCode CSerializerManager::RegisterSerializer(ISerializer* serializer) {
  static constexpr const char* kName = "StorageSystem::CSerializerManager::RegisterSerializer";
  Platform::CriticalSectionGuard scope(&m_section);
  if (std::find(m_serializers.begin(), m_serializers.end(), serializer) != m_serializers.end()) {
    return RaiseError(kName, ErrorAlreadyExists, nullptr);
  }
  try {
    m_serializers.push_back(serializer);
  } catch (const std::exception& e) {
    return RaiseStlException(kName, e.what());
  }
  return ErrorNone;
}

ISerializer* CSerializerManager::FindSerializer(const ITypeDescription* type, bool* exact) {
  const ITypeDescription* decayed = type->GetDecayedType();
  Platform::CriticalSectionGuard scope(&m_section);
  ISerializer* candidate = nullptr;
  bool candidateExact = false;
  for (auto serializer = m_serializers.rbegin(); serializer != m_serializers.rend(); ++serializer) {
    bool flag = false;
    if (!(*serializer)->CanSerialize(decayed, &flag)) continue;
    if (flag || candidate == nullptr) {
      candidate = *serializer;
      candidateExact = flag;
    }
    if (flag) break;
  }
  if (exact != nullptr) *exact = candidateExact;
  return candidate;
}

}  // namespace StorageSystem
