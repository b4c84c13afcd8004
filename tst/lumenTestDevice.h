// The device under a run: which library builds it has, its clocks, its DSP libraries, and the stack
// that modules use.
//
// A command that cannot be started, and DSP libraries that are missing, end the process with
// status 0: the run says nothing about the library.

#ifndef LUMEN_TEST_DEVICE_H
#define LUMEN_TEST_DEVICE_H

#include <cstddef>
#include <span>

// Logs the version of the library in this program and of the optional shared build.
void lumtest_print_ver();

// A shell command that writes something only when it fails, and what is then logged.
struct LUMEN_TEST_ClockCommand {
  const char* command;
  const char* message;
};
inline constexpr size_t LUMEN_TEST_BUMP_COMMAND_COUNT = 8;
extern const LUMEN_TEST_ClockCommand LUMEN_TEST_BUMP_COMMANDS[LUMEN_TEST_BUMP_COMMAND_COUNT];

// Runs the commands one after another. All but the last stream stay open until the process ends.
void LUMEN_TEST_RunClockCommands(std::span<const LUMEN_TEST_ClockCommand> commands);

// Brings the processors online and pins their clocks.
void lumtest_bump_arm_clk();

// Prints the clocks of processors and buses, and those of the DSP when it takes part in the run.
void lumtest_dump_clocks();

// Looks for the DSP's libraries in what `command` lists: a program's name and a directory.
void check_skel_libs(const char* command);

// Opens the DSP stub library and binds its cache and leak-check entries; and lets go of it. The
// order of a run has neither.
void lumtest_adspstub_open();
void lumtest_adspstub_close();

// The stack probe: paints the stack from 2 KiB below `marker`, a local variable of the caller, down
// to 130 KiB below it, and returns the upper end of what it painted. What is called afterwards
// grows into it, and the second function logs how far that came.
unsigned char* lum_test_stackprefill(int& marker);
void lum_test_stackusage(unsigned char* top, const char* name);

// Code that deals with the real stack, below what it has allocated there.
#define LUMEN_TEST_ON_REAL_STACK __attribute__((noinline, no_sanitize("address")))

#endif  // LUMEN_TEST_DEVICE_H
