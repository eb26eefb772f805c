#include "audio_service/product_library_cache.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "audio_service/product_info.h"
#include "platform/module.h"
#include "platform/utf.h"
#include "tests/audio_service/product_identity_fixture.h"
#include "tests/support/program_folder.h"

namespace {

using Platform::HMODULE;

class ProductLibraryCacheTest : public Testing::ProductIdentityTest {};

// The folder of this program, without its closing separator.
std::filesystem::path ProgramFolder() { return std::filesystem::path(Testing::ProgramFolder()).parent_path(); }

std::filesystem::path PathOf(const std::u16string& text) { return std::filesystem::path(Platform::Utf16ToUtf8(text)); }

TEST_F(ProductLibraryCacheTest, TheLibraryIsFoundInTheFolderAboveThisProgram) {
  const std::u16string found = CProductLibraryCache::FindAbove(kProductInfoLibrary);
  ASSERT_FALSE(found.empty());
  EXPECT_TRUE(std::filesystem::equivalent(PathOf(found), ProgramFolder().parent_path() / "ProductInfo.dll"));
}

TEST_F(ProductLibraryCacheTest, TheNearestLibraryWins) {
  const std::filesystem::path nearer = ProgramFolder() / "ProductInfo.dll";
  std::error_code error;
  ASSERT_TRUE(std::filesystem::copy_file(ProgramFolder().parent_path() / "ProductInfo.dll", nearer,
                                         std::filesystem::copy_options::overwrite_existing, error))
      << error.message();
  const std::u16string found = CProductLibraryCache::FindAbove(kProductInfoLibrary);
  const bool nearest = !found.empty() && std::filesystem::equivalent(PathOf(found), nearer, error);
  std::filesystem::remove(nearer, error);
  EXPECT_TRUE(nearest) << Platform::Utf16ToUtf8(found);
}

TEST_F(ProductLibraryCacheTest, ANameFoundNowhereGivesNoPathAndNoLibrary) {
  CProductLibraryCache cache;
  EXPECT_TRUE(CProductLibraryCache::FindAbove(u"NoSuchHalcyraLibrary.dll").empty());
  EXPECT_EQ(cache.Load(u"NoSuchHalcyraLibrary.dll"), nullptr);
}

TEST_F(ProductLibraryCacheTest, EveryLoadOfOnePathGivesTheSameHandle) {
  CProductLibraryCache cache;
  HMODULE first = cache.Load(kProductInfoLibrary);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(cache.Load(kProductInfoLibrary), first);
  EXPECT_NE(Platform::GetProcAddress(first, "GetQuillonProductInfo"), nullptr);
}

// The cache holds the one reference of its one load: giving that back unloads the library. Run in
// a process of its own, where nothing else has loaded it.
TEST_F(ProductLibraryCacheTest, ASecondRequestWithTheLibraryPresentDoesNotLoadItAgain) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        CProductLibraryCache cache;
        const std::u16string path = CProductLibraryCache::FindAbove(kProductInfoLibrary);
        HMODULE first = cache.Load(kProductInfoLibrary);
        HMODULE second = cache.Load(kProductInfoLibrary);
        HMODULE loaded = nullptr;
        const bool loadedBefore = Platform::GetModuleHandleExW(Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                                               path.c_str(), &loaded) != 0;
        Platform::FreeLibrary(first);
        const bool loadedAfter = Platform::GetModuleHandleExW(Platform::GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                                              path.c_str(), &loaded) != 0;
        std::exit(first != nullptr && first == second && loadedBefore && !loadedAfter ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST_F(ProductLibraryCacheTest, TheProcessWideCacheIsOneObject) {
  EXPECT_EQ(&CProductLibraryCache::Instance(), &CProductLibraryCache::Instance());
}

}  // namespace
