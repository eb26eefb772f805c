#include "platform/posix/registry/announcements.h"

#include <time.h>

#include <algorithm>
#include <cstring>

#include "platform/posix/registry/process_liveness.h"

namespace Platform::Posix {
namespace {

constexpr std::uint32_t kTooLong = 0xFFFFFFFFu;  // the slot's length of a path that did not fit
constexpr std::size_t kPathWords = (ChangeAnnouncements::kSlotSize - 16) / 8;
constexpr std::size_t kPathUnits = kPathWords * 4;

template <class T>
std::atomic_ref<T> Shared(T& value) {
  return std::atomic_ref<T>(value);
}

}  // namespace

struct ChangeAnnouncements::Header {
  std::uint32_t wake;       // futex word: changes with every announcement
  std::uint32_t sleepers;   // watchers inside Wait, so that writers skip the wake-up call without them
  std::uint32_t committer;  // process id of the writer between Stage and Announce, 0 when none
  std::uint32_t reserved;
  std::int64_t staged;  // the last number given to a record
  std::int64_t announced;
};

struct ChangeAnnouncements::Slot {
  std::uint64_t stamp;  // twice the record's number; odd while the slot is written
  std::uint32_t kind;
  std::uint32_t length;  // code units of the path, or kTooLong
  std::uint64_t path[kPathWords];
};

ChangeAnnouncements::Header& ChangeAnnouncements::header() const {
  static_assert(sizeof(Header) <= kHeaderSize);
  return *reinterpret_cast<Header*>(m_memory);
}

ChangeAnnouncements::Slot& ChangeAnnouncements::slot(std::int64_t sequence) const {
  static_assert(sizeof(Slot) == kSlotSize);
  std::size_t index = static_cast<std::uint64_t>(sequence) % kSlotCount;
  return *reinterpret_cast<Slot*>(m_memory + kHeaderSize + index * kSlotSize);
}

void ChangeAnnouncements::Stage(std::vector<ChangeRecord>& changes) {
  Header& shared = header();
  // Marked first: a watcher that finds this process gone announces whatever it staged.
  Shared(shared.committer).store(CurrentProcessId(), std::memory_order_seq_cst);
  std::int64_t sequence = Shared(shared.staged).load(std::memory_order_relaxed);
  for (ChangeRecord& change : changes) {
    change.sequence = ++sequence;
    Slot& target = slot(change.sequence);
    auto stamp = static_cast<std::uint64_t>(change.sequence) * 2;
    Shared(target.stamp).store(stamp + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    Shared(target.kind).store(static_cast<std::uint32_t>(change.kind), std::memory_order_relaxed);
    bool fits = change.path.size() <= kPathUnits;
    Shared(target.length)
        .store(fits ? static_cast<std::uint32_t>(change.path.size()) : kTooLong, std::memory_order_relaxed);
    for (std::size_t word = 0; fits && word * 4 < change.path.size(); ++word) {
      std::uint64_t packed = 0;
      std::size_t units = std::min<std::size_t>(4, change.path.size() - word * 4);
      std::memcpy(&packed, change.path.data() + word * 4, units * sizeof(char16_t));
      Shared(target.path[word]).store(packed, std::memory_order_relaxed);
    }
    Shared(target.stamp).store(stamp, std::memory_order_release);
  }
  Shared(shared.staged).store(sequence, std::memory_order_release);
}

void ChangeAnnouncements::Withdraw(const std::vector<ChangeRecord>& changes) {
  for (const ChangeRecord& change : changes) {
    Slot& target = slot(change.sequence);
    auto stamp = static_cast<std::uint64_t>(change.sequence) * 2;
    if (Shared(target.stamp).load(std::memory_order_relaxed) != stamp) continue;
    Shared(target.stamp).store(stamp + 1, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    Shared(target.kind).store(static_cast<std::uint32_t>(ChangeKind::None), std::memory_order_relaxed);
    Shared(target.stamp).store(stamp, std::memory_order_release);
  }
}

void ChangeAnnouncements::Announce(std::int64_t sequence) { Publish(sequence, CurrentProcessId()); }

void ChangeAnnouncements::Publish(std::int64_t sequence, std::uint32_t committer) {
  Header& shared = header();
  auto announced = Shared(shared.announced);
  std::int64_t current = announced.load(std::memory_order_relaxed);
  while (current < sequence && !announced.compare_exchange_weak(current, sequence, std::memory_order_seq_cst)) {
  }
  // Another writer may have become the committer meanwhile; its mark stays.
  Shared(shared.committer).compare_exchange_strong(committer, 0, std::memory_order_seq_cst);
  Wake();
}

bool ChangeAnnouncements::AnnounceForADeadCommitter() {
  Header& shared = header();
  std::uint32_t committer = Shared(shared.committer).load(std::memory_order_seq_cst);
  if (committer == 0) return false;
  // A next writer marks itself before it stages: the same committer after reading the staged
  // number means that number holds none of the next writer's records.
  std::int64_t staged = Shared(shared.staged).load(std::memory_order_seq_cst);
  if (Shared(shared.committer).load(std::memory_order_seq_cst) != committer || ProcessRuns(committer)) return false;
  Publish(staged, committer);
  return true;
}

std::int64_t ChangeAnnouncements::Announced() const {
  return Shared(header().announced).load(std::memory_order_acquire);
}

std::int64_t ChangeAnnouncements::Staged() const { return Shared(header().staged).load(std::memory_order_acquire); }

std::uint32_t ChangeAnnouncements::WakeCount() const { return Shared(header().wake).load(std::memory_order_seq_cst); }

void ChangeAnnouncements::WakeAll() { Wake(); }

void ChangeAnnouncements::Wake() {
  Header& shared = header();
  Shared(shared.wake).fetch_add(1, std::memory_order_seq_cst);
  // A watcher counts itself before it compares the wake count in the kernel: either it is
  // counted here, or it sees the new count and does not sleep.
  if (Shared(shared.sleepers).load(std::memory_order_seq_cst) != 0) FutexWakeAll(&shared.wake, true);
}

bool ChangeAnnouncements::Wait(std::uint32_t seen, const FutexWait* alongside, const timespec* deadline) {
  Header& shared = header();
  Shared(shared.sleepers).fetch_add(1, std::memory_order_seq_cst);
  bool woken = true;
  if (Shared(shared.wake).load(std::memory_order_seq_cst) == seen) {
    FutexWait waits[2] = {{&shared.wake, seen, true}};
    std::size_t count = 1;
    if (alongside != nullptr) waits[count++] = *alongside;
    woken = FutexSleepOnAny(std::span(waits, count), deadline) == FutexWaitResult::Woken;
  }
  Shared(shared.sleepers).fetch_sub(1, std::memory_order_seq_cst);
  return woken;
}

bool ChangeAnnouncements::ReadAfter(std::int64_t after, std::int64_t upTo, std::vector<ChangeRecord>& records) const {
  if (upTo - after > static_cast<std::int64_t>(kSlotCount)) return false;
  std::size_t kept = records.size();
  for (std::int64_t sequence = after + 1; sequence <= upTo; ++sequence) {
    Slot& source = slot(sequence);
    auto stamp = static_cast<std::uint64_t>(sequence) * 2;
    ChangeRecord record;
    record.sequence = sequence;
    bool whole = Shared(source.stamp).load(std::memory_order_acquire) == stamp;
    std::uint32_t length = whole ? Shared(source.length).load(std::memory_order_relaxed) : kTooLong;
    whole = length <= kPathUnits;
    if (whole) {
      record.kind = static_cast<ChangeKind>(Shared(source.kind).load(std::memory_order_relaxed));
      record.path.resize(length);
      for (std::size_t word = 0; word * 4 < length; ++word) {
        std::uint64_t packed = Shared(source.path[word]).load(std::memory_order_relaxed);
        std::size_t units = std::min<std::size_t>(4, length - word * 4);
        std::memcpy(record.path.data() + word * 4, &packed, units * sizeof(char16_t));
      }
      std::atomic_thread_fence(std::memory_order_acquire);
      whole = Shared(source.stamp).load(std::memory_order_relaxed) == stamp;
    }
    if (!whole) {
      records.resize(kept);
      return false;
    }
    if (record.kind != ChangeKind::None) records.push_back(std::move(record));
  }
  return true;
}

}  // namespace Platform::Posix
