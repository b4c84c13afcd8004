#include "lumenTestBuffer.h"

#include <cstring>
#include <numeric>

#include "lumenTestConfig.h"
#include "lumenTestFiles.h"

namespace {

constexpr lumMemOption kKinds[] = {LUMEN_MEM_HEAP, LUMEN_MEM_SHARED, LUMEN_MEM_LIBRARY};

uintptr_t addressOf(const LUMEN_TEST_Buffer& buffer) {
  return reinterpret_cast<uintptr_t>(buffer.data());
}

// Every element its own value, so that a misplaced one shows.
void number(LUMEN_TEST_Buffer& buffer) {
  std::iota(buffer.data(), buffer.data() + buffer.size(), uint8_t{1});
}

// Undoes what a test does to the run's configuration.
struct RestoredConfig {
  const LUMEN_TEST_RunConfig before = lumenTestRunConfig;
  ~RestoredConfig() { lumenTestRunConfig = before; }
};

bool isSameShape(const LUMEN_TEST_Buffer::MemShape_& a, const LUMEN_TEST_Buffer::MemShape_& b) {
  return std::memcmp(&a, &b, sizeof(a)) == 0;
}

}  // namespace

TEST(TestBuffer, GivesZeroedAlignedMemoryOfEachKind) {
  for (const lumMemOption kind : kKinds) {
    LUMEN_TEST_Buffer buffer;
    ASSERT_TRUE(buffer.Shape({7, 3, 1, 1, 4, 2, 4, 0}, kind, true));
    EXPECT_EQ(buffer.size(), 84u);
    EXPECT_EQ(buffer.memOption(), kind);
    EXPECT_EQ(addressOf(buffer) % (kind == LUMEN_MEM_LIBRARY ? 128 : 16), 0u);
    EXPECT_EQ(elementsOf<uint8_t>(buffer), std::vector<uint8_t>(84, 0));
    EXPECT_EQ(buffer.sharedMemRequest(), kind == LUMEN_MEM_SHARED ? 168u : 0u);
  }
}

TEST(TestBuffer, ReuseKeepsALargeEnoughBlockAndClearsWhatIsUsedOfIt) {
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({10, 10, 0, 0, 10, 10, 1, 0}, LUMEN_MEM_HEAP, true));
  std::memset(buffer.data(), 0xaa, 100);
  const uint8_t* block = buffer.data();

  ASSERT_TRUE(buffer.Shape({5, 4, 0, 0, 5, 4, 1, 0}, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(buffer.data(), block);
  EXPECT_EQ(buffer.capacity(), 100u);
  EXPECT_EQ(elementsOf<uint8_t>(buffer), std::vector<uint8_t>(20, 0));
  EXPECT_EQ(block[20], 0xaa);

  // A block of another kind is freed as what it is, whatever the new one shall be.
  ASSERT_TRUE(buffer.Shape({100, 100, 0, 0, 5, 4, 1, 0}, LUMEN_MEM_LIBRARY, true));
  EXPECT_EQ(buffer.memOption(), LUMEN_MEM_LIBRARY);
  ASSERT_TRUE(buffer.Shape({1, 1, 0, 0, 1, 1, 1, 0}, LUMEN_MEM_HEAP, false));
  EXPECT_EQ(buffer.capacity(), 1u);
}

TEST(TestBuffer, TakesShapesWithoutElements) {
  for (const LUMEN_TEST_Buffer::MemShape_ shape :
       {LUMEN_TEST_Buffer::MemShape_{0, 5, 1, 2, 3, 4, 1, 0},
        {5, 0, 1, 2, 3, 4, 1, 0},
        {5, 5, 1, 2, 3, 4, 0, 0}}) {
    LUMEN_TEST_Buffer buffer;
    EXPECT_TRUE(buffer.Shape(shape, LUMEN_MEM_HEAP, true));
    EXPECT_EQ(buffer.size(), 0u);
    EXPECT_TRUE(isSameShape(buffer.shape(), shape));
    EXPECT_EQ(buffer.roi<uint8_t>(), nullptr);
  }
}

TEST(TestBuffer, RefusesImpossibleShapesAndStaysAsItWas) {
  LogCapture log;
  LUMEN_TEST_Buffer buffer;
  const LUMEN_TEST_Buffer::MemShape_ before = {4, 4, 0, 0, -1, -1, 1, 0};
  ASSERT_TRUE(buffer.Shape(before, LUMEN_MEM_HEAP, true));
  number(buffer);
  for (const LUMEN_TEST_Buffer::MemShape_ shape :
       {LUMEN_TEST_Buffer::MemShape_{-1, 4, 0, 0, 0, 0, 1, 0},
        {4, 4, 0, 0, 0, 0, -1, 0},
        {INT32_MAX, INT32_MAX, 0, 0, 0, 0, INT32_MAX, 0},
        {65536, 65536, 0, 0, 0, 0, 1, 0}}) {
    EXPECT_FALSE(buffer.Shape(shape, LUMEN_MEM_HEAP, true));
    EXPECT_EQ(log.take().size(), 1u);
    EXPECT_TRUE(isSameShape(buffer.shape(), before));
    EXPECT_EQ(buffer.data()[15], 16);
  }
}

TEST(TestBuffer, MisalignmentSwitchMovesSharedMemoryOnly) {
  const RestoredConfig restored;
  lumenTestRunConfig.alignToElement = 1;
  for (const lumMemOption kind : kKinds) {
    for (const bool keepAligned : {false, true}) {
      for (const int align : {0, 2}) {
        LUMEN_TEST_Buffer buffer;
        buffer.keepAligned = keepAligned;
        ASSERT_TRUE(buffer.Shape({5, 1, 0, 0, 5, 1, 4, align}, kind, true));
        const bool isMoved = kind == LUMEN_MEM_SHARED && !keepAligned;
        EXPECT_EQ(addressOf(buffer) % 8, isMoved ? (align ? 2u : 4u) : 0u);
        const uint32_t offset = !isMoved ? 0 : align ? 2 : 4;
        EXPECT_EQ(buffer.sharedMemRequest(), kind == LUMEN_MEM_SHARED ? (20 + offset) * 2 : 0);
      }
    }
  }
  // A block that was moved for bytes does not serve floats.
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({64, 1, 0, 0, 64, 1, 1, 0}, LUMEN_MEM_SHARED, true));
  EXPECT_EQ(addressOf(buffer) % 8, 1u);
  ASSERT_TRUE(buffer.Shape({4, 1, 0, 0, 4, 1, 4, 0}, LUMEN_MEM_SHARED, true));
  EXPECT_EQ(addressOf(buffer) % 8, 4u);
}

TEST(TestBuffer, GivesItsRegionOnlyWhereTheMemoryIs) {
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({6, 4, 2, 1, 4, 3, 4, 0}, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(buffer.roi<float>(), reinterpret_cast<float*>(buffer.data()) + 6 + 2);
  EXPECT_EQ(buffer.strideBytes(), 24u);
  EXPECT_EQ(buffer.roi<double>(), nullptr);
  ASSERT_TRUE(buffer.Size(95, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(buffer.roi<float>(), nullptr);
  buffer.Free(LUMEN_MEM_HEAP);
  EXPECT_EQ(buffer.roi<float>(), nullptr);

  ASSERT_TRUE(buffer.Shape({6, 4, -1, -1, -1, -1, 4, 0}, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(buffer.roi<uint8_t>(), buffer.data());
  EXPECT_EQ(buffer.roiWidth(), 6u);
  EXPECT_EQ(buffer.roiHeight(), 4u);

  for (const LUMEN_TEST_Buffer::MemShape_ shape :
       {LUMEN_TEST_Buffer::MemShape_{6, 4, 3, 1, 4, 3, 1, 0},
        {6, 4, 2, 2, 4, 3, 1, 0},
        {6, 4, -2, 0, 4, 3, 1, 0},
        {6, 4, INT32_MAX, 0, INT32_MAX, 3, 1, 0}}) {
    ASSERT_TRUE(buffer.Shape(shape, LUMEN_MEM_HEAP, true));
    EXPECT_EQ(buffer.roi<uint8_t>(), nullptr);
  }
}

TEST(AddStride, KeepsTheRegionAndClearsTheRest) {
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({3, 3, 1, 1, 2, 1, 2, 0}, LUMEN_MEM_HEAP, true));
  number(buffer);
  const short* old = buffer.roi<short>();
  const std::vector<short> region(old, old + 2);

  ASSERT_EQ(LUMEN_TEST_AddStrideToBuffer<short>(buffer, 5, LUMEN_MEM_HEAP, true), 0);
  const LUMEN_TEST_Buffer::MemShape_ wanted = {5, 3, 1, 1, 2, 1, 2, 0};
  EXPECT_TRUE(isSameShape(buffer.shape(), wanted));
  std::vector<short> expected(15, 0);
  expected[6] = region[0];
  expected[7] = region[1];
  EXPECT_EQ(elementsOf<short>(buffer), expected);

  EXPECT_EQ(LUMEN_TEST_AddStrideToBuffer<short>(buffer, 5, LUMEN_MEM_HEAP, false), 0);
  EXPECT_EQ(elementsOf<short>(buffer), expected);
  EXPECT_EQ(LUMEN_TEST_AddStrideToBuffer<short>(buffer, 6, LUMEN_MEM_HEAP, false), 0);
  EXPECT_EQ(elementsOf<short>(buffer), std::vector<short>(18, 0));
}

TEST(AddStride, KeepsWholeRowsAndWholePixels) {
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({2, 2, 0, 0, -1, -1, 3, 0}, LUMEN_MEM_HEAP, true));
  number(buffer);
  ASSERT_EQ(LUMEN_TEST_AddStrideToBuffer<unsigned char>(buffer, 3, LUMEN_MEM_HEAP, true), 0);
  EXPECT_EQ(elementsOf<int8_t>(buffer), (std::vector<int8_t>{1, 2, 3, 4, 5, 6, 0, 0, 0,  //
                                                             7, 8, 9, 10, 11, 12, 0, 0, 0}));
}

TEST(AddStride, LeavesAloneWhatItCannotCopyAndReleasesWhatItCannotShape) {
  LogCapture log;
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({4, 2, 2, 0, 4, 2, 1, 0}, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(LUMEN_TEST_AddStrideToBuffer<signed char>(buffer, 9, LUMEN_MEM_HEAP, true), 1);
  EXPECT_EQ(buffer.shape().stride, 4);
  ASSERT_TRUE(buffer.Shape({4, 2, 0, 0, 4, 2, 2, 0}, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(LUMEN_TEST_AddStrideToBuffer<int>(buffer, 9, LUMEN_MEM_HEAP, true), 1);
  EXPECT_EQ(log.take().size(), 2u);
  EXPECT_EQ(LUMEN_TEST_AddStrideToBuffer<short>(buffer, INT32_MAX, LUMEN_MEM_HEAP, true), 1);
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(buffer.shape().stride, 0);
}

TEST(CreateStrided, CopiesTheRegionToLongerRows) {
  LUMEN_TEST_Buffer src, dst;
  ASSERT_TRUE(src.Shape({3, 2, 1, 0, 2, 2, 1, 0}, LUMEN_MEM_HEAP, true));
  number(src);
  ASSERT_EQ(LUMEN_TEST_CreateStridedBuffer<unsigned char>(src, 4, LUMEN_MEM_LIBRARY, dst), 0);
  EXPECT_EQ(elementsOf<uint8_t>(dst), (std::vector<uint8_t>{0, 2, 3, 0, 0, 5, 6, 0}));
  ASSERT_EQ(LUMEN_TEST_CreateStridedBuffer<unsigned char>(src, 1, LUMEN_MEM_LIBRARY, dst), 0);
  EXPECT_EQ(dst.shape().stride, 3);
  EXPECT_EQ(elementsOf<uint8_t>(src), (std::vector<uint8_t>{1, 2, 3, 4, 5, 6}));

  LogCapture log;
  ASSERT_TRUE(src.Shape({3, 2, 2, 0, 2, 2, 1, 0}, LUMEN_MEM_HEAP, true));
  EXPECT_EQ(LUMEN_TEST_CreateStridedBuffer<unsigned char>(src, 4, LUMEN_MEM_LIBRARY, dst), 1);
  EXPECT_EQ(dst.data(), nullptr);
}

TEST(TestMemory, SharedBlocksCarryTheirHeaderBelow) {
  for (const lumMemOption kind : kKinds) {
    void* ptr = LUMEN_TEST_MemAlloc(100, kind);
    ASSERT_NE(ptr, nullptr);
    std::memset(ptr, 0xff, 100);
    if (kind == LUMEN_MEM_SHARED) {
      const uintptr_t* header = static_cast<uintptr_t*>(ptr) - 8;
      EXPECT_EQ(header[0], 0u);
      EXPECT_EQ(header[1], reinterpret_cast<uintptr_t>(header));
      EXPECT_EQ(header[2], (100 + 8 * sizeof(void*)) * 2);
      EXPECT_EQ(header[3], 0u);
      EXPECT_EQ(header[4], 0u);
    }
    LUMEN_TEST_MemFree(ptr, kind);
    LUMEN_TEST_MemFree(nullptr, kind);
  }
  EXPECT_EQ(LUMEN_TEST_MemAlloc(1, static_cast<lumMemOption>(3)), nullptr);
}

TEST(TestMemory, SharedRequestsBeyond32BitsFailAloud) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(LUMEN_TEST_MemAlloc(0x7fffffff, LUMEN_MEM_SHARED), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Failed to Allocate ION Memory !!!\n");
}

namespace {
std::vector<std::pair<void*, int>> flushed;
}

TEST(Flush, CallsTheStubInOrderWhenBothAreThere) {
  const RestoredConfig restored;
  char a, b;
  const auto flush = [&] { LUMEN_TEST_Buffer_Flush_Invalidate(2, &b, 20, &a, 10); };
  lumenTestRunConfig.cacheFlush = 1;
  flush();
  lumenTestRunConfig.flushFn = [](void* data, int bytes) { flushed.emplace_back(data, bytes); };
  lumenTestRunConfig.cacheFlush = 0;
  flush();
  lumenTestRunConfig.cacheFlush = 1;
  LUMEN_TEST_Buffer_Flush_Invalidate(0);
  EXPECT_TRUE(flushed.empty());
  flush();
  EXPECT_EQ(flushed, (std::vector<std::pair<void*, int>>{{&b, 20}, {&a, 10}}));

  flushed.clear();
  LUMEN_TEST_Buffer buffer;
  ASSERT_TRUE(buffer.Shape({3, 3, 0, 0, 3, 3, 4, 0}, LUMEN_MEM_HEAP, true));
  LUMEN_TEST_FlushBuffers(buffer, buffer);
  EXPECT_EQ(flushed, (std::vector<std::pair<void*, int>>(2, {buffer.data(), 36})));
}
