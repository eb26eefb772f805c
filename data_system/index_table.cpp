#include "data_system/index_table.h"

namespace DataSystem {

std::map<Common::GUID, std::uint64_t, Common::GuidLess>& GetIndexTable() {
  static std::map<Common::GUID, std::uint64_t, Common::GuidLess> table;
  return table;
}

}  // namespace DataSystem
