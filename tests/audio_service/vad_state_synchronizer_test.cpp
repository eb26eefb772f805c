#include "audio_service/vad_state_synchronizer.h"

#include <gtest/gtest.h>

namespace {

using namespace Platform;

TEST(VADStateSynchronizerTest, AnswersUnknownAndNotificationClientOnly) {
  VADStateSynchronizer synchronizer;
  void* object = nullptr;
  EXPECT_EQ(synchronizer.QueryInterface(IID_IUnknown, &object), S_OK);
  EXPECT_EQ(object, static_cast<IMMNotificationClient*>(&synchronizer));
  EXPECT_EQ(synchronizer.QueryInterface(IID_IMMNotificationClient, &object), S_OK);
  EXPECT_EQ(synchronizer.QueryInterface(IID_IMarshal, &object), E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(synchronizer.QueryInterface(IID_IAgileObject, &object), E_NOINTERFACE);
  EXPECT_EQ(synchronizer.Release(), 2u);
  EXPECT_EQ(synchronizer.Release(), 1u);
}

TEST(VADStateSynchronizerTest, NullOutPointerGivesPointerError) {
  VADStateSynchronizer synchronizer;
  EXPECT_EQ(synchronizer.QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

}  // namespace
