#include "storage_system/path_helper.h"

#include <exception>
#include <vector>

#include "platform/utf.h"
#include "storage_system/interface_ids.h"
#include "storage_system/storage_system.h"

namespace StorageSystem {

namespace {

// Searched in this order: with several in one path, the earliest of this list is named.
constexpr char16_t kForbiddenCharacters[] = u"\\:*?\"<>|";

std::size_t Length(const char16_t* text) { return text == nullptr ? 0 : Platform::StringLength(text); }

void ToNative(char16_t* text, char16_t separator) {
  if (text == nullptr || separator == kCanonicalSeparator) return;
  for (; *text != 0; ++text) {
    if (*text == kCanonicalSeparator) *text = separator;
  }
}

}  // namespace

ErrorCode CPathHelper::CheckPath(const char16_t* path) {
  if (path == nullptr) return ErrorNone;
  for (const char16_t* forbidden = kForbiddenCharacters; *forbidden != 0; ++forbidden) {
    for (const char16_t* character = path; *character != 0; ++character) {
      if (*character == *forbidden) {
        return RaiseError("StorageSystem::CPathHelper::CheckPath", ErrorInvalidParameter,
                          u"Path '%s' contains forbiden character '%c'", path, *forbidden);
      }
    }
  }
  return ErrorNone;
}

IProperties* CPathHelper::Properties() {
  IProperties* properties = m_properties.load(std::memory_order_acquire);
  if (properties == nullptr) {
    properties = m_owner->GetStorageSystem()->GetProperties();
    m_properties.store(properties, std::memory_order_release);
  }
  return properties;
}

char16_t* CPathHelper::Allocate(std::size_t characters) {
  return static_cast<char16_t*>(Properties()->GetAllocator()->Alloc(characters * sizeof(char16_t)));
}

void CPathHelper::FreePath(void* block) {
  if (block != nullptr) Properties()->GetAllocator()->Free(block);
}

ErrorCode CPathHelper::ToSplitPath(const char16_t* path, char16_t** block, char16_t** parent, char16_t** leaf) {
  const char16_t* text = path == nullptr ? u"" : path;
  if (*text == kCanonicalSeparator) ++text;
  const std::size_t length = Length(text);

  // The text, its terminator, and the terminator inserted behind the parent part.
  char16_t* copy = Allocate(length + 2);
  if (copy == nullptr) return RaiseError("StorageSystem::CPathHelper::ToSplitPath", ErrorOutOfMemory, nullptr);
  for (std::size_t i = 0; i <= length; ++i) copy[i] = text[i];
  *block = copy;

  // The last separator, or the one before it when the text ends in one.
  std::size_t end = length;
  if (end > 0 && copy[end - 1] == kCanonicalSeparator) --end;
  std::size_t split = end;
  while (split > 0 && copy[split - 1] != kCanonicalSeparator) --split;

  if (split == 0) {
    *parent = nullptr;
    *leaf = copy;
    return ErrorNone;
  }
  // "a/b/c" becomes "a/b/" NUL "c" NUL: the leaf moves one place up behind a new terminator.
  for (std::size_t i = length + 1; i > split; --i) copy[i] = copy[i - 1];
  copy[split] = 0;
  *parent = copy;
  *leaf = copy + split + 1;
  return ErrorNone;
}

ErrorCode CPathHelper::ToSplitPathNative(const char16_t* path, char16_t** block, char16_t** parent, char16_t** leaf) {
  if (ErrorCode code = CheckPath(path); code != ErrorNone) return code;
  if (ErrorCode code = ToSplitPath(path, block, parent, leaf); code != ErrorNone) return code;
  const char16_t separator = Properties()->GetSeparator();
  ToNative(*parent, separator);
  ToNative(*leaf, separator);
  return ErrorNone;
}

ErrorCode CPathHelper::AllocReplace(const char16_t* path, char16_t** block) {
  static constexpr const char* kName = "StorageSystem::CPathHelper::AllocReplace";
  if (path == nullptr) return RaiseError(kName, ErrorOutOfMemory, nullptr);
  const std::size_t length = Length(path);
  char16_t* copy = Allocate(length + 1);
  if (copy == nullptr) return RaiseError(kName, ErrorOutOfMemory, nullptr);
  for (std::size_t i = 0; i <= length; ++i) copy[i] = path[i];
  ToNative(copy, Properties()->GetSeparator());
  *block = copy;
  return ErrorNone;
}

ErrorCode CPathHelper::InitializeNameAndPath(const char16_t* path) {
  static constexpr const char* kName = "StorageSystem::CPathHelper::InitializeNameAndPath";
  const std::size_t length = Length(path);
  const bool trailingSeparator = length > 0 && path[length - 1] == kCanonicalSeparator;
  const bool isStore = m_owner->GetInterface(&IID_IStore) != nullptr;
  if (trailingSeparator && !isStore) return RaiseError(kName, ErrorInvalidParameter, u"Unexpected trailing separator");

  char16_t* withSeparator = nullptr;
  if (isStore && !trailingSeparator) {
    withSeparator = Allocate(length + 2);
    if (withSeparator == nullptr) return RaiseError(kName, ErrorOutOfMemory, nullptr);
    for (std::size_t i = 0; i < length; ++i) withSeparator[i] = path[i];
    withSeparator[length] = kCanonicalSeparator;
    withSeparator[length + 1] = 0;
  }

  char16_t* block = nullptr;
  char16_t* parent = nullptr;
  char16_t* leaf = nullptr;
  const ErrorCode code = ToSplitPath(withSeparator != nullptr ? withSeparator : path, &block, &parent, &leaf);
  FreePath(withSeparator);
  if (code != ErrorNone) return code;

  Reset();
  m_buffer = block;
  m_path = parent;
  m_name = leaf;
  return ErrorNone;
}

ErrorCode CPathHelper::QueryAllocAbsolutePath(char16_t** path) {
  static constexpr const char* kName = "StorageSystem::CPathHelper::QueryAllocAbsolutePath";
  try {
    std::vector<const char16_t*> pieces;
    std::size_t count = 1;
    for (IStorageItem* item = m_owner; item != nullptr; item = item->GetParent()) {
      for (const char16_t* piece : {item->GetPath(), item->GetName()}) {
        if (piece == nullptr) continue;
        pieces.push_back(piece);
        count += Length(piece);
      }
    }

    auto* block = static_cast<char16_t*>(Properties()->GetAllocator()->Alloc(count * 2));
    if (block == nullptr) return RaiseError(kName, ErrorNotImplemented, nullptr);
    char16_t* out = block;
    for (auto piece = pieces.rbegin(); piece != pieces.rend(); ++piece) {
      for (const char16_t* character = *piece; *character != 0; ++character) *out++ = *character;
    }
    *out = 0;
    *path = block;
    return ErrorNone;
  } catch (const std::exception& e) {
    return RaiseStlException(kName, e.what());
  }
}

void CPathHelper::Reset() {
  if (m_buffer != nullptr) FreePath(m_buffer);
  m_buffer = nullptr;
  m_path = nullptr;
  m_name = nullptr;
}

}  // namespace StorageSystem
