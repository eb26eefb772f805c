// Feeds arbitrary text to the security descriptor parser. A text it takes must give a valid
// self-relative descriptor of the size it reports, and the text written back from that descriptor
// must parse again to the same bytes.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "fuzz/support/fuzz_input.h"
#include "platform/security.h"

using namespace Platform;

namespace {

constexpr SECURITY_INFORMATION kEveryPart =
    OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION;

// The descriptor of `text`, or null; `size` receives its length.
PSECURITY_DESCRIPTOR Parse(const char16_t* text, DWORD revision, ULONG& size) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  size = 0;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(text, revision, &descriptor, &size)) return nullptr;
  return descriptor;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Fuzzing::SilenceDebugChannel();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider provider(data, size);
  const auto mode = provider.ConsumeIntegral<std::uint8_t>();
  const DWORD revision = (mode & 4) != 0 ? mode >> 3 : SDDL_REVISION_1;
  const std::u16string text = Fuzzing::TextFrom(provider.ConsumeRemainingBytesAsString(), (mode & 1) != 0);

  ULONG length = 0;
  PSECURITY_DESCRIPTOR descriptor = Parse(text.c_str(), revision, length);
  if (descriptor == nullptr) return 0;
  if (!IsValidSecurityDescriptor(descriptor) || GetSecurityDescriptorLength(descriptor) != length) __builtin_trap();

  LPWSTR written = nullptr;
  if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, kEveryPart, &written,
                                                            nullptr)) {
    __builtin_trap();
  }
  ULONG againLength = 0;
  PSECURITY_DESCRIPTOR again = Parse(written, SDDL_REVISION_1, againLength);
  if (again == nullptr || againLength != length || std::memcmp(again, descriptor, length) != 0) __builtin_trap();
  LocalFree(again);
  LocalFree(written);
  LocalFree(descriptor);
  return 0;
}
