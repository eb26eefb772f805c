#include "module_host/module_table.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <string>
#include <vector>

#include "tests/module_host/test_modules.h"
#include "tests/support/debug_channel_capture.h"
#include "tests/support/system_text.h"

namespace {

using DynamicModuleHost::CDynamicModule;
using DynamicModuleHost::SModuleTableRow;

constexpr Common::GUID kFirstClsid = Common::GuidLiteral("11111111-0000-0000-0000-000000000001");
constexpr Common::GUID kSecondClsid = Common::GuidLiteral("11111111-0000-0000-0000-000000000002");

// A table of the test's own modules, as the library builds its own.
class ModuleTableTest : public ::testing::Test {
protected:
  void Build(std::u16string firstName, std::u16string secondName = {}) {
    names = {std::move(firstName), std::move(secondName)};
    first = std::make_unique<Testing::TestModule>(names[0].c_str());
    firstHandle = std::make_unique<CDynamicModule>(first.get());
    rows.push_back({kFirstClsid, firstHandle.get()});
    if (!names[1].empty()) {
      second = std::make_unique<Testing::TestModule>(names[1].c_str());
      secondHandle = std::make_unique<CDynamicModule>(second.get());
      rows.push_back({kSecondClsid, secondHandle.get()});
    }
    rows.push_back({Common::GUID(), nullptr});
  }

  std::vector<std::u16string> names;
  std::unique_ptr<Testing::TestModule> first, second;
  std::unique_ptr<CDynamicModule> firstHandle, secondHandle;
  std::vector<SModuleTableRow> rows;
};

TEST_F(ModuleTableTest, NameOf260CharactersPassesAndItsTerminatorFallsIntoTheNextSlot) {
  Build(std::u16string(260, u'm'));
  std::vector<char16_t> buffer(2 * DynamicModuleHost::kModuleNameSlot, u'#');
  EXPECT_EQ(GetModuleNamesInTable(rows.data(), buffer.data(), 1), ErrorNone);
  EXPECT_EQ(std::u16string(buffer.data(), 260), names[0]);
  EXPECT_EQ(buffer[260], 0);
  EXPECT_EQ(buffer[261], u'#');
}

TEST_F(ModuleTableTest, NameOf261CharactersIsReportedAndGives2) {
  Testing::DebugChannelCapture capture;
  Build(std::u16string(261, u'm'));
  std::vector<char16_t> buffer(2 * DynamicModuleHost::kModuleNameSlot, u'#');
  EXPECT_EQ(GetModuleNamesInTable(rows.data(), buffer.data(), 1), ErrorSystem);
  EXPECT_EQ(buffer[0], u'#');
  EXPECT_EQ(capture.Writes().at(0),
            "Error 2 in function DynamicModuleHost::GetModuleNames: Size of a module name exceeded raised error 10: " +
                Testing::SystemText(Platform::ERROR_BAD_ENVIRONMENT) + "\n");
}

TEST_F(ModuleTableTest, EverySlotHoldsTheFirstRowsName) {
  Build(u"Alpha", u"Beta");
  std::vector<char16_t> buffer(2 * DynamicModuleHost::kModuleNameSlot, u'#');
  EXPECT_EQ(GetModuleNamesInTable(rows.data(), buffer.data(), 2), ErrorNone);
  EXPECT_EQ(std::u16string(buffer.data()), u"Alpha");
  EXPECT_EQ(std::u16string(buffer.data() + DynamicModuleHost::kModuleNameSlot), u"Alpha");
}

TEST_F(ModuleTableTest, SlotsWrittenBeforeAFailureStayWritten) {
  Testing::DebugChannelCapture capture;
  Build(u"Alpha", u"Beta");
  std::vector<char16_t> buffer(2 * DynamicModuleHost::kModuleNameSlot, u'#');
  EXPECT_EQ(GetModuleNamesInTable(rows.data(), buffer.data(), 1), ErrorSystem);
  EXPECT_EQ(std::u16string(buffer.data()), u"Alpha");
  EXPECT_EQ(buffer[DynamicModuleHost::kModuleNameSlot], u'#');
}

TEST_F(ModuleTableTest, EmptyTableReportsNotFoundForCreateAndClsidButNothingForNames) {
  Testing::DebugChannelCapture capture;
  SModuleTableRow empty[1] = {{Common::GUID(), nullptr}};
  char16_t buffer[4] = {u'#', u'#', u'#', u'#'};
  EXPECT_EQ(GetModuleNamesInTable(empty, buffer, 1), ErrorNone);
  EXPECT_EQ(buffer[0], u'#');
  EXPECT_TRUE(capture.Writes().empty());
  EXPECT_EQ(CreateModuleInTable(empty, u"x"), nullptr);
  EXPECT_EQ(capture.Writes().at(0),
            "Error 14 in function DynamicModuleHost::CreateModule: Could not found daemon module x\n");
  capture.Clear();
  Common::GUID clsid;
  EXPECT_EQ(GetCLSIDInTable(empty, &clsid, u"x"), ErrorNotFound);
  EXPECT_EQ(capture.Writes().at(0),
            "Error 14 in function DynamicModuleHost::GetCLSIDFromModuleName: Could not found module with name x\n");
}

TEST_F(ModuleTableTest, CreateAcceptsNullStarAndTheNameInAnyCase) {
  Build(u"Alpha");
  EXPECT_EQ(CreateModuleInTable(rows.data(), nullptr), firstHandle.get());
  EXPECT_EQ(CreateModuleInTable(rows.data(), u"*"), firstHandle.get());
  EXPECT_EQ(CreateModuleInTable(rows.data(), u"aLPHA"), firstHandle.get());
}

TEST_F(ModuleTableTest, ClsidLookupCountsCase) {
  Build(u"Alpha");
  Common::GUID clsid;
  EXPECT_EQ(GetCLSIDInTable(rows.data(), &clsid, u"Alpha"), ErrorNone);
  EXPECT_EQ(clsid, kFirstClsid);
}

// An unknown name never returns from either search. The child process proves it: a watchdog
// thread ends it with a code of its own while the search is still running.
constexpr int kStillSearching = 42;

[[noreturn]] void EndWhileStillSearching() {
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  std::_Exit(kStillSearching);
}

TEST_F(ModuleTableTest, UnknownNameKeepsCreateSearchingForever) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Build(u"Alpha");
  EXPECT_EXIT(
      {
        std::thread watchdog(EndWhileStillSearching);
        watchdog.detach();
        CreateModuleInTable(rows.data(), u"Beta");
        std::_Exit(0);
      },
      ::testing::ExitedWithCode(kStillSearching), "");
}

TEST_F(ModuleTableTest, NameInOtherCaseKeepsClsidSearchingForever) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Build(u"Alpha");
  EXPECT_EXIT(
      {
        std::thread watchdog(EndWhileStillSearching);
        watchdog.detach();
        Common::GUID clsid;
        static_cast<void>(GetCLSIDInTable(rows.data(), &clsid, u"ALPHA"));
        std::_Exit(0);
      },
      ::testing::ExitedWithCode(kStillSearching), "");
}

}  // namespace
