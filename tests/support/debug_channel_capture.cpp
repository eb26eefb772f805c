#include "tests/support/debug_channel_capture.h"

#include "platform/debug_channel.h"

namespace Testing {

DebugChannelCapture::DebugChannelCapture() { Platform::SetDebugChannelHook(&OnWrite, this); }

DebugChannelCapture::~DebugChannelCapture() { Platform::SetDebugChannelHook(nullptr, nullptr); }

void DebugChannelCapture::OnWrite(void* context, const char* text) {
  auto* self = static_cast<DebugChannelCapture*>(context);
  std::lock_guard<std::mutex> lock(self->m_mutex);
  self->m_writes.emplace_back(text);
}

std::vector<std::string> DebugChannelCapture::Writes() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  return m_writes;
}

std::string DebugChannelCapture::Text() const {
  std::lock_guard<std::mutex> lock(m_mutex);
  std::string text;
  for (const std::string& write : m_writes) text += write;
  return text;
}

void DebugChannelCapture::Clear() {
  std::lock_guard<std::mutex> lock(m_mutex);
  m_writes.clear();
}

}  // namespace Testing
