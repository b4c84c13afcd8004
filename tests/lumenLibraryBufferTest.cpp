// The library's owning buffer, in each kind of memory.

#include "lumenBuffer.h"

#include <cstring>

#include "lumenTestSupport.h"

namespace {

TEST(LibraryBuffer, KeepsOrReplacesItsBlock) {
  for (const lumMemOption option : {LUMEN_MEM_HEAP, LUMEN_MEM_SHARED, LUMEN_MEM_LIBRARY}) {
    SCOPED_TRACE(option);
    lumBuffer buffer;
    EXPECT_EQ(buffer.data(), nullptr);
    ASSERT_EQ(buffer.Size(100, option, false), 1);
    uint8_t* data = buffer.data();
    EXPECT_EQ(buffer.memOption(), option);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % (option == LUMEN_MEM_LIBRARY ? 128 : 16), 0u);
    std::memset(data, 0xA5, 100);

    EXPECT_EQ(buffer.Size(50, option, true), 1);
    EXPECT_EQ(buffer.data(), data);
    EXPECT_EQ(buffer.size(), 50u);
    EXPECT_EQ(buffer.capacity(), 100u);
    EXPECT_EQ(buffer.Size(100, option, true), 1);
    EXPECT_EQ(buffer.data()[99], 0xA5);
    EXPECT_EQ(buffer.Size(40, option, false), 1);
    EXPECT_EQ(buffer.capacity(), 40u);
    EXPECT_EQ(buffer.Size(41, option, true), 1);
    EXPECT_EQ(buffer.capacity(), 41u);

    const uint8_t source[64] = {1, 2, 3};
    EXPECT_EQ(buffer.Set(source, 64, option, false), 1);
    EXPECT_EQ(std::memcmp(buffer.data(), source, 64), 0);
    EXPECT_EQ(buffer.Set(nullptr, 64, option, true), 1);  // sizes without copying
    EXPECT_EQ(buffer.data()[2], 3);

    EXPECT_EQ(buffer.Size(0, option, true), 1);
    EXPECT_EQ(buffer.Set(source, 0, option, false), 1);
    EXPECT_EQ(buffer.capacity(), 0u);
    buffer.Free(option);
    buffer.Free(option);
    EXPECT_EQ(buffer.data(), nullptr);
    EXPECT_EQ(buffer.size(), 0u);
  }
}

TEST(LibraryBuffer, RefusesOtherKinds) {
  lumBuffer buffer;
  const auto kNone = static_cast<lumMemOption>(3);
  EXPECT_EQ(buffer.Set("abc", 3, kNone, false), 0);
  EXPECT_EQ(buffer.Size(3, kNone, true), 0);
  EXPECT_EQ(buffer.commonSize(3, LUMEN_MEM_LIBRARY, false, 0), 0);
  EXPECT_EQ(buffer.capacity(), 0u);

  // Always the library's memory, the old block freed by the way that is named.
  EXPECT_EQ(buffer.Size(10, LUMEN_MEM_HEAP, false), 1);
  EXPECT_EQ(buffer.sharedMemSize(20, LUMEN_MEM_HEAP, false), 1);
  EXPECT_EQ(buffer.memOption(), LUMEN_MEM_LIBRARY);
  buffer.sharedMemFree(LUMEN_MEM_LIBRARY);
}

TEST(LibraryBuffer, AsksForSharedMemory) {
  LUM_NEEDS_OWN_PROCESS();
  auto& nexcall =
      lumLoadStandin<lumStandinNexcallState>("nexcall", "libnexcall.so", "lumStandinNexcall");
  lumBuffer buffer;
  ASSERT_EQ(buffer.Size(100, LUMEN_MEM_SHARED, false, 3), 1);
  EXPECT_EQ(nexcall.heap, 25);
  EXPECT_EQ(nexcall.flags, 1u);
  EXPECT_EQ(nexcall.bytes, 206);
  EXPECT_EQ(buffer.sharedMemRequest(), 206u);
  EXPECT_EQ(buffer.data(), static_cast<uint8_t*>(nexcall.block) + 3);
  void* first = nexcall.block;

  EXPECT_EQ(buffer.Size(101, LUMEN_MEM_SHARED, true), 1);
  EXPECT_EQ(nexcall.freed, first);
  EXPECT_EQ(nexcall.bytes, 202);
  EXPECT_EQ(buffer.Set("x", 1, LUMEN_MEM_SHARED, true), 1);
  EXPECT_EQ(nexcall.allocs, 2u);

  nexcall.fails = true;
  for (uint32_t size : {200u, 0x40000000u, UINT32_MAX}) {  // two of them more than can be asked for
    testing::internal::CaptureStdout();
    EXPECT_EQ(buffer.Size(size, LUMEN_MEM_SHARED, true), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Failed to Allocate ION Memory !!!\n");
    EXPECT_EQ(buffer.size(), size);
    EXPECT_EQ(buffer.capacity(), 0u);
    EXPECT_EQ(buffer.data(), nullptr);
  }
  EXPECT_EQ(nexcall.allocs, 3u);
  buffer.Free(LUMEN_MEM_SHARED);
  EXPECT_EQ(nexcall.frees, 2u);
}

}  // namespace
