// The five handlers of the native registry types.
#pragma once

#include <cstdint>

#include "platform/registry.h"
#include "storage_system/registry/type_io_handler.h"

namespace StorageSystem::Registry {

// Read and Write of the registry type N; M is 1 for a variable-size type and 0 for a fixed one.
// Read restricts RegGetValueW to type N and reports a value whose type changed under it.
template <Platform::DWORD N, int M>
class ATypeIOHandlerBase : public ITypeIOHandler {
public:
  [[nodiscard]] ErrorCode Read(const ValueLocation& location, void* destination, std::uint32_t capacity) override;
  [[nodiscard]] ErrorCode Write(const ValueLocation& location, const void* data, std::uint32_t size) override;
};

// A variable-size type (REG_SZ, REG_BINARY, REG_MULTI_SZ as raw data): ReadRealloc grows the
// caller's block to a power of two of at least 64 bytes, round by round until the value fits.
template <Platform::DWORD N>
class CVarSizeIOHandler : public ATypeIOHandlerBase<N, 1> {
public:
  [[nodiscard]] ErrorCode ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                      std::uint32_t* size) override;
};

// A fixed-size type (REG_DWORD, REG_QWORD): ReadRealloc gives a block of the type's size when the
// caller's is too small, and leaves `*capacity` as it was.
template <Platform::DWORD N>
class CFixedSizeIOHandler : public ATypeIOHandlerBase<N, 0> {
public:
  [[nodiscard]] ErrorCode ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                      std::uint32_t* size) override;
};

// REG_MULTI_SZ as a null-terminated array of wide strings in one block: pointers first, then the
// characters. It can only be read with allocation; writing joins the strings up to the first null
// or empty one.
class CMultiSZIOHandler : public ITypeIOHandler {
public:
  explicit CMultiSZIOHandler(ITypeIOHandler* raw) : m_raw(raw) {}

  [[nodiscard]] ErrorCode Read(const ValueLocation& location, void* destination, std::uint32_t capacity) override;
  [[nodiscard]] ErrorCode ReadRealloc(const ValueLocation& location, void** buffer, std::uint32_t* capacity,
                                      std::uint32_t* size) override;
  [[nodiscard]] ErrorCode Write(const ValueLocation& location, const void* data, std::uint32_t size) override;

private:
  // The variable-size handler of REG_MULTI_SZ, which moves the raw data.
  ITypeIOHandler* const m_raw;
};

}  // namespace StorageSystem::Registry
