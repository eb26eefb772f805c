// The process-wide list of serializers.
#pragma once

#include <vector>

#include "foundation/error.h"
#include "platform/critical_section.h"
#include "storage_system/serializer.h"

namespace StorageSystem {

// Finds the serializer of a type. It starts with the default serializer, then the GUID serializer;
// the list only grows, and a later registration goes before an earlier one. A singleton built on
// first use; any thread, under its own critical section, which is held while serializers answer
// CanSerialize.
class CSerializerManager {
public:
  static CSerializerManager& Get();

  // Appends `serializer` (borrowed; it must live as long as the process). ErrorAlreadyExists when
  // it is in the list, ErrorStlException.
  [[nodiscard]] ErrorCode RegisterSerializer(ISerializer* serializer);
  // The serializer for the decayed `type`: the most recently registered one that is made for just
  // this type, else the most recently registered one that takes it, else null. `*exact` (when not
  // null) tells which of the two it is.
  ISerializer* FindSerializer(const ITypeDescription* type, bool* exact);

private:
  CSerializerManager();
  ~CSerializerManager();

  Platform::CRITICAL_SECTION m_section;
  std::vector<ISerializer*> m_serializers;
};

}  // namespace StorageSystem
