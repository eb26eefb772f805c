#include "platform/posix/registry/key_table.h"

namespace Platform::Posix {
namespace {

// Handle values: the slot number (from 1) times four in the low 32 bits, as Windows handles are
// multiples of four and stay far below the predefined keys' 0x80000000; the generation above.
constexpr std::uint64_t kSlotLimit = 0x1FFFFFFF;

}  // namespace

bool KeyHandleTable::Decode(HKEY handle, std::size_t& index, std::uint32_t& generation) const {
  auto value = reinterpret_cast<std::uintptr_t>(handle);
  std::uint64_t low = value & 0xFFFFFFFFu;
  if ((low & 3) != 0 || low == 0) return false;
  index = static_cast<std::size_t>(low >> 2) - 1;
  generation = static_cast<std::uint32_t>(static_cast<std::uint64_t>(value) >> 32);
  return index < m_slots.size();
}

HKEY KeyHandleTable::Add(std::shared_ptr<OpenKey> key) {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::size_t index;
  if (!m_free.empty()) {
    index = m_free.back();
    m_free.pop_back();
  } else {
    if (m_slots.size() >= kSlotLimit) return nullptr;
    index = m_slots.size();
    m_slots.emplace_back();
  }
  Slot& slot = m_slots[index];
  slot.key = std::move(key);
  std::uint64_t value = (static_cast<std::uint64_t>(slot.generation) << 32) | ((index + 1) << 2);
  return reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(value));
}

std::shared_ptr<OpenKey> KeyHandleTable::Find(HKEY handle) const {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::size_t index;
  std::uint32_t generation;
  if (!Decode(handle, index, generation) || m_slots[index].generation != generation) return nullptr;
  return m_slots[index].key;
}

std::shared_ptr<OpenKey> KeyHandleTable::Remove(HKEY handle) {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::size_t index;
  std::uint32_t generation;
  if (!Decode(handle, index, generation) || m_slots[index].generation != generation || !m_slots[index].key) {
    return nullptr;
  }
  Slot& slot = m_slots[index];
  std::shared_ptr<OpenKey> key = std::move(slot.key);
  slot.key.reset();
  ++slot.generation;
  m_free.push_back(index);
  return key;
}

}  // namespace Platform::Posix
