// Aligned blocks, the count of those who use the scratch pool, and what the shared build replaces.

#include "lumen/lumenMem.h"

#include <cstring>
#include <thread>

#include "lumenScratch.h"
#include "lumenTestSupport.h"

namespace {

lumScratchWord guardOf(const void* scratch) {
  lumScratchWord word;
  std::memcpy(&word, static_cast<const uint8_t*>(scratch) - 2 * sizeof(word), sizeof(word));
  return word;
}

// Whether scratch memory comes from the pool.
bool poolRuns() {
  const lumScratch<uint8_t> scratch(8);
  return guardOf(scratch.data()) == LUM_SCRATCH_POOLED;
}

TEST(Mem, AlignsBlocks) {
  for (uint32_t alignment = 1; alignment <= 128; alignment *= 2) {
    for (uint32_t bytes : {0u, 1u, 100u, 4096u}) {
      auto* block = static_cast<uint8_t*>(lumMemAlloc(bytes, alignment));
      ASSERT_TRUE(block);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0u);
      EXPECT_GE(block[-1], 2u);
      EXPECT_LE(block[-1], alignment + 1);
      std::memset(block, 0xA5, bytes);
      lumMemFree(block);
    }
  }
  lumMemFree(nullptr);
}

TEST(Mem, RefusesWhatItCannotAlign) {
  for (uint32_t alignment : {0u, 3u, 24u, 129u, 256u, 0x80000000u}) {
    EXPECT_EQ(lumMemAlloc(100, alignment), nullptr) << alignment;
  }
  if constexpr (sizeof(void*) == 4) {
    EXPECT_EQ(lumMemAlloc(UINT32_MAX, 1), nullptr);
    EXPECT_EQ(lumMemAlloc(UINT32_MAX - 128, 128), nullptr);
  }
}

TEST(Mem, CountsThoseWhoUseThePool) {
  for (int cycle = 0; cycle < 2; ++cycle) {
    EXPECT_FALSE(poolRuns());
    lumMemInit();
    lumMemInitPreAlloc(0);
    lumMemDeInit();
    EXPECT_TRUE(poolRuns());
    lumMemDeInit();
    EXPECT_FALSE(poolRuns());
    lumMemDeInit();  // more often than there were beginnings: the next one counts all the same
  }
}

TEST(Mem, JoinsAndLeavesFromAnyThread) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 6; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 200; ++round) {
        lumMemInit();
        EXPECT_TRUE(poolRuns());
        lumMemDeInit();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_FALSE(poolRuns());
}

TEST(Mem, WarmsOneScratchBuffer) {
  constexpr uint32_t kMax = 33177600;
  lumMemInitPreAlloc(100);
  uint8_t* small = lumScratch<uint8_t>(100, 16).data();
  std::memset(small, 0xFF, 100);
  EXPECT_EQ(lumScratch<uint8_t>(100, 16).data(), small);
  lumMemInitPreAlloc(100);  // zeroes
  EXPECT_EQ(std::count(small, small + 100, 0), 100);

  // A frame of 7680 x 4320 and no byte more: what is larger takes a fresh block.
  lumMemInitPreAlloc(100000000);
  uint8_t* frame = lumScratch<uint8_t>(100, 16).data();
  EXPECT_EQ(lumScratch<uint8_t>(kMax, 16).data(), frame);
  EXPECT_NE(lumScratch<uint8_t>(kMax + 1, 16).data(), frame);
  for (int i = 0; i < 3; ++i) lumMemDeInit();
}

class SharedMem : public testing::Test {
 protected:
  void SetUp() override { LUM_NEEDS_OWN_PROCESS(); }
};

TEST_F(SharedMem, ReplacesTheScratchAllocators) {
  lumStandinState& build = lumLoadSharedBuild("full");
  build.components = 0;
  lumAvailableHardware(LUMEN_OP_LOW_POWER);
  lumMemInit();  // without a unit the shared build is not asked
  EXPECT_EQ(build.memInits, 0u);
  EXPECT_TRUE(poolRuns());
  lumMemDeInit();

  build.components = LUMEN_UNIT_GPU;
  lumAvailableHardware(LUMEN_OP_LOW_POWER);
  lumMemInitPreAlloc(100000000);
  EXPECT_EQ(build.memInits, 1u);
  EXPECT_EQ(build.scratchBytes, 33177600u);
  EXPECT_EQ(build.scratchAlignment, 16u);
  lumMemInitPreAlloc(0);
  EXPECT_EQ(build.memInits, 2u);
  EXPECT_EQ(build.scratchGets, 1u);
  LUM_SCRATCH.release(LUM_SCRATCH.getUnaligned(77));
  EXPECT_EQ(build.scratchBytes, 77u);
  EXPECT_EQ(build.scratchReleases, 2u);
  lumMemDeInit();
  lumMemDeInit();
  EXPECT_EQ(build.memDeInits, 2u);

  lumCleanUp();  // no units any more: its functions are not called, its allocators stay
  lumMemInit();
  EXPECT_EQ(build.memInits, 2u);
  { const lumScratch<uint32_t> scratch(5); }
  EXPECT_EQ(build.scratchGets, 3u);
  EXPECT_EQ(build.scratchReleases, 3u);
  lumMemDeInit();
  EXPECT_EQ(build.memDeInits, 2u);
}

TEST_F(SharedMem, ServesAlignedBlocksWhenBothFunctionsAreThere) {
  lumStandinState& build = lumLoadSharedBuild("full");
  lumAvailableHardware(LUMEN_OP_LOW_POWER);
  void* device = lumMemAlloc(100, 64);
  EXPECT_EQ(build.sharedAllocs, 1u);
  build.servesSharedMem = false;
  void* heap = lumMemAlloc(100, 64);
  EXPECT_EQ(build.sharedAllocs, 2u);
  ASSERT_TRUE(heap);
  EXPECT_NE(heap, device);
  lumMemFree(device);
  lumMemFree(heap);  // not the shared build's: goes back to the heap
  EXPECT_EQ(build.sharedFrees, 2u);
  EXPECT_EQ(lumMemAlloc(100, 3), nullptr);

  LUM_SHARED_MEM.free = nullptr;
  lumMemFree(lumMemAlloc(100, 64));
  EXPECT_EQ(build.sharedAllocs, 2u);
  EXPECT_EQ(build.sharedFrees, 2u);
}

TEST_F(SharedMem, TakesASharedBuildWithoutAllocators) {
  lumLoadSharedBuild("old");
  lumAvailableHardware(LUMEN_OP_LOW_POWER);
  EXPECT_TRUE(LUM_DSP_FLAGS.any());
  lumMemInit();
  EXPECT_TRUE(poolRuns());
  lumMemDeInit();
  lumMemFree(lumMemAlloc(10, 8));
}

// One who leaves while others stay closes the handle that lumMemInit opened; the last one does not.
TEST_F(SharedMem, ClosesItsHandle) {
  const std::string path = lumStandinPath("bare", LUM_SHARED_BUILD);
  const auto isLoaded = [&] {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle) dlclose(handle);
    return handle != nullptr;
  };
  void* handle = dlopen(path.c_str(), RTLD_NOW);
  LUM_DSP_FLAGS = {.zdsp = true, .gpu = false};
  lumMemInit();
  dlclose(handle);
  EXPECT_TRUE(isLoaded());
  lumMemDeInit();
  EXPECT_TRUE(isLoaded());
  lumMemInit();
  lumMemInit();
  lumMemDeInit();
  EXPECT_FALSE(isLoaded());
  lumMemDeInit();
  lumMemDeInit();
}

}  // namespace
