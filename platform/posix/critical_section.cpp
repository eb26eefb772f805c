// Critical sections on Linux: recursive pthread mutexes placed in the caller's storage.
#include "platform/critical_section.h"

#include <pthread.h>

#include <new>

namespace Platform {
namespace {
static_assert(sizeof(pthread_mutex_t) <= sizeof(CRITICAL_SECTION::storage));
static_assert(alignof(pthread_mutex_t) <= alignof(CRITICAL_SECTION));

pthread_mutex_t* MutexOf(CRITICAL_SECTION* section) {
  return std::launder(reinterpret_cast<pthread_mutex_t*>(section->storage));
}
}  // namespace

BOOL InitializeCriticalSectionAndSpinCount(CRITICAL_SECTION* section, DWORD spinCount) {
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  auto* mutex = new (section->storage) pthread_mutex_t;
  int result = pthread_mutex_init(mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return result == 0 ? TRUE : FALSE;
}

void DeleteCriticalSection(CRITICAL_SECTION* section) { pthread_mutex_destroy(MutexOf(section)); }

void EnterCriticalSection(CRITICAL_SECTION* section) { pthread_mutex_lock(MutexOf(section)); }

BOOL TryEnterCriticalSection(CRITICAL_SECTION* section) {
  return pthread_mutex_trylock(MutexOf(section)) == 0 ? TRUE : FALSE;
}

void LeaveCriticalSection(CRITICAL_SECTION* section) { pthread_mutex_unlock(MutexOf(section)); }

}  // namespace Platform
