// What a key holds, read through the registry: its values, one value by name, its sub-keys. Every
// function returns a registry status (ERROR_SUCCESS, or the registry's error), borrows the open
// key for the call only, and may be called from any thread.
#pragma once

#include <string>
#include <vector>

#include "platform/registry.h"
#include "tools/halcyra-reg/reg_value_text.h"

namespace RegTool {

// Every value of `key`, in enumeration order.
Platform::LSTATUS ReadValues(Platform::HKEY key, std::vector<Value>& values);

// The value of `key` that the registry finds by `name`, which it matches as it matches any value
// name (without regard to case). `value.name` is `name` as given. ERROR_FILE_NOT_FOUND when there is
// none.
Platform::LSTATUS ReadValue(Platform::HKEY key, const std::u16string& name, Value& value);

// The names of the sub-keys of `key`, in enumeration order.
Platform::LSTATUS ReadSubKeys(Platform::HKEY key, std::vector<std::u16string>& names);

}  // namespace RegTool
