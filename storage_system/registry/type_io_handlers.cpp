#include "storage_system/registry/type_io_handlers.h"

#include <cstring>
#include <string>

#include "foundation/log.h"
#include "storage_system/heap_allocator.h"

namespace StorageSystem::Registry {

namespace {

// The restriction flag of RegGetValueW and the report names of each native type.
template <Platform::DWORD N>
struct HandlerTraits;

template <>
struct HandlerTraits<Platform::REG_SZ> {
  static constexpr Platform::DWORD kFlag = Platform::RRF_RT_REG_SZ;
  static constexpr const char* kRead = "StorageSystem::Registry::ATypeIOHandlerBase<1,1>::Read";
  static constexpr const char* kWrite = "StorageSystem::Registry::ATypeIOHandlerBase<1,1>::Write";
  static constexpr const char* kReadRealloc = "StorageSystem::Registry::CVarSizeIOHandler<1>::ReadRealloc";
};
template <>
struct HandlerTraits<Platform::REG_BINARY> {
  static constexpr Platform::DWORD kFlag = Platform::RRF_RT_REG_BINARY;
  static constexpr const char* kRead = "StorageSystem::Registry::ATypeIOHandlerBase<3,1>::Read";
  static constexpr const char* kWrite = "StorageSystem::Registry::ATypeIOHandlerBase<3,1>::Write";
  static constexpr const char* kReadRealloc = "StorageSystem::Registry::CVarSizeIOHandler<3>::ReadRealloc";
};
template <>
struct HandlerTraits<Platform::REG_DWORD> {
  static constexpr Platform::DWORD kFlag = Platform::RRF_RT_REG_DWORD;
  static constexpr const char* kRead = "StorageSystem::Registry::ATypeIOHandlerBase<4,0>::Read";
  static constexpr const char* kWrite = "StorageSystem::Registry::ATypeIOHandlerBase<4,0>::Write";
  static constexpr const char* kReadRealloc = "StorageSystem::Registry::CFixedSizeIOHandler<4>::ReadRealloc";
};
template <>
struct HandlerTraits<Platform::REG_MULTI_SZ> {
  static constexpr Platform::DWORD kFlag = Platform::RRF_RT_REG_MULTI_SZ;
  static constexpr const char* kRead = "StorageSystem::Registry::ATypeIOHandlerBase<7,1>::Read";
  static constexpr const char* kWrite = "StorageSystem::Registry::ATypeIOHandlerBase<7,1>::Write";
  static constexpr const char* kReadRealloc = "StorageSystem::Registry::CVarSizeIOHandler<7>::ReadRealloc";
};
template <>
struct HandlerTraits<Platform::REG_QWORD> {
  static constexpr Platform::DWORD kFlag = Platform::RRF_RT_REG_QWORD;
  static constexpr const char* kRead = "StorageSystem::Registry::ATypeIOHandlerBase<11,0>::Read";
  static constexpr const char* kWrite = "StorageSystem::Registry::ATypeIOHandlerBase<11,0>::Write";
  static constexpr const char* kReadRealloc = "StorageSystem::Registry::CFixedSizeIOHandler<11>::ReadRealloc";
};

template <Platform::DWORD N>
constexpr std::uint32_t kFixedSize = N == Platform::REG_QWORD ? 8 : 4;

const char16_t* OrEmpty(const char16_t* text) { return text != nullptr ? text : u""; }

// The key and subkey through which a value is reached: its own key when it keeps one open.
struct KeyAndSubKey {
  Platform::HKEY key;
  const char16_t* subKey;
};

KeyAndSubKey Resolve(const ValueLocation& location) {
  if (location.ownKey != nullptr) return {location.ownKey, nullptr};
  return {location.rootKey, location.subKey};
}

std::uint32_t RoundedBlockSize(std::uint32_t length) {
  std::uint32_t rounded = 1;
  while (rounded < length && rounded != 0x80000000u) rounded <<= 1;
  return rounded < 64 ? 64 : rounded;
}

}  // namespace

Platform::LSTATUS RegSetKeyValueHelper(Platform::HKEY key, const char16_t* subKey, const char16_t* name,
                                       Platform::DWORD type, const void* data, std::uint32_t size) {
  Platform::LSTATUS status = Platform::RegSetKeyValueW(key, subKey, name, type, data, size);
  if (status != Platform::ERROR_CHILD_MUST_BE_VOLATILE) return status;

  // The parent key is volatile, so the missing subkey must be made volatile too.
  Platform::HKEY created = nullptr;
  status = Platform::RegCreateKeyExW(key, subKey, 0, nullptr, Platform::REG_OPTION_VOLATILE, Platform::kKeyReadWrite,
                                     nullptr, &created, nullptr);
  if (status < 0) return status;
  status = Platform::RegSetValueExW(created, name, 0, type, static_cast<const Platform::BYTE*>(data), size);
  Platform::RegCloseKey(created);
  return status;
}

template <Platform::DWORD N, int M>
ErrorCode ATypeIOHandlerBase<N, M>::Read(const ValueLocation& location, void* destination, std::uint32_t capacity) {
  using Traits = HandlerTraits<N>;
  const KeyAndSubKey target = Resolve(location);
  Platform::DWORD type = N;
  Platform::DWORD size = capacity;
  const Platform::LSTATUS status =
      Platform::RegGetValueW(target.key, target.subKey, location.valueName, Traits::kFlag, &type, destination, &size);
  if (status != Platform::ERROR_SUCCESS) {
    return RaiseSystemError(Traits::kRead, static_cast<Platform::DWORD>(status), "RegGetValueW");
  }
  if (type != N) {
    // An outside party changed the value's type behind this store's back.
    return RaiseError(Traits::kRead, ErrorThirdParty, u"Registry value '%s%s' was corrupted by a rude process or user",
                      OrEmpty(location.subKey), location.valueName);
  }
  return ErrorNone;
}

template <Platform::DWORD N, int M>
ErrorCode ATypeIOHandlerBase<N, M>::Write(const ValueLocation& location, const void* data, std::uint32_t size) {
  const Platform::LSTATUS status =
      location.ownKey != nullptr
          ? Platform::RegSetKeyValueW(location.ownKey, nullptr, location.valueName, N, data, size)
          : RegSetKeyValueHelper(location.rootKey, location.subKey, location.valueName, N, data, size);
  if (status != Platform::ERROR_SUCCESS) {
    return RaiseSystemError(HandlerTraits<N>::kWrite, static_cast<Platform::DWORD>(status), "RegSetKeyValueW");
  }
  return ErrorNone;
}

template <Platform::DWORD N>
ErrorCode CVarSizeIOHandler<N>::ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                            std::uint32_t* size) {
  using Traits = HandlerTraits<N>;
  const KeyAndSubKey target = Resolve(location);
  void* block = *buffer;
  std::uint32_t blockCapacity = block != nullptr ? *capacity : 0;
  void* newBlock = nullptr;
  Platform::DWORD length = 0;
  for (;;) {
    length = blockCapacity;
    Platform::DWORD type = N;
    const Platform::LSTATUS status =
        Platform::RegGetValueW(target.key, target.subKey, location.valueName, Traits::kFlag, &type, block, &length);
    if (block != nullptr) {
      if (status == Platform::ERROR_SUCCESS) break;
      if (status != Platform::ERROR_MORE_DATA) {
        location.allocator->Free(newBlock);
        LogWrite(LogLevelError, kLogTag, u"Error while reading Registry value '%s%s'", OrEmpty(location.subKey),
                 location.valueName);
        return RaiseSystemError(Traits::kReadRealloc, static_cast<Platform::DWORD>(status), "RegGetValueW");
      }
    }
    // Too small, or only the length was asked for: a larger block, and another round. A value
    // that grows in between simply takes one more.
    location.allocator->Free(newBlock);
    blockCapacity = RoundedBlockSize(length);
    newBlock = location.allocator->Alloc(blockCapacity);
    if (newBlock == nullptr) return RaiseError(Traits::kReadRealloc, ErrorOutOfMemory, nullptr);
    block = newBlock;
  }
  if (newBlock != nullptr) {
    location.allocator->Free(*buffer);
    *buffer = newBlock;
    *capacity = blockCapacity;
  }
  if (size != nullptr) *size = length;
  return ErrorNone;
}

template <Platform::DWORD N>
ErrorCode CFixedSizeIOHandler<N>::ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                              std::uint32_t* size) {
  constexpr std::uint32_t kSize = kFixedSize<N>;
  if (*buffer != nullptr && *capacity >= kSize) {
    if (ErrorCode code = this->Read(location, *buffer, *capacity); code != ErrorNone) return code;
    if (size != nullptr) *size = kSize;
    return ErrorNone;
  }
  unsigned char local[kSize] = {};
  if (ErrorCode code = this->Read(location, local, kSize); code != ErrorNone) return code;
  void* block = location.allocator->Alloc(kSize);
  if (block == nullptr) return RaiseError(HandlerTraits<N>::kReadRealloc, ErrorOutOfMemory, nullptr);
  location.allocator->Free(*buffer);
  std::memcpy(block, local, kSize);
  // The capacity stays as it was: a second call with the same variables allocates again.
  *buffer = block;
  if (size != nullptr) *size = kSize;
  return ErrorNone;
}

ErrorCode CMultiSZIOHandler::Read(const ValueLocation& location, void* destination, std::uint32_t capacity) {
  return RaiseError("StorageSystem::Registry::CMultiSZIOHandler::Read", ErrorNotSupported, nullptr);
}

// StringArrayFromMultiSZBuf: the raw value into a temporary, then one block of pointers and
// characters. The list ends at the first empty string.
ErrorCode CMultiSZIOHandler::ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                         std::uint32_t* size) {
  void* raw = nullptr;
  std::uint32_t rawCapacity = 0;
  std::uint32_t rawSize = 0;
  if (ErrorCode code = m_raw->ReadRealloc(location, &raw, &rawCapacity, &rawSize); code != ErrorNone) return code;

  const auto* text = static_cast<const char16_t*>(raw);
  const std::size_t available = rawSize / sizeof(char16_t);
  std::size_t entries = 1;
  std::size_t characters = 0;
  for (std::size_t at = 0; at < available && text[at] != 0;) {
    std::size_t length = 0;
    while (at + length < available && text[at + length] != 0) ++length;
    ++entries;
    characters += length + 1;
    at += length + 1;
  }

  // Pointers take four 16-bit units each.
  const std::size_t bytes = (characters + 4 * entries) * 2;
  void* block = location.allocator->Alloc(bytes);
  if (block == nullptr) {
    location.allocator->Free(raw);
    return RaiseError("StorageSystem::Registry::CMultiSZIOHandler::ReadRealloc", ErrorOutOfMemory, nullptr);
  }
  auto** pointers = static_cast<char16_t**>(block);
  auto* out = reinterpret_cast<char16_t*>(pointers + entries);
  std::size_t index = 0;
  for (std::size_t at = 0; at < available && text[at] != 0;) {
    pointers[index++] = out;
    while (at < available && text[at] != 0) *out++ = text[at++];
    *out++ = 0;
    ++at;
  }
  pointers[index] = nullptr;

  location.allocator->Free(raw);
  location.allocator->Free(*buffer);
  *buffer = block;
  *capacity = static_cast<std::uint32_t>(bytes);
  if (size != nullptr) *size = static_cast<std::uint32_t>(bytes);
  return ErrorNone;
}

// MultiSZBufFromStringArray: the strings joined with their terminators and a final one.
ErrorCode CMultiSZIOHandler::Write(const ValueLocation& location, const void* data, std::uint32_t size) {
  static const char16_t* const kNoStrings[] = {nullptr};
  const auto* strings = data != nullptr ? static_cast<const char16_t* const*>(data) : kNoStrings;
  std::size_t characters = 1;
  for (const char16_t* const* entry = strings; *entry != nullptr && **entry != 0; ++entry) {
    characters += std::char_traits<char16_t>::length(*entry) + 1;
  }
  IAllocator* allocator = GetProcessAllocator();
  auto* joined = static_cast<char16_t*>(allocator->Alloc(characters * sizeof(char16_t)));
  if (joined == nullptr) {
    return RaiseError("StorageSystem::Registry::CMultiSZIOHandler::Write", ErrorOutOfMemory, nullptr);
  }
  char16_t* out = joined;
  for (const char16_t* const* entry = strings; *entry != nullptr && **entry != 0; ++entry) {
    for (const char16_t* character = *entry; *character != 0; ++character) *out++ = *character;
    *out++ = 0;
  }
  *out = 0;
  const ErrorCode code = m_raw->Write(location, joined, static_cast<std::uint32_t>(characters * sizeof(char16_t)));
  allocator->Free(joined);
  return code;
}

template class ATypeIOHandlerBase<Platform::REG_SZ, 1>;
template class ATypeIOHandlerBase<Platform::REG_BINARY, 1>;
template class ATypeIOHandlerBase<Platform::REG_DWORD, 0>;
template class ATypeIOHandlerBase<Platform::REG_MULTI_SZ, 1>;
template class ATypeIOHandlerBase<Platform::REG_QWORD, 0>;
template class CVarSizeIOHandler<Platform::REG_SZ>;
template class CVarSizeIOHandler<Platform::REG_BINARY>;
template class CVarSizeIOHandler<Platform::REG_MULTI_SZ>;
template class CFixedSizeIOHandler<Platform::REG_DWORD>;
template class CFixedSizeIOHandler<Platform::REG_QWORD>;

}  // namespace StorageSystem::Registry
