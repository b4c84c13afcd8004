// Scratch buffers: the pool's 32 slots, and the heap without it.

#include "lumenScratch.h"

#include <atomic>
#include <cstring>
#include <future>
#include <set>
#include <thread>

#include "lumen/lumenMem.h"
#include "lumenTestSupport.h"

namespace {

constexpr size_t kHeader = 2 * sizeof(lumScratchWord);

struct Header {
  lumScratchWord guard, owner;
};
Header headerOf(const void* scratch) {
  Header header;
  std::memcpy(&header, static_cast<const uint8_t*>(scratch) - kHeader, kHeader);
  return header;
}

// The address of a buffer that is given back at once.
void* lentOnce(uint32_t bytes, uint32_t alignment) {
  void* scratch = lumGetScratchBufferAligned(bytes, alignment);
  lumReleaseScratchBuffer(scratch);
  return scratch;
}

class ScratchPool : public testing::Test {
 protected:
  void SetUp() override { lumMemInit(); }
  void TearDown() override { lumMemDeInit(); }
};

TEST(Scratch, ComesFromTheHeapWithoutThePool) {
  std::vector<void*> lent;
  for (uint32_t alignment : {0u, 1u, 8u, 24u, 4096u}) {
    for (uint32_t bytes : {0u, 1u, 1000u}) {
      void* scratch = lumGetScratchBufferAligned(bytes, alignment);
      ASSERT_TRUE(scratch);
      const bool counts = alignment % 24 != 0;
      EXPECT_EQ(reinterpret_cast<uintptr_t>(scratch) % (counts ? alignment : 1), 0u);
      const Header header = headerOf(scratch);
      EXPECT_EQ(header.guard, LUM_SCRATCH_HEAP);
      EXPECT_LE(header.owner + kHeader, reinterpret_cast<uintptr_t>(scratch));
      std::memset(scratch, 0xA5, bytes);
      lent.push_back(scratch);
    }
  }
  for (int i = 0; i < 40; ++i) lent.push_back(lumGetScratchBufferUnaligned(16));
  EXPECT_EQ(headerOf(lent.back()).owner + kHeader, reinterpret_cast<uintptr_t>(lent.back()));
  for (void* scratch : lent) lumReleaseScratchBuffer(scratch);
  EXPECT_EQ(lumGetScratchBufferUnaligned(UINT32_MAX), nullptr);
  EXPECT_EQ(lumGetScratchBufferAligned(UINT32_MAX - 100, 128), nullptr);

  alignas(16) uint8_t foreign[64] = {};
  lumReleaseScratchBuffer(foreign + kHeader);
  lumReleaseScratchBuffer(nullptr);
}

TEST_F(ScratchPool, LendsThirtyTwoBuffers) {
  std::set<void*> lent;
  for (uint32_t i = 0; i < LUM_SCRATCH_SLOTS; ++i) lent.insert(lumGetScratchBufferUnaligned(100));
  EXPECT_EQ(lent.size(), LUM_SCRATCH_SLOTS);
  EXPECT_FALSE(lent.contains(nullptr));
  EXPECT_EQ(lumGetScratchBufferUnaligned(1), nullptr);
  EXPECT_EQ(lumGetScratchBufferAligned(1, 16), nullptr);

  void* any = *std::next(lent.begin(), 10);
  EXPECT_EQ(headerOf(any).guard, LUM_SCRATCH_POOLED);
  lumReleaseScratchBuffer(any);
  EXPECT_EQ(lumGetScratchBufferUnaligned(60), any);
  for (void* scratch : lent) lumReleaseScratchBuffer(scratch);
}

TEST_F(ScratchPool, KeepsBlocksAndGrowsThem) {
  void* first = lentOnce(1000, 1);
  EXPECT_EQ(lentOnce(1000, 1), first);
  EXPECT_EQ(lentOnce(0, 24), first);  // no power of two counts as 1
  EXPECT_EQ(lentOnce(3, 0), first);
  void* grown = lentOnce(1001, 1);
  EXPECT_NE(grown, first);

  // Nothing is lost to a request that cannot be met.
  EXPECT_EQ(lumGetScratchBufferUnaligned(UINT32_MAX), nullptr);
  EXPECT_EQ(lumGetScratchBufferAligned(UINT32_MAX - 64, 64), nullptr);
  EXPECT_EQ(lentOnce(1001, 1), grown);

  // A block that is aligned already is kept; another gets a fresh one of the size asked for.
  void* aligned = lentOnce(500, 1 << 16);
  EXPECT_NE(aligned, grown);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(aligned) % (1 << 16), 0u);
  EXPECT_EQ(lentOnce(500, 64), aligned);
  EXPECT_NE(lentOnce(501, 1), aligned);
}

TEST_F(ScratchPool, AlignsBuffers) {
  for (uint32_t alignment = 1; alignment <= 8192; alignment *= 2) {
    const lumScratch<uint8_t> a(300, alignment), b(alignment, alignment);
    for (const auto* scratch : {&a, &b}) {
      ASSERT_TRUE(*scratch);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(scratch->data()) % alignment, 0u);
      EXPECT_EQ(headerOf(scratch->data()).guard, LUM_SCRATCH_POOLED);
    }
    std::memset(a.data(), 0xA5, 300);
    std::memset(b.data(), 0x5A, alignment);
    EXPECT_EQ(std::count(a.data(), a.data() + 300, 0xA5), 300);
  }
}

TEST_F(ScratchPool, TakesBuffersBackFromOtherThreads) {
  for (int round = 0; round < 3; ++round) {
    std::vector<void*> lent(LUM_SCRATCH_SLOTS);
    for (void*& scratch : lent) scratch = lumGetScratchBufferAligned(64, 32);
    std::thread([&] {
      for (void* scratch : lent) lumReleaseScratchBuffer(scratch);
    }).join();
    EXPECT_THAT(lent, testing::Each(testing::NotNull()));
  }
}

// Threads that want more buffers than there are: no buffer is lent twice at a time.
TEST_F(ScratchPool, SharesItsBuffersAmongThreads) {
  std::atomic<uint32_t> refusals = 0, spoiled = 0, total = 0;
  std::vector<std::thread> threads;
  for (uint32_t id = 0; id < 8; ++id) {
    threads.emplace_back([&, id] {
      for (uint32_t round = 0; round < 300; ++round) {
        uint32_t* lent[6];
        for (uint32_t i = 0; i < 6; ++i) {
          const uint32_t bytes = 64 * (1 + (id + round + i) % 5);
          lent[i] = static_cast<uint32_t*>(lumGetScratchBufferAligned(bytes, 16u << (round % 3)));
          if (!lent[i]) ++refusals;
          else std::fill_n(lent[i], bytes / 4, id * 100 + i);
        }
        std::this_thread::yield();
        for (uint32_t i = 0; i < 6; ++i) {
          if (!lent[i]) continue;
          ++total;
          spoiled += std::count(lent[i], lent[i] + 16, id * 100 + i) != 16;
          lumReleaseScratchBuffer(lent[i]);
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(spoiled, 0u);
  EXPECT_EQ(total + refusals, 8u * 300 * 6);
  EXPECT_GE(total, 300u * 6);
}

TEST(Scratch, OutlivesItsLastUserWhileABufferIsLent) {
  lumMemInit();
  void* scratch = lumGetScratchBufferUnaligned(100);
  auto end = std::async(std::launch::async, lumMemDeInit);
  EXPECT_EQ(end.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
  std::memset(scratch, 1, 100);
  lumReleaseScratchBuffer(scratch);
  EXPECT_EQ(end.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  const lumScratch<double> heap(8);
  EXPECT_EQ(headerOf(heap.data()).guard, LUM_SCRATCH_HEAP);
}

}  // namespace
