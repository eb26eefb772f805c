// The library's exports, called through the real library as the daemon loads it.
#include "library/exports.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "module_host/module_table.h"
#include "platform/module.h"
#include "platform/unique_handle.h"
#include "platform/utf.h"
#include "tests/support/program_folder.h"

namespace {

std::u16string LibraryBesideThisProgram() {
  return Platform::Utf8ToUtf16(Testing::ProgramFolder()) + HALCYRA_MODULE_LIBRARY_NAME;
}

class ExportsTest : public ::testing::Test {
protected:
  static void SetUpTestSuite() {
    library = new Platform::UniqueLibrary(Platform::LoadLibraryW(LibraryBesideThisProgram().c_str()));
  }
  static void TearDownTestSuite() {
    delete library;
    library = nullptr;
  }

  void SetUp() override {
    ASSERT_TRUE(*library) << "the module library was not found beside the test program";
    createModule = Resolve<CreateModuleFunction>("CreateModule");
    releaseModule = Resolve<ReleaseModuleFunction>("ReleaseModule");
    getModuleNames = Resolve<GetModuleNamesFunction>("GetModuleNames");
    getClsid = Resolve<GetCLSIDFromModuleNameFunction>("GetCLSIDFromModuleName");
    ASSERT_TRUE(createModule && releaseModule && getModuleNames && getClsid);
    // Keep the library's reports off the test output.
    HalcyraHostSettings settings{sizeof(settings), 2, nullptr, nullptr, [](void*, const char*) {}, nullptr, nullptr};
    auto configure = Resolve<HalcyraConfigureHostFunction>("HalcyraConfigureHost");
    ASSERT_NE(configure, nullptr);
    ASSERT_EQ(configure(&settings), ErrorNone);
  }

  template <class Function>
  Function Resolve(const char* name) {
    return reinterpret_cast<Function>(Platform::GetProcAddress(library->Get(), name));
  }

  static Platform::UniqueLibrary* library;
  CreateModuleFunction createModule = nullptr;
  ReleaseModuleFunction releaseModule = nullptr;
  GetModuleNamesFunction getModuleNames = nullptr;
  GetCLSIDFromModuleNameFunction getClsid = nullptr;
};

Platform::UniqueLibrary* ExportsTest::library = nullptr;

TEST_F(ExportsTest, NullStarAndTheNameInSmallLettersGiveOneAndTheSameHandle) {
  auto* byNull = createModule(nullptr);
  ASSERT_NE(byNull, nullptr);
  EXPECT_EQ(createModule(u"*"), byNull);
  EXPECT_EQ(createModule(u"halcyra"), byNull);
  EXPECT_EQ(createModule(u"Halcyra"), byNull);
}

TEST_F(ExportsTest, ReleaseDoesNothingAndCreateGivesTheSameHandleAgain) {
  auto* handle = createModule(nullptr);
  releaseModule(handle);
  releaseModule(nullptr);
  EXPECT_EQ(createModule(nullptr), handle);
  EXPECT_EQ(handle->GetModule()->GetState(), 0);
}

TEST_F(ExportsTest, NamesWithCapacityZeroGive2AndWriteNothing) {
  std::vector<char16_t> buffer(DynamicModuleHost::kModuleNameSlot, u'#');
  EXPECT_EQ(getModuleNames(buffer.data(), 0), ErrorSystem);
  EXPECT_EQ(buffer[0], u'#');
}

TEST_F(ExportsTest, NamesWithCapacityOneWriteHalcyraAndItsTerminator) {
  std::vector<char16_t> buffer(DynamicModuleHost::kModuleNameSlot, u'#');
  EXPECT_EQ(getModuleNames(buffer.data(), 1), ErrorNone);
  EXPECT_EQ(std::u16string(buffer.data(), 8), std::u16string(u"Halcyra\0", 8));
  EXPECT_EQ(buffer[8], u'#');
}

TEST_F(ExportsTest, ClsidOfHalcyraIsTheModulesClsid) {
  Common::GUID clsid;
  EXPECT_EQ(getClsid(&clsid, u"Halcyra"), ErrorNone);
  EXPECT_EQ(clsid, Common::GuidLiteral("EDDC6A89-933A-4F71-BCB1-83428ED20F15"));
}

TEST_F(ExportsTest, HandleVersionIs0x01010000AndItWrapsTheHalcyraModule) {
  auto* handle = createModule(nullptr);
  EXPECT_EQ(handle->GetVersion(), 0x01010000u);
  EXPECT_EQ(std::u16string(handle->GetModule()->GetName()), u"Halcyra");
  EXPECT_EQ(std::u16string(handle->GetModule()->GetDisplayName()), u"Halcyra");
}

TEST_F(ExportsTest, HostSettingsOfUnknownSizeAreRefused) {
  auto configure = Resolve<HalcyraConfigureHostFunction>("HalcyraConfigureHost");
  HalcyraHostSettings settings{};
  settings.size = 3;
  EXPECT_EQ(configure(&settings), ErrorInvalidParameter);
  EXPECT_EQ(configure(nullptr), ErrorInvalidParameter);
}

}  // namespace
