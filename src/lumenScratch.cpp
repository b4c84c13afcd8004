#include "lumenScratch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

constinit lumScratchAllocators LUM_SCRATCH = {
    lumGetScratchBufferAligned, lumGetScratchBufferUnaligned, lumReleaseScratchBuffer};

namespace {

struct Slot {
  void* raw;
  uint32_t rawSize;
  uint8_t* user;      // what is handed out, inside the raw block
  uint32_t capacity;  // the largest request that the block was made for
  // Set while the buffer is lent. A getter claims the slot by setting it and never waits; another
  // thread than the getter's may clear it, which a mutex would not allow.
  std::atomic<uint32_t> inUse;
};

Slot slots[LUM_SCRATCH_SLOTS];
std::atomic<bool> poolRunning;

bool claim(Slot& slot) {
  return slot.inUse.load(std::memory_order_relaxed) == 0 &&
         slot.inUse.exchange(1, std::memory_order_acquire) == 0;
}

void giveBack(Slot& slot) {
  slot.inUse.store(0, std::memory_order_release);
  slot.inUse.notify_one();
}

struct Header {
  lumScratchWord guard;
  lumScratchWord owner;
};
constexpr uint32_t kHeaderSize = sizeof(Header);

// The header is copied, since a user pointer may have any alignment.
void writeHeader(uint8_t* user, lumScratchWord guard, const void* owner) {
  const Header header = {guard, reinterpret_cast<lumScratchWord>(owner)};
  std::memcpy(user - kHeaderSize, &header, kHeaderSize);
}

// The size of a raw block, and where its user pointer lies. Alignment 1 lies right behind the
// header.
struct Layout {
  explicit Layout(uint32_t nBytes, uint32_t alignment)
      : mask(alignment - 1), bytes(uint64_t{nBytes} + mask + kHeaderSize) {}

  bool isTooLarge() const { return bytes > UINT32_MAX; }
  // The first address behind the header from which rounding down cannot reach into it.
  uintptr_t limit(const void* raw) const {
    return reinterpret_cast<uintptr_t>(raw) + mask + kHeaderSize;
  }
  uint64_t offset(const void* raw) const {
    return (limit(raw) & ~mask) - reinterpret_cast<uintptr_t>(raw);
  }
  uint8_t* user(void* raw) const {
    return static_cast<uint8_t*>(raw) + static_cast<size_t>(offset(raw));
  }
  bool isAligned(const void* ptr) const { return (reinterpret_cast<uintptr_t>(ptr) & mask) == 0; }

  uintptr_t mask;
  uint64_t bytes;
};

void* getFromHeap(const Layout& layout) {
  void* raw = layout.isTooLarge() ? nullptr : std::malloc(static_cast<size_t>(layout.bytes));
  if (!raw) return nullptr;
  uint8_t* user = layout.user(raw);
  writeHeader(user, LUM_SCRATCH_HEAP, raw);
  return user;
}

// Makes a taken slot's buffer fit the request; false when there is no memory for it.
bool fit(Slot& slot, uint32_t nBytes, const Layout& layout) {
  if (slot.capacity >= nBytes && slot.user) {
    if (layout.isAligned(slot.user)) return true;
    // A size is compared with an address here, so that re-aligning in place hardly ever happens and
    // the buffer gets a fresh block; it does so too when what was promised would no longer fit.
    if (slot.rawSize >= layout.limit(slot.raw) &&
        layout.offset(slot.raw) + slot.capacity <= slot.rawSize) {
      slot.user = layout.user(slot.raw);
      writeHeader(slot.user, LUM_SCRATCH_POOLED, &slot);
      return true;
    }
  }
  void* raw = layout.isTooLarge() ? nullptr : std::malloc(static_cast<size_t>(layout.bytes));
  if (!raw) return false;
  std::free(slot.raw);
  slot.raw = raw;
  slot.rawSize = static_cast<uint32_t>(layout.bytes);
  slot.capacity = nBytes;
  slot.user = layout.user(raw);
  writeHeader(slot.user, LUM_SCRATCH_POOLED, &slot);
  return true;
}

void* get(uint32_t nBytes, uint32_t alignment) {
  const Layout layout(nBytes, alignment);
  if (!poolRunning) return getFromHeap(layout);
  for (Slot& slot : slots) {
    if (!claim(slot)) continue;
    if (fit(slot, nBytes, layout)) return slot.user;
    giveBack(slot);
    return nullptr;
  }
  return nullptr;
}

}  // namespace

void lumSetUpScratchPool() { poolRunning = true; }

void lumTakeDownScratchPool() {
  poolRunning = false;
  for (Slot& slot : slots) {
    while (!claim(slot)) slot.inUse.wait(1);
    std::free(slot.raw);
    slot.raw = nullptr;
    slot.rawSize = 0;
    slot.user = nullptr;
    slot.capacity = 0;
    giveBack(slot);
  }
}

void* lumGetScratchBufferAligned(uint32_t nBytes, uint32_t byteAlignment) {
  const bool isPowerOfTwo = byteAlignment != 0 && (byteAlignment & (byteAlignment - 1)) == 0;
  return get(nBytes, isPowerOfTwo ? byteAlignment : 1);
}

void* lumGetScratchBufferUnaligned(uint32_t nBytes) { return get(nBytes, 1); }

void lumReleaseScratchBuffer(void* ptr) {
  if (!ptr) return;
  Header header;
  std::memcpy(&header, static_cast<uint8_t*>(ptr) - kHeaderSize, kHeaderSize);
  if (header.guard == LUM_SCRATCH_POOLED) {
    giveBack(*reinterpret_cast<Slot*>(header.owner));
  } else if (header.guard == LUM_SCRATCH_HEAP) {
    std::free(reinterpret_cast<void*>(header.owner));
  }
}
