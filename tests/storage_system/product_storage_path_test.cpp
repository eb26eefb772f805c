#include "storage_system/product_storage_path.h"

#include <gtest/gtest.h>

namespace {

using DataSystem::ProductDesc;
using ProductStorageSystem::BuildProductStoragePath;

ProductDesc WithFlags(std::uint64_t flags) {
  ProductDesc desc{u"Velorin", u"VelorinV3", u"3", u"2", flags};
  return desc;
}

TEST(ProductStoragePathTest, TheDefaultRecordNamesSoftwareQuillonVelorin) {
  EXPECT_EQ(BuildProductStoragePath(DataSystem::DefaultProductDesc()), u"Software\\Quillon\\Velorin");
}

TEST(ProductStoragePathTest, WithoutTheSuffixBitTheOtherBitsChangeNothing) {
  EXPECT_EQ(BuildProductStoragePath(WithFlags(0)), u"Software\\Velorin\\VelorinV3");
  EXPECT_EQ(BuildProductStoragePath(WithFlags(ProductStorageSystem::PathFlagMinorVersion)),
            u"Software\\Velorin\\VelorinV3");
  EXPECT_EQ(BuildProductStoragePath(WithFlags(ProductStorageSystem::PathFlagSeparatorOnly)),
            u"Software\\Velorin\\VelorinV3");
}

TEST(ProductStoragePathTest, TheSuffixBitAddsTheMajorVersion) {
  EXPECT_EQ(BuildProductStoragePath(WithFlags(ProductStorageSystem::PathFlagSuffix)),
            u"Software\\Velorin\\VelorinV3_3");
}

TEST(ProductStoragePathTest, WithTheMinorBitTheSuffixEndsInADotAndTheMinorVersion) {
  EXPECT_EQ(BuildProductStoragePath(
                WithFlags(ProductStorageSystem::PathFlagSuffix | ProductStorageSystem::PathFlagMinorVersion)),
            u"Software\\Velorin\\VelorinV3_3.2");
}

TEST(ProductStoragePathTest, WithTheSeparatorBitTheSuffixIsOnlyABackslash) {
  EXPECT_EQ(BuildProductStoragePath(
                WithFlags(ProductStorageSystem::PathFlagSuffix | ProductStorageSystem::PathFlagSeparatorOnly)),
            u"Software\\Velorin\\VelorinV3\\");
  EXPECT_EQ(BuildProductStoragePath(WithFlags(ProductStorageSystem::PathFlagSuffix |
                                              ProductStorageSystem::PathFlagMinorVersion |
                                              ProductStorageSystem::PathFlagSeparatorOnly)),
            u"Software\\Velorin\\VelorinV3\\");
}

TEST(ProductStoragePathTest, EmptyVersionsLeaveTheirSeparators) {
  ProductDesc desc{u"C", u"P", u"", u"",
                   ProductStorageSystem::PathFlagSuffix | ProductStorageSystem::PathFlagMinorVersion};
  EXPECT_EQ(BuildProductStoragePath(desc), u"Software\\C\\P_.");
}

}  // namespace
