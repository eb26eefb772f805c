// The test stand-in for "ProductInfo.dll". Each export answers what an environment variable of the
// process says, read at each call, so that a test can change the answers between calls:
//
//   HALCYRA_TEST_COMPANY, HALCYRA_TEST_PRODUCT, HALCYRA_TEST_VERSION_MAJOR, HALCYRA_TEST_VERSION_MINOR
//       the texts of the four text exports; unset: "TestCompany", "TestProduct", "7", "3"; the
//       text "<null>" gives a null pointer.
//   HALCYRA_TEST_INFO_RESULT  the HRESULT of GetQuillonProductInfo in hexadecimal; unset: 0.
//   HALCYRA_TEST_INFO_TEXT    the string it gives; unset: "TestProductName".
//   HALCYRA_TEST_INFO_TYPE    "number" makes it give a VT_UI4 instead of the string.
//
// GetQuillonProductInfo also writes what it was asked into HALCYRA_TEST_INFO_ASKED as
// "{fmtid},pid,flags", and every export counts its calls in HALCYRA_TEST_CALLS.
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/com.h"
#include "platform/environment.h"
#include "platform/export.h"
#include "platform/prop_variant.h"
#include "platform/utf.h"

using namespace Platform;

namespace {

// Decimal text without the standard library's conversion, whose shared tables would keep the
// library from ever being unloaded on Linux, which one test relies on.
std::string Decimal(unsigned long value) {
  std::string text;
  do {
    text.insert(text.begin(), static_cast<char>('0' + value % 10));
    value /= 10;
  } while (value != 0);
  return text;
}

std::u16string Variable(const char16_t* name, const char16_t* otherwise, bool& isSet) {
  char16_t buffer[1024];
  const DWORD length = GetEnvironmentVariableW(name, buffer, 1024);
  isSet = length > 0 && length < 1024;
  return isSet ? std::u16string(buffer, length) : std::u16string(otherwise);
}

void CountCall() {
  bool isSet = false;
  const std::u16string calls = Variable(u"HALCYRA_TEST_CALLS", u"0", isSet);
  const std::string next = Decimal(std::strtoul(Utf16ToUtf8(calls).c_str(), nullptr, 10) + 1);
  SetEnvironmentVariableW(u"HALCYRA_TEST_CALLS", Utf8ToUtf16(next).c_str());
}

// The answer of a text export; kept in `storage`, which lives as long as the library.
const char16_t* Text(std::u16string& storage, const char16_t* name, const char16_t* otherwise) {
  CountCall();
  bool isSet = false;
  storage = Variable(name, otherwise, isSet);
  return storage == u"<null>" ? nullptr : storage.c_str();
}

std::string Hex(unsigned long value, int digits) {
  std::string text;
  for (int i = digits - 1; i >= 0; --i) text += "0123456789ABCDEF"[(value >> (4 * i)) & 0xF];
  return text;
}

}  // namespace

extern "C" {

HALCYRA_EXPORT const char16_t* GetCompanyNameDll() {
  static std::u16string storage;
  return Text(storage, u"HALCYRA_TEST_COMPANY", u"TestCompany");
}

HALCYRA_EXPORT const char16_t* GetProductNameDll() {
  static std::u16string storage;
  return Text(storage, u"HALCYRA_TEST_PRODUCT", u"TestProduct");
}

HALCYRA_EXPORT const char16_t* GetProductVersionMajorDll() {
  static std::u16string storage;
  return Text(storage, u"HALCYRA_TEST_VERSION_MAJOR", u"7");
}

HALCYRA_EXPORT const char16_t* GetProductVersionMinorDll() {
  static std::u16string storage;
  return Text(storage, u"HALCYRA_TEST_VERSION_MINOR", u"3");
}

HALCYRA_EXPORT HRESULT GetQuillonProductInfo(const PROPERTYKEY* key, DWORD flags, PROPVARIANT* value) {
  CountCall();
  const GUID& id = key->fmtid;
  std::string asked = "{" + Hex(id.Data1, 8) + "-" + Hex(id.Data2, 4) + "-" + Hex(id.Data3, 4) + "-";
  for (int i = 0; i < 8; ++i) asked += Hex(id.Data4[i], 2) + (i == 1 ? "-" : "");
  asked += "}," + Decimal(key->pid) + "," + Decimal(flags);
  SetEnvironmentVariableW(u"HALCYRA_TEST_INFO_ASKED", Utf8ToUtf16(asked).c_str());

  bool isSet = false;
  const std::u16string result = Variable(u"HALCYRA_TEST_INFO_RESULT", u"0", isSet);
  const auto answer = static_cast<HRESULT>(std::strtoul(Utf16ToUtf8(result).c_str(), nullptr, 16));
  if (Variable(u"HALCYRA_TEST_INFO_TYPE", u"string", isSet) == u"number") {
    value->vt = VT_UI4;
    value->ulVal = 42;
    return answer;
  }
  const std::u16string text = Variable(u"HALCYRA_TEST_INFO_TEXT", u"TestProductName", isSet);
  auto* copy = static_cast<char16_t*>(CoTaskMemAlloc((text.size() + 1) * sizeof(char16_t)));
  if (copy == nullptr) return E_OUTOFMEMORY;
  std::memcpy(copy, text.c_str(), (text.size() + 1) * sizeof(char16_t));
  value->vt = VT_LPWSTR;
  value->pwszVal = copy;
  return answer;
}

}  // extern "C"
