// Canonical paths: the forbidden characters, the split into parent and leaf, the native form, the
// own name and path of an item, and the absolute path.
#include "storage_system/path_helper.h"

#include <gtest/gtest.h>

#include <string>

#include "storage_system/storage_flags.h"
#include "tests/storage_system/fake_storage.h"
#include "tests/support/debug_channel_capture.h"

namespace {

using StorageSystem::CPathHelper;

std::u16string Text(const char16_t* text) { return text == nullptr ? u"<null>" : std::u16string(text); }

class PathHelperTest : public ::testing::Test {
protected:
  Testing::FakeStorageSystem root;
  Testing::FakeItem store{&root, nullptr, true};
  Testing::FakeItem value{&root, nullptr, false};
  CPathHelper storeHelper{&store};
  CPathHelper valueHelper{&value};
  Testing::DebugChannelCapture capture;

  struct Split {
    ErrorCode code;
    std::u16string parent;
    std::u16string leaf;
  };

  Split SplitOf(const char16_t* path, bool native = false) {
    char16_t* block = nullptr;
    char16_t* parent = nullptr;
    char16_t* leaf = nullptr;
    const ErrorCode code = native ? valueHelper.ToSplitPathNative(path, &block, &parent, &leaf)
                                  : valueHelper.ToSplitPath(path, &block, &parent, &leaf);
    Split split{code, code == ErrorNone ? Text(parent) : u"", code == ErrorNone ? Text(leaf) : u""};
    valueHelper.FreePath(block);
    return split;
  }
};

TEST_F(PathHelperTest, ParentKeepsItsSeparatorAndLeafFollows) {
  Split split = SplitOf(u"a/b");
  EXPECT_EQ(split.code, ErrorNone);
  EXPECT_EQ(split.parent, u"a/");
  EXPECT_EQ(split.leaf, u"b");
}

TEST_F(PathHelperTest, OneLeadingSeparatorIsSkipped) {
  Split split = SplitOf(u"/a/b");
  EXPECT_EQ(split.parent, u"a/");
  EXPECT_EQ(split.leaf, u"b");
}

TEST_F(PathHelperTest, PathOfOnePartHasNoParent) {
  Split split = SplitOf(u"b");
  EXPECT_EQ(split.parent, u"<null>");
  EXPECT_EQ(split.leaf, u"b");
}

TEST_F(PathHelperTest, TrailingSeparatorStaysWithTheLeaf) {
  Split split = SplitOf(u"a/b/");
  EXPECT_EQ(split.parent, u"a/");
  EXPECT_EQ(split.leaf, u"b/");
  Split single = SplitOf(u"a/");
  EXPECT_EQ(single.parent, u"<null>");
  EXPECT_EQ(single.leaf, u"a/");
}

TEST_F(PathHelperTest, DeepPathSplitsAtItsLastSeparator) {
  Split split = SplitOf(u"x/y/z/leaf");
  EXPECT_EQ(split.parent, u"x/y/z/");
  EXPECT_EQ(split.leaf, u"leaf");
}

TEST_F(PathHelperTest, ParentAndLeafLieInOneBlockOneBehindTheOther) {
  char16_t* block = nullptr;
  char16_t* parent = nullptr;
  char16_t* leaf = nullptr;
  ASSERT_EQ(valueHelper.ToSplitPath(u"ab/cd", &block, &parent, &leaf), ErrorNone);
  EXPECT_EQ(parent, block);
  EXPECT_EQ(leaf, block + 4);
  valueHelper.FreePath(block);
}

TEST_F(PathHelperTest, NativeSplitUsesTheBackendSeparator) {
  Split split = SplitOf(u"a/b/c", true);
  EXPECT_EQ(split.parent, u"a\\b\\");
  EXPECT_EQ(split.leaf, u"c");
}

TEST_F(PathHelperTest, BackSlashIsForbiddenAndNamed) {
  EXPECT_EQ(CPathHelper::CheckPath(u"x\\y"), ErrorInvalidParameter);
  EXPECT_NE(capture.Text().find("Error 11 in function StorageSystem::CPathHelper::CheckPath: Path 'x\\y' contains "
                                "forbiden character '\\'"),
            std::string::npos)
      << capture.Text();
  EXPECT_EQ(SplitOf(u"x\\y", true).code, ErrorInvalidParameter);
}

TEST_F(PathHelperTest, TheEarliestForbiddenCharacterOfTheListIsNamedNotOfThePath) {
  EXPECT_EQ(CPathHelper::CheckPath(u"a|b?c:d"), ErrorInvalidParameter);
  EXPECT_NE(capture.Text().find("contains forbiden character ':'"), std::string::npos) << capture.Text();
}

TEST_F(PathHelperTest, EveryForbiddenCharacterIsRefused) {
  for (char16_t forbidden : std::u16string(u"\\:*?\"<>|")) {
    const std::u16string path = std::u16string(u"a") + forbidden + u"b";
    EXPECT_EQ(CPathHelper::CheckPath(path.c_str()), ErrorInvalidParameter);
  }
  EXPECT_EQ(CPathHelper::CheckPath(u"plain/path with blanks/and.dots"), ErrorNone);
  EXPECT_EQ(CPathHelper::CheckPath(nullptr), ErrorNone);
}

TEST_F(PathHelperTest, AllocReplaceConvertsWithoutChecking) {
  char16_t* block = nullptr;
  ASSERT_EQ(valueHelper.AllocReplace(u"a/b:c/", &block), ErrorNone);
  EXPECT_EQ(Text(block), u"a\\b:c\\");
  valueHelper.FreePath(block);
}

TEST_F(PathHelperTest, AllocReplaceKeepsTheTextWhenBothSeparatorsAreTheSame) {
  root.properties.separator = u'/';
  char16_t* block = nullptr;
  ASSERT_EQ(valueHelper.AllocReplace(u"a/b", &block), ErrorNone);
  EXPECT_EQ(Text(block), u"a/b");
  valueHelper.FreePath(block);
}

TEST_F(PathHelperTest, AllocReplaceOfNullIsOutOfMemory) {
  char16_t* block = nullptr;
  EXPECT_EQ(valueHelper.AllocReplace(nullptr, &block), ErrorOutOfMemory);
  EXPECT_NE(capture.Text().find("Error 1 (out of memory) in function StorageSystem::CPathHelper::AllocReplace"),
            std::string::npos);
}

TEST_F(PathHelperTest, StoreNameGetsItsTrailingSeparator) {
  ASSERT_EQ(storeHelper.InitializeNameAndPath(u"cfg"), ErrorNone);
  EXPECT_EQ(Text(storeHelper.GetName()), u"cfg/");
  EXPECT_EQ(Text(storeHelper.GetPath()), u"<null>");
  ASSERT_EQ(storeHelper.InitializeNameAndPath(u"a/b/"), ErrorNone);
  EXPECT_EQ(Text(storeHelper.GetName()), u"b/");
  EXPECT_EQ(Text(storeHelper.GetPath()), u"a/");
}

TEST_F(PathHelperTest, ValueNameHasNoSeparator) {
  ASSERT_EQ(valueHelper.InitializeNameAndPath(u"a/b"), ErrorNone);
  EXPECT_EQ(Text(valueHelper.GetName()), u"b");
  EXPECT_EQ(Text(valueHelper.GetPath()), u"a/");
}

TEST_F(PathHelperTest, ValueWithTrailingSeparatorIsRefusedAndLeavesTheFieldsAlone) {
  ASSERT_EQ(valueHelper.InitializeNameAndPath(u"v"), ErrorNone);
  EXPECT_EQ(valueHelper.InitializeNameAndPath(u"a/b/"), ErrorInvalidParameter);
  EXPECT_NE(capture.Text().find("Error 11 in function StorageSystem::CPathHelper::InitializeNameAndPath: Unexpected "
                                "trailing separator"),
            std::string::npos);
  EXPECT_EQ(Text(valueHelper.GetName()), u"v");
}

TEST_F(PathHelperTest, ResetClearsNameAndPath) {
  ASSERT_EQ(valueHelper.InitializeNameAndPath(u"a/b"), ErrorNone);
  valueHelper.Reset();
  EXPECT_EQ(valueHelper.GetName(), nullptr);
  EXPECT_EQ(valueHelper.GetPath(), nullptr);
}

TEST_F(PathHelperTest, AbsolutePathPutsEachItemsLeafBeforeItsParentPath) {
  // The chain of parents ends in a store that stands for the root, named "/".
  Testing::FakeItem top(&root, nullptr, true);
  top.name = u"/";
  Testing::FakeItem appUnderRoot(&root, &top, true);
  appUnderRoot.name = u"app/";
  Testing::FakeItem cfgUnderApp(&root, &appUnderRoot, true);
  cfgUnderApp.name = u"cfg/";
  CPathHelper helper(&cfgUnderApp);
  char16_t* path = nullptr;
  ASSERT_EQ(helper.QueryAllocAbsolutePath(&path), ErrorNone);
  EXPECT_EQ(Text(path), u"/app/cfg/");
  helper.FreePath(path);

  Testing::FakeItem valueUnderRoot(&root, &top, false);
  valueUnderRoot.name = u"b";
  valueUnderRoot.path = u"a/";
  CPathHelper valuePath(&valueUnderRoot);
  ASSERT_EQ(valuePath.QueryAllocAbsolutePath(&path), ErrorNone);
  EXPECT_EQ(Text(path), u"/ba/");
  valuePath.FreePath(path);
}

}  // namespace
