// Work that must wait until every monitor of a scan has been told.
#pragma once

#include <list>
#include <utility>

#include "foundation/error.h"

namespace DataSystem {

class IItem;

// What a completion list calls when it ends.
class INotificationCompletionTarget {
public:
  virtual void OnNotificationComplete(IItem* item) = 0;

protected:
  ~INotificationCompletionTarget() = default;
};

// Pairs of a target and an item, in order of arrival. The list lives on the stack of the top of a
// scan; when it ends, after every monitor has heard of the scan's changes, it calls each target
// with its item from first to last. So an instance that vanished from storage stays alive, with its
// path and values, while monitors hear OnItemErase, and is deleted afterwards. Used under the tree's
// lock.
class CNotificationCompletionList {
public:
  CNotificationCompletionList() = default;
  virtual ~CNotificationCompletionList();
  CNotificationCompletionList(const CNotificationCompletionList&) = delete;
  CNotificationCompletionList& operator=(const CNotificationCompletionList&) = delete;

  // Appends the pair (both borrowed). ErrorStlException when the list cannot grow.
  [[nodiscard]] virtual ErrorCode Queue(INotificationCompletionTarget* target, IItem* item);

private:
  std::list<std::pair<INotificationCompletionTarget*, IItem*>> m_pending;
};

}  // namespace DataSystem
