#include "foundation/security_attributes.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/environment.h"
#include "platform/security.h"
#include "platform/utf.h"
#include "tests/support/debug_channel_capture.h"
#include "tests/support/platform_kind.h"

namespace {

using namespace Platform;

// The access list of a descriptor as the platform writes it.
std::string DaclText(PSECURITY_DESCRIPTOR descriptor) {
  LPWSTR text = nullptr;
  if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, DACL_SECURITY_INFORMATION,
                                                            &text, nullptr)) {
    return "(not convertible)";
  }
  std::string result = Utf16ToUtf8(text);
  LocalFree(text);
  return result;
}

std::string DaclText(const Common::CSecurityAttributes& attributes) {
  return DaclText(attributes.lpSecurityDescriptor);
}

// The platform's writing of a descriptor text, which orders the rights its own way: two texts
// give the same writing when they describe the same access list.
std::string Written(const char* text) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(Utf8ToUtf16(text).c_str(), SDDL_REVISION_1, &descriptor,
                                                            nullptr)) {
    return "(not parsed)";
  }
  std::string result = DaclText(descriptor);
  LocalFree(descriptor);
  return result;
}

// Makes the system answer as another version for the life of the object (Linux only).
class ReportedWindowsVersion {
public:
  explicit ReportedWindowsVersion(const char16_t* version) {
    SetEnvironmentVariableW(u"HALCYRA_WINDOWS_VERSION", version);
  }
  ~ReportedWindowsVersion() { SetEnvironmentVariableW(u"HALCYRA_WINDOWS_VERSION", nullptr); }
};

TEST(CSecurityAttributesTest, StartsAsThePlatformsStructureAndPointsAtItself) {
  Common::CSecurityAttributes attributes(1, 1, 1, 1, 0);
  EXPECT_EQ(attributes.nLength, 24u);
  EXPECT_EQ(attributes.bInheritHandle, 0);
  EXPECT_EQ(attributes.attributes, static_cast<SECURITY_ATTRIBUTES*>(&attributes));
  EXPECT_TRUE(IsValidSecurityDescriptor(attributes.lpSecurityDescriptor));
}

TEST(CSecurityAttributesTest, ReadWriteUsersAndAllRightsAdministrators) {
  Common::CSecurityAttributes attributes(3, 8, 0, 0, 0);
  ASSERT_NE(attributes.attributes, nullptr);
  EXPECT_EQ(DaclText(attributes), Written("D:(A;OICI;GRGW;;;IU)(A;OICI;GA;;;BA)"));
}

TEST(CSecurityAttributesTest, NoRightsAtAllGiveAnEmptyListThatAdmitsNobody) {
  Common::CSecurityAttributes attributes(0, 0, 0, 0, 0);
  ASSERT_NE(attributes.attributes, nullptr);
  EXPECT_EQ(DaclText(attributes), Written("D:"));
}

TEST(CSecurityAttributesTest, EachGroupHasItsTrusteeInOrder) {
  Common::CSecurityAttributes attributes(1, 2, 1, 2, 0);
  EXPECT_EQ(DaclText(attributes), Written("D:(A;OICI;GR;;;IU)(A;OICI;GW;;;BA)(A;OICI;GR;;;LS)(A;OICI;GW;;;SY)"));
}

TEST(CSecurityAttributesTest, TheBitOfEightGivesAllRightsWhateverElseIsSet) {
  Common::CSecurityAttributes attributes(9, 11, 0, 0, 0);
  EXPECT_EQ(DaclText(attributes), Written("D:(A;OICI;GA;;;IU)(A;OICI;GA;;;BA)"));
}

TEST(CSecurityAttributesTest, ProductStorageDefaultGivesApplicationPackagesTheirEntry) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "the system's own version decides whether packages exist";
  ReportedWindowsVersion windows10(u"10.0");
  Common::CSecurityAttributes attributes(8, 8, 8, 0, 8);
  ASSERT_NE(attributes.attributes, nullptr);
  EXPECT_EQ(DaclText(attributes), Written("D:(A;OICI;GA;;;IU)(A;OICI;GA;;;BA)(A;OICI;GA;;;LS)(A;OICI;GA;;;AC)"));
}

TEST(CSecurityAttributesTest, OnTheSixOneLineTheApplicationPackagesEntryIsLeftOut) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "the version is the system's own on Windows";
  ReportedWindowsVersion windows7(u"6.1");
  Common::CSecurityAttributes attributes(8, 8, 8, 0, 8);
  ASSERT_NE(attributes.attributes, nullptr);
  EXPECT_EQ(DaclText(attributes), Written("D:(A;OICI;GA;;;IU)(A;OICI;GA;;;BA)(A;OICI;GA;;;LS)"));
}

TEST(CSecurityAttributesTest, OnTheSixTwoLineTheApplicationPackagesEntryStays) {
  if (Testing::kRunningOnWindows) GTEST_SKIP() << "the version is the system's own on Windows";
  ReportedWindowsVersion windows8(u"6.2");
  Common::CSecurityAttributes attributes(0, 0, 0, 0, 1);
  EXPECT_EQ(DaclText(attributes), Written("D:(A;OICI;GR;;;AC)"));
}

TEST(CSecurityAttributesTest, OtherRightsValuesMakeAnEntryWithoutRightsWhichTheConversionRefuses) {
  Testing::DebugChannelCapture capture;
  Common::CSecurityAttributes attributes(4, 0, 0, 0, 0);
  // "(A;OICI;;;;IU)" grants nothing; the platform's parser may accept or refuse it. Either way the
  // object stays usable: null attributes on refusal, a valid descriptor otherwise.
  if (attributes.attributes == nullptr) {
    EXPECT_NE(capture.Text().find("Error 2 in function Common::CSecurityAttributes::CSecurityAttributes"),
              std::string::npos)
        << capture.Text();
  } else {
    EXPECT_TRUE(IsValidSecurityDescriptor(attributes.lpSecurityDescriptor));
  }
}

}  // namespace
