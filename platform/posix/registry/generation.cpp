#include "platform/posix/registry/generation.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Platform::Posix {
int HiveGenerations::OpenFile(const std::string& path, bool create) {
  int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC | (create ? O_CREAT : 0), 0644);
  if (fd < 0) return -1;
  struct stat status {};
  // Growing is the only change made to the size, so that two processes that create the file at
  // the same time never wipe counters the other one already advanced.
  if (::fstat(fd, &status) != 0 ||
      (status.st_size < static_cast<off_t>(kFileSize) && ::ftruncate(fd, kFileSize) != 0)) {
    ::close(fd);
    return -1;
  }
  return fd;
}

std::unique_ptr<HiveGenerations> HiveGenerations::Open(const std::string& path, bool create) {
  int fd = OpenFile(path, create);
  if (fd < 0) return nullptr;
  void* mapping = ::mmap(nullptr, kFileSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (mapping == MAP_FAILED) {
    ::close(fd);
    return nullptr;
  }
  return std::unique_ptr<HiveGenerations>(new HiveGenerations(fd, mapping));
}

HiveGenerations::HiveGenerations(int fd, void* mapping)
    : m_fd(fd), m_mapping(mapping), m_counters(static_cast<std::uint64_t*>(mapping)),
      m_announcements(static_cast<unsigned char*>(mapping) + kAnnouncementsOffset) {}

HiveGenerations::~HiveGenerations() {
  ::munmap(m_mapping, kFileSize);
  ::close(m_fd);
}

void HiveGenerations::BeginChange(Counter counter) {
  std::atomic_ref<std::uint64_t> value(m_counters[static_cast<int>(counter)]);
  std::uint64_t now = value.load(std::memory_order_relaxed);
  // An odd count left by a writer that died stays odd, but must still move on.
  value.store((now | 1) + (IsStable(now) ? 0 : 2), std::memory_order_seq_cst);
}

std::uint64_t HiveGenerations::EndChange(Counter counter) {
  std::atomic_ref<std::uint64_t> value(m_counters[static_cast<int>(counter)]);
  std::uint64_t now = value.load(std::memory_order_relaxed);
  std::uint64_t next = IsStable(now) ? now + 2 : now + 1;
  value.store(next, std::memory_order_seq_cst);
  return next;
}

}  // namespace Platform::Posix
