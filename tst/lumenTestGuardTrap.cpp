#include "lumenTestGuardTrap.h"

#include <pthread.h>
#include <setjmp.h>
#include <signal.h>
#include <ucontext.h>

#if defined(__aarch64__)
#include <asm/sigcontext.h>

#include <cstring>
#endif

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS};

struct Trap {
  sigjmp_buf back;
  pthread_t thread;
  volatile sig_atomic_t isSet;
  volatile LUMEN_TEST_Fault fault;
  struct sigaction before[2];
};
Trap trap;

// The handler must have a stack of its own where the call has used up the usual one.
alignas(16) unsigned char handlerStack[64 << 10];

#if defined(__x86_64__)
LUMEN_TEST_Access accessOf(const ucontext_t& context) {
  constexpr greg_t kPageFault = 14, kIsWrite = 1 << 1;
  if (context.uc_mcontext.gregs[REG_TRAPNO] != kPageFault) return LUMEN_TEST_Access::unknown;
  return context.uc_mcontext.gregs[REG_ERR] & kIsWrite ? LUMEN_TEST_Access::write
                                                       : LUMEN_TEST_Access::read;
}
#elif defined(__aarch64__)
// The syndrome register is one of the records behind the registers, where the system writes it.
LUMEN_TEST_Access accessOf(const ucontext_t& context) {
  constexpr uint64_t kIsWrite = 1 << 6, kClassShift = 26, kClassBits = 0x3E, kDataAbort = 0x24;
  const unsigned char* const records = context.uc_mcontext.__reserved;
  for (size_t at = 0; at + sizeof(esr_context) <= sizeof(context.uc_mcontext.__reserved);) {
    _aarch64_ctx head;
    std::memcpy(&head, records + at, sizeof(head));
    if (head.size < sizeof(head)) break;
    if (head.magic == ESR_MAGIC) {
      esr_context syndrome;
      std::memcpy(&syndrome, records + at, sizeof(syndrome));
      if ((syndrome.esr >> kClassShift & kClassBits) != kDataAbort) break;
      return syndrome.esr & kIsWrite ? LUMEN_TEST_Access::write : LUMEN_TEST_Access::read;
    }
    at += head.size;
  }
  return LUMEN_TEST_Access::unknown;
}
#elif defined(__arm__)
// A fault status of 0 is none: an emulator leaves it so.
LUMEN_TEST_Access accessOf(const ucontext_t& context) {
  constexpr unsigned long kIsWrite = 1ul << 11;
  const unsigned long status = context.uc_mcontext.error_code;
  if (status == 0) return LUMEN_TEST_Access::unknown;
  return status & kIsWrite ? LUMEN_TEST_Access::write : LUMEN_TEST_Access::read;
}
#else
LUMEN_TEST_Access accessOf(const ucontext_t&) { return LUMEN_TEST_Access::unknown; }
#endif

void restoreHandlers() {
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &trap.before[i], nullptr);
}

void onFault(int signal, siginfo_t* info, void* context) {
  const bool isSent = info->si_code <= 0;  // by a process
  if (isSent || !trap.isSet || !pthread_equal(pthread_self(), trap.thread)) {
    // Whoever was asked before gets it, when the instruction is repeated.
    restoreHandlers();
    if (isSent) raise(signal);
    return;
  }
  trap.isSet = 0;
  trap.fault.address = reinterpret_cast<uintptr_t>(info->si_addr);
  trap.fault.access = accessOf(*static_cast<const ucontext_t*>(context));
  siglongjmp(trap.back, 1);
}

// Handlers and stack as long as the object lives.
class Handlers {
 public:
  Handlers() {
    stack_t stack = {};
    stack.ss_sp = handlerStack;
    stack.ss_size = sizeof(handlerStack);
    sigaltstack(&stack, &stackBefore_);
    struct sigaction action = {};
    action.sa_sigaction = onFault;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    trap.thread = pthread_self();
    for (size_t i = 0; i < std::size(kSignals); ++i) {
      sigaction(kSignals[i], &action, &trap.before[i]);
    }
  }
  ~Handlers() {
    restoreHandlers();
    sigaltstack(&stackBefore_, nullptr);
  }
  Handlers(const Handlers&) = delete;
  Handlers& operator=(const Handlers&) = delete;

 private:
  stack_t stackBefore_ = {};
};

// Nothing in this frame changes between the two returns. True when the call came to its end.
[[gnu::noinline]] bool call(const LUMEN_TEST_Description& description,
                            const LUMEN_TEST_Arguments& arguments) {
  if (sigsetjmp(trap.back, 1) != 0) return false;
  trap.isSet = 1;
  description.call(arguments);
  trap.isSet = 0;
  return true;
}

}  // namespace

std::optional<LUMEN_TEST_Fault> LUMEN_TEST_CallTrapped(const LUMEN_TEST_Description& description,
                                                       const LUMEN_TEST_Arguments& arguments) {
  const Handlers handlers;
  if (call(description, arguments)) return {};
  return LUMEN_TEST_Fault{trap.fault.address, trap.fault.access};
}
