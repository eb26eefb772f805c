#include "tools/halcyra-reg/reg_key_contents.h"

namespace RegTool {

using namespace Platform;

LSTATUS ReadValues(HKEY key, std::vector<Value>& values) {
  values.clear();
  std::vector<char16_t> name(MAX_VALUE_NAME_LENGTH + 1);
  std::vector<BYTE> data(4096);
  for (DWORD index = 0;;) {
    DWORD nameLength = static_cast<DWORD>(name.size());
    DWORD size = static_cast<DWORD>(data.size());
    DWORD type = 0;
    LSTATUS status = RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, data.data(), &size);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status == ERROR_MORE_DATA && size > data.size()) {
      data.resize(size);
      continue;
    }
    if (status != ERROR_SUCCESS) return status;
    values.push_back(
        Value{std::u16string(name.data(), nameLength), type, std::vector<BYTE>(data.begin(), data.begin() + size)});
    ++index;
  }
}

LSTATUS ReadValue(HKEY key, const std::u16string& name, Value& value) {
  value.name = name;
  value.data.resize(256);
  for (;;) {
    DWORD size = static_cast<DWORD>(value.data.size());
    LSTATUS status = RegQueryValueExW(key, name.c_str(), nullptr, &value.type, value.data.data(), &size);
    if (status == ERROR_MORE_DATA && size > value.data.size()) {
      value.data.resize(size);
      continue;
    }
    value.data.resize(status == ERROR_SUCCESS ? size : 0);
    return status;
  }
}

LSTATUS ReadSubKeys(HKEY key, std::vector<std::u16string>& names) {
  names.clear();
  for (DWORD index = 0;; ++index) {
    char16_t name[MAX_KEY_NAME_LENGTH + 1];
    DWORD length = MAX_KEY_NAME_LENGTH + 1;
    LSTATUS status = RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (status == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (status != ERROR_SUCCESS) return status;
    names.emplace_back(name, length);
  }
}

}  // namespace RegTool
