#include "platform/security.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/system_error.h"
#include "tests/support/wine.h"

namespace Platform {
namespace {

class SecurityTest : public ::testing::Test {
protected:
  // Parses `text`; on success returns the descriptor, which the test frees with LocalFree.
  static PSECURITY_DESCRIPTOR Parse(const char16_t* text, ULONG* size = nullptr) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    SetLastError(ERROR_SUCCESS);
    EXPECT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &descriptor, size))
        << "error " << GetLastError();
    return descriptor;
  }

  // Writes the text of `descriptor` for `information`.
  static std::u16string Text(PSECURITY_DESCRIPTOR descriptor,
                             SECURITY_INFORMATION information = OWNER_SECURITY_INFORMATION |
                                                                GROUP_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION |
                                                                SACL_SECURITY_INFORMATION) {
    LPWSTR text = nullptr;
    ULONG size = 0;
    if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, information, &text, &size)) {
      ADD_FAILURE() << "error " << GetLastError();
      return u"";
    }
    std::u16string result(text);
    EXPECT_EQ(size, result.size() + 1);
    EXPECT_EQ(LocalFree(text), nullptr);
    return result;
  }

  // Expects `text` to be refused as a bad descriptor text.
  static void ExpectRefused(const char16_t* text) {
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    SetLastError(ERROR_SUCCESS);
    EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &descriptor, nullptr));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
    EXPECT_EQ(descriptor, nullptr);
  }

  // Parses `text` and expects it written back as `expected`.
  static void ExpectRoundTrip(const char16_t* text, const char16_t* expected) {
    PSECURITY_DESCRIPTOR descriptor = Parse(text);
    ASSERT_NE(descriptor, nullptr);
    EXPECT_EQ(Text(descriptor), expected);
    LocalFree(descriptor);
  }
};

TEST_F(SecurityTest, AllocateAndInitializeSidBuildsTheSidOfAllApplicationPackages) {
  SID_IDENTIFIER_AUTHORITY authority{{0, 0, 0, 0, 0, 15}};
  PSID sid = nullptr;
  ASSERT_TRUE(AllocateAndInitializeSid(&authority, 2, 2, 1, 0, 0, 0, 0, 0, 0, &sid));
  EXPECT_TRUE(IsValidSid(sid));
  // Revision, count, the authority big-endian, then the sub-authorities.
  const BYTE expected[] = {1, 2, 0, 0, 0, 0, 0, 15, 2, 0, 0, 0, 1, 0, 0, 0};
  EXPECT_EQ(std::memcmp(sid, expected, sizeof expected), 0);
  EXPECT_EQ(FreeSid(sid), nullptr);
}

TEST_F(SecurityTest, AllocateAndInitializeSidRefusesMoreThanEightSubAuthorities) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine refuses the count with ERROR_INVALID_SID";
  SID_IDENTIFIER_AUTHORITY authority{{0, 0, 0, 0, 0, 5}};
  PSID sid = nullptr;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(AllocateAndInitializeSid(&authority, 9, 0, 0, 0, 0, 0, 0, 0, 0, &sid));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(SecurityTest, IsValidSidChecksRevisionAndSubAuthorityCount) {
  BYTE sid[8 + 4 * 16] = {1, 15};
  EXPECT_TRUE(IsValidSid(sid));
  sid[1] = 16;
  EXPECT_FALSE(IsValidSid(sid));
  sid[1] = 1;
  sid[0] = 2;
  EXPECT_FALSE(IsValidSid(sid));
  EXPECT_FALSE(IsValidSid(nullptr));
}

TEST_F(SecurityTest, EmptyDaclTextGivesAPresentEmptyList) {
  ULONG size = 0;
  PSECURITY_DESCRIPTOR descriptor = Parse(u"D:", &size);
  ASSERT_NE(descriptor, nullptr);
  // Header and an ACL header with no entries.
  EXPECT_EQ(size, 28u);
  EXPECT_TRUE(IsValidSecurityDescriptor(descriptor));
  EXPECT_EQ(GetSecurityDescriptorLength(descriptor), size);
  EXPECT_EQ(Text(descriptor), u"D:");
  EXPECT_EQ(LocalFree(descriptor), nullptr);
}

TEST_F(SecurityTest, TextOfTheProductStorageIsKept) {
  // Rights are written back in the order of their bits, so GRGW comes back as GWGR.
  ExpectRoundTrip(u"D:(A;OICI;GRGW;;;IU)(A;OICI;GA;;;BA)", u"D:(A;OICI;GWGR;;;IU)(A;OICI;GA;;;BA)");
}

TEST_F(SecurityTest, EveryTrusteeOfTheSystemIsKept) {
  ExpectRoundTrip(u"D:(A;OICI;GA;;;IU)(A;OICI;GA;;;BA)(A;OICI;GA;;;LS)(A;OICI;GR;;;SY)(A;OICI;GX;;;AC)",
                  u"D:(A;OICI;GA;;;IU)(A;OICI;GA;;;BA)(A;OICI;GA;;;LS)(A;OICI;GR;;;SY)(A;OICI;GX;;;AC)");
}

TEST_F(SecurityTest, DescriptorLayoutIsTheSelfRelativeOneOfWindows) {
  ULONG size = 0;
  PSECURITY_DESCRIPTOR descriptor = Parse(u"D:(A;OICI;GA;;;BA)", &size);
  ASSERT_NE(descriptor, nullptr);
  const auto* bytes = static_cast<const BYTE*>(descriptor);
  // Revision 1; control: self-relative and DACL present; the DACL right after the header.
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[2] | (bytes[3] << 8), 0x8004);
  EXPECT_EQ(bytes[16], 20);
  // ACL revision 2, size 8 + 24, one entry: allowed, OI|CI, GENERIC_ALL, S-1-5-32-544.
  const BYTE acl[] = {2, 0, 32, 0, 1, 0, 0, 0, 0,  3, 24, 0, 0,    0, 0, 0x10,
                      1, 2, 0,  0, 0, 0, 0, 5, 32, 0, 0,  0, 0x20, 2, 0, 0};
  ASSERT_EQ(size, 20u + sizeof acl);
  EXPECT_EQ(std::memcmp(bytes + 20, acl, sizeof acl), 0);
  LocalFree(descriptor);
}

TEST_F(SecurityTest, CopiedDescriptorReadsTheSame) {
  PSECURITY_DESCRIPTOR descriptor = Parse(u"O:BAG:SYD:P(A;;KA;;;BA)(D;CI;KW;;;BG)");
  ASSERT_NE(descriptor, nullptr);
  std::vector<BYTE> copy(GetSecurityDescriptorLength(descriptor));
  std::memcpy(copy.data(), descriptor, copy.size());
  LocalFree(descriptor);
  EXPECT_EQ(Text(copy.data()), u"O:BAG:SYD:P(A;;KA;;;BA)(D;CI;KW;;;BG)");
  EXPECT_EQ(Text(copy.data(), DACL_SECURITY_INFORMATION), u"D:P(A;;KA;;;BA)(D;CI;KW;;;BG)");
  EXPECT_EQ(Text(copy.data(), OWNER_SECURITY_INFORMATION), u"O:BA");
}

TEST_F(SecurityTest, RightsAndFlagsAreWrittenInCanonicalForm) {
  ExpectRoundTrip(u"D:(A;CIOI;GRGW;;;IU)", u"D:(A;OICI;GWGR;;;IU)");
  ExpectRoundTrip(u"D:(A;;0x1F01FF;;;BA)", u"D:(A;;FA;;;BA)");
  ExpectRoundTrip(u"D:(A;;0x20019;;;BU)", u"D:(A;;KR;;;BU)");
  ExpectRoundTrip(u"D:(A;;KX;;;BU)", u"D:(A;;KR;;;BU)");
  ExpectRoundTrip(u"D:(A;;RCWPDTCCLCSWRPLOCR;;;AU)", u"D:(A;;CCLCSWRPWPDTLOCRRC;;;AU)");
  ExpectRoundTrip(u"D:(A;;GXGA;;;AU)", u"D:(A;;GAGX;;;AU)");
  ExpectRoundTrip(u"D:(A;;0x00001000;;;BA)", u"D:(A;;0x1000;;;BA)");
  ExpectRoundTrip(u"D:(A;;16;;;BA)", u"D:(A;;RP;;;BA)");
}

TEST_F(SecurityTest, SidStringsAreKeptAndWellKnownOnesAbbreviated) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine writes an authority of 2^32 and more as a negative number";
  ExpectRoundTrip(u"D:(A;;GA;;;S-1-5-21-1004336348-1177238915-682003330-512)",
                  u"D:(A;;GA;;;S-1-5-21-1004336348-1177238915-682003330-512)");
  ExpectRoundTrip(u"D:(A;;GA;;;S-1-5-32-544)(A;;GR;;;S-1-15-2-1)", u"D:(A;;GA;;;BA)(A;;GR;;;AC)");
  ExpectRoundTrip(u"O:S-1-5-18G:S-1-5-32-545", u"O:SYG:BU");
  ExpectRoundTrip(u"O:S-1-0x000100000000-7D:", u"O:S-1-0x000100000000-7D:");
  ExpectRoundTrip(u"O:S-1-0x0000FFFFFFFF-7D:", u"O:S-1-4294967295-7D:");
}

TEST_F(SecurityTest, AclFlagsNullDaclAndSaclAreKept) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine drops NO_ACCESS_CONTROL and does not write mandatory label entries back";
  }
  ExpectRoundTrip(u"D:PAI(A;OICIID;GA;;;SY)", u"D:PAI(A;OICIID;GA;;;SY)");
  ExpectRoundTrip(u"D:NO_ACCESS_CONTROL", u"D:NO_ACCESS_CONTROL");
  ExpectRoundTrip(u"S:(ML;;NW;;;LW)D:(A;;GA;;;WD)", u"D:(A;;GA;;;WD)S:(ML;;NW;;;LW)");
  ExpectRoundTrip(u"S:(AU;SAFA;GA;;;WD)", u"S:(AU;SAFA;GA;;;WD)");
  ExpectRoundTrip(u"", u"");
}

TEST_F(SecurityTest, BadTextsFailWithInvalidParameter) {
  if (Testing::RunningUnderWine()) {
    GTEST_SKIP() << "Wine's parser takes several of these texts and refuses others with ERROR_INVALID_ACL";
  }
  for (const char16_t* text : {
           u"X:",                                                            // no such part
           u"D",                                                             // no colon
           u"D:(A;OICI;GA;;;BA",                                             // unclosed entry
           u"D:(A;OICI;GA;;BA)",                                             // five fields
           u"D:(A;OICI;GA;;;BA;)",                                           // seven fields
           u"D:(Q;OICI;GA;;;BA)",                                            // unknown entry type
           u"D:(A;XX;GA;;;BA)",                                              // unknown entry flag
           u"D:(A;OICI;GZ;;;BA)",                                            // unknown right
           u"D:(A;OICI;;;;BA)",                                              // no rights
           u"D:(A;OICI;GA;;;ZZ)",                                            // unknown trustee
           u"D:(A;OICI;GA;;;DA)",                                            // domain trustee, no domain here
           u"D:(A;OICI;GA;;;S-2-5-32)",                                      // SID revision
           u"D:(A;OICI;GA;;;S-1-5-1-2-3-4-5-6-7-8-9-10-11-12-13-14-15-16)",  // 16 sub-authorities
           u"D:(A;OICI;GA;;;S-1-5-x)",                                       // not a number
           u"D:(A;OICI;GA;;;BAX)",                                           // trailing text in the trustee
           u"D:(A;OICI;GA;{00000000-0000-0000-0000-000000000000};;BA)",      // object entry
           u"D:(A;OICI;0x1FFFFFFFF;;;BA)",                                   // more than 32 bits
           u"D:(A;OICI;GA;;;BA)junk",                                        // trailing text
           u"D:D:",                                                          // a part twice
           u"D:NO_ACCESS_CONTROL(A;;GA;;;BA)",                               // entries in a null list
           u"O:",                                                            // owner without SID
           u"d:(a;oici;ga;;;ba)",                                            // codes are upper case
       }) {
    SCOPED_TRACE(std::string(text, text + std::char_traits<char16_t>::length(text)));
    ExpectRefused(text);
  }
}

TEST_F(SecurityTest, OtherRevisionsFailWithUnknownRevision) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(u"D:", 2, &descriptor, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_UNKNOWN_REVISION));
}

TEST_F(SecurityTest, NullArgumentsFailWithInvalidParameter) {
  PSECURITY_DESCRIPTOR descriptor = nullptr;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(nullptr, SDDL_REVISION_1, &descriptor, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(ConvertStringSecurityDescriptorToSecurityDescriptorW(u"D:", SDDL_REVISION_1, nullptr, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST_F(SecurityTest, BrokenDescriptorIsNotValid) {
  if (Testing::RunningUnderWine()) GTEST_SKIP() << "Wine does not look into the SIDs of a descriptor it validates";
  PSECURITY_DESCRIPTOR descriptor = Parse(u"D:(A;;GA;;;BA)");
  ASSERT_NE(descriptor, nullptr);
  auto* bytes = static_cast<BYTE*>(descriptor);
  bytes[20 + 8 + 8] = 7;  // the trustee's SID revision
  EXPECT_FALSE(IsValidSecurityDescriptor(descriptor));
  LPWSTR text = nullptr;
  SetLastError(ERROR_SUCCESS);
  EXPECT_FALSE(ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                                    DACL_SECURITY_INFORMATION, &text, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
  LocalFree(descriptor);
  EXPECT_FALSE(IsValidSecurityDescriptor(nullptr));
}

TEST_F(SecurityTest, LocalFreeAcceptsNull) { EXPECT_EQ(LocalFree(nullptr), nullptr); }

}  // namespace
}  // namespace Platform
