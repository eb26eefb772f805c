// Values: typed reads and writes through storage, the cache, bounds and defaults.
#include "data_system/value_item.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "data_system/bounded_value_item.h"
#include "data_system/interface_ids.h"
#include "tests/data_system/data_system_fixture.h"

namespace Testing {
namespace {

using namespace DataSystem;

class CValueTTest : public DataSystemTest {
protected:
  // The stored bytes of Settings' value `model`.
  std::vector<unsigned char> Stored(const Common::GUID& model) {
    return GetRaw(SettingsKey().c_str(), Name(model).c_str()).data;
  }
  IStorageSystemValue* Facet(const char16_t* path) {
    return static_cast<IStorageSystemValue*>(Item(path)->GetInterface(&IID_IStorageSystemValue));
  }
};

TEST_F(CValueTTest, GetOfABoundedUnsignedIntAboveTheMaximumGivesTheMaximumAndUnclampedTheStoredValue) {
  ASSERT_EQ(Open(), ErrorNone);
  WriteDword(SettingsKey(), Name(Schema::kLevelGuid), 50);
  ASSERT_EQ(Open(), ErrorNone);
  auto* level = Value<std::uint32_t>(u"Settings.Level");
  EXPECT_EQ(*level->Get(), 10u);
  EXPECT_EQ(level->Get(), level->GetMaximum());
  ASSERT_EQ(Open(DS_UNCLAMPED_READ), ErrorNone);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Level")->Get(), 50u);
}

TEST_F(CValueTTest, GetOfABoundedUnsignedIntBelowTheMinimumGivesTheMinimum) {
  ASSERT_EQ(Open(), ErrorNone);
  WriteDword(SettingsKey(), Name(Schema::kLevelGuid), 0);
  ASSERT_EQ(Open(), ErrorNone);
  EXPECT_EQ(*Value<std::uint32_t>(u"Settings.Level")->Get(), 1u);
}

// Sets Enabled to a bool byte of 2 under `flags` and gives the result and the stored byte.
struct ByteSetOutcome {
  ErrorCode result;
  unsigned stored;
};

class BoolByteTest : public CValueTTest, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(BoolByteTest, SetOfABoolByteOf2FollowsTheRangeField) {
  ASSERT_EQ(Open(), ErrorNone);
  ASSERT_EQ(Value<bool>(u"Settings.Enabled")->Set(std::array<bool, 1>{false}.data()), ErrorNone);
  ASSERT_EQ(Open(GetParam()), ErrorNone);
  unsigned char two = 2;
  bool asBool;
  std::memcpy(&asBool, &two, 1);
  ErrorCode result = Value<bool>(u"Settings.Enabled")->Set(&asBool);
  std::vector<unsigned char> stored = Stored(Schema::kEnabledGuid);
  ASSERT_FALSE(stored.empty());
  switch (GetParam()) {
    case 0:
      EXPECT_EQ(result, ErrorOutOfBounds);
      EXPECT_EQ(stored[0], 0);
      EXPECT_FALSE(Logged("Error 10"));
      break;
    case DS_RANGE_CLAMP:
      EXPECT_EQ(result, ErrorNone);
      EXPECT_EQ(stored[0], 1);
      break;
    case DS_RANGE_UNCHECKED:
      EXPECT_EQ(result, ErrorNone);
      EXPECT_EQ(stored[0], 2);
      break;
    default:
      EXPECT_EQ(result, ErrorNone);
      EXPECT_EQ(stored[0], 0);
  }
}

INSTANTIATE_TEST_SUITE_P(RangeField, BoolByteTest,
                         ::testing::Values(0u, static_cast<std::uint32_t>(DS_RANGE_CLAMP),
                                           static_cast<std::uint32_t>(DS_RANGE_UNCHECKED),
                                           static_cast<std::uint32_t>(DS_RANGE_CLAMP | DS_RANGE_UNCHECKED)));

TEST_F(CValueTTest, SetOfANullWideStringWritesNoBytesAndCachesSixteenZeroBytes) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* title = Value<WideString>(u"Settings.Title");
  ASSERT_EQ(title->Set(nullptr), ErrorNone) << capture.Text();
  RawValue raw = GetRaw(SettingsKey().c_str(), Name(Schema::kTitleGuid).c_str());
  EXPECT_EQ(raw.status, Platform::ERROR_SUCCESS);
  EXPECT_EQ(raw.data.size(), 0u);
  const char16_t* cached = title->Get();
  ASSERT_NE(cached, nullptr);
  const unsigned char zeros[16] = {};
  EXPECT_EQ(std::memcmp(cached, zeros, sizeof zeros), 0);
}

TEST_F(CValueTTest, SetOfAShorterStringThatFitsKeepsTheRecordedLengthSoTheNextRefreshSeesAChange) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* title = Value<WideString>(u"Settings.Title");
  IStorageSystemValue* facet = Facet(u"Settings.Title");
  // Refresh belongs to a scan, which holds the tree's lock.
  TreeLock hold(dataSystem);
  ASSERT_EQ(title->Set(u"abcdefgh"), ErrorNone);
  bool changed = true;
  ASSERT_EQ(facet->Refresh(&changed), ErrorNone);
  EXPECT_FALSE(changed) << "a string of the recorded length reads back as unchanged";
  ASSERT_EQ(title->Set(u"abcdef"), ErrorNone);
  EXPECT_EQ(Narrow16(title->Get()), "abcdef");
  changed = false;
  ASSERT_EQ(facet->Refresh(&changed), ErrorNone);
  EXPECT_TRUE(changed) << "the length recorded for the longer string stayed";
  ASSERT_EQ(facet->Refresh(&changed), ErrorNone);
  EXPECT_FALSE(changed);
}

TEST_F(CValueTTest, InitOfAValueWhoseReadKeepsFailingSucceedsAfterElevenReads) {
  faults.failReadOf = Name(Schema::kPlainGuid);
  faults.readFailuresLeft = 1000;
  ASSERT_EQ(OpenFaulty(), ErrorNone) << capture.Text();
  EXPECT_EQ(faults.reads[Name(Schema::kPlainGuid)], 11);
  // Each report shows twice on the debug channel while no debugger watches.
  EXPECT_EQ(CountLogged("in function Testing::FaultyValue::Read"), 2 * 11);
  // Every Get tries again while the cache was never filled.
  faults.readFailuresLeft = 0;
  EXPECT_EQ(*Value<std::uint32_t>(u"Archive.Plain")->Get(), 7u);
}

TEST_F(CValueTTest, GetAfterAFailedReadGivesTheLastValueWithoutAReportOfItsOwn) {
  ASSERT_EQ(OpenFaulty(), ErrorNone);
  auto* plain = Value<std::uint32_t>(u"Archive.Plain");
  EXPECT_EQ(*plain->Get(), 7u);
  faults.failReadOf = Name(Schema::kPlainGuid);
  faults.readFailuresLeft = 1;
  // Archive is not watched, so each Get reads storage.
  EXPECT_EQ(*plain->Get(), 7u);
  // One report, shown twice on the debug channel while no debugger watches.
  EXPECT_EQ(CountLogged("Error "), 2);
}

TEST_F(CValueTTest, ResetWritesTheModelsDefaultAndAComputedDefaultGetsTheLogicalIndex) {
  ASSERT_EQ(Open(), ErrorNone);
  IStore* settings = Store(u"Settings");
  IItem* item = nullptr;
  for (int i = 0; i < 2; ++i) ASSERT_EQ(settings->InsertDefaultItem(u"Tag", &item), ErrorNone);
  auto* tag = Value<std::uint32_t>(u"Settings.Tag[1]");
  EXPECT_EQ(*tag->Get(), 101u);
  ASSERT_EQ(tag->Set(std::array<std::uint32_t, 1>{99}.data()), ErrorNone);
  EXPECT_EQ(*tag->Get(), 99u);
  ASSERT_EQ(Item(u"Settings.Tag[1]")->Reset(0), ErrorNone);
  EXPECT_EQ(*tag->Get(), 101u);
  EXPECT_EQ(*tag->GetDefault(), 101u);
  auto* level = Value<std::uint32_t>(u"Settings.Level");
  ASSERT_EQ(level->Set(std::array<std::uint32_t, 1>{3}.data()), ErrorNone);
  ASSERT_EQ(Item(u"Settings.Level")->Reset(0), ErrorNone);
  EXPECT_EQ(*level->Get(), 5u);
  EXPECT_EQ(Stored(Schema::kLevelGuid), (std::vector<unsigned char>{5, 0, 0, 0}));
}

TEST_F(CValueTTest, AGuidValueRoundTripsAndRefreshComparesAllSixteenBytes) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* id = Value<Common::GUID>(u"Settings.Id");
  TreeLock hold(dataSystem);
  Common::GUID next = Schema::kDefaultId;
  next.Data4[7] ^= 1;
  ASSERT_EQ(id->Set(&next), ErrorNone);
  EXPECT_EQ(*id->Get(), next);
  bool changed = true;
  ASSERT_EQ(Facet(u"Settings.Id")->Refresh(&changed), ErrorNone);
  EXPECT_FALSE(changed);
  EXPECT_EQ(id->GetMinimum(), nullptr);
  EXPECT_EQ(id->GetMaximum(), nullptr);
}

TEST_F(CValueTTest, AValueOfAStoreWithoutWatchReadsStorageOnEachGet) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* plain = Value<std::uint32_t>(u"Archive.Plain");
  EXPECT_EQ(*plain->Get(), 7u);
  WriteDword(ArchiveKey(), Name(Schema::kPlainGuid), 9);
  EXPECT_EQ(*plain->Get(), 9u);
  auto* level = Value<std::uint32_t>(u"Settings.Level");
  EXPECT_EQ(*level->Get(), 5u);
  // The storage's notification would refresh the cache; it waits for the lock.
  TreeLock hold(dataSystem);
  WriteDword(SettingsKey(), Name(Schema::kLevelGuid), 8);
  EXPECT_EQ(*level->Get(), 5u) << "a watched store's value reads its cache";
}

TEST_F(CValueTTest, ValuesAnswerTheirTypeAndTypedInterface) {
  ASSERT_EQ(Open(), ErrorNone);
  auto* value = static_cast<IValue*>(Item(u"Settings.Title")->GetInterface(&IID_IValue));
  EXPECT_EQ(*value->GetValueInterfaceGuid(), IID_IValueString);
  EXPECT_EQ(value->GetTypeDescription(), TypeOfWideString());
  auto* facet = Facet(u"Settings.Level");
  EXPECT_EQ(Narrow16(facet->GetStoragePath()), "/" + Narrow16(Name(Schema::kLevelGuid).c_str()));
  std::uint32_t size = 0;
  EXPECT_EQ(*static_cast<const std::uint32_t*>(facet->GetDefaultBytes(&size)), 5u);
  EXPECT_EQ(size, 4u);
  std::uint32_t titleSize = 0;
  Facet(u"Settings.Title")->GetDefaultBytes(&titleSize);
  EXPECT_EQ(titleSize, 16u);
}

}  // namespace
}  // namespace Testing
