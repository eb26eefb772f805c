#include "data_system/notification_completion_list.h"

#include <exception>

namespace DataSystem {

CNotificationCompletionList::~CNotificationCompletionList() {
  for (auto& [target, item] : m_pending) target->OnNotificationComplete(item);
}

ErrorCode CNotificationCompletionList::Queue(INotificationCompletionTarget* target, IItem* item) {
  try {
    m_pending.emplace_back(target, item);
  } catch (const std::exception& e) {
    return RaiseStlException("DataSystem::CNotificationCompletionList::Queue", e.what());
  }
  return ErrorNone;
}

}  // namespace DataSystem
