// lumenTest beside the optional libraries of a device, for which stand-ins serve.

#include "lumenTestConfig.h"
#include "lumenTestDevice.h"
#include "lumenTestSupport.h"

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

lumStandinStubState& loadStub(const char* variant) {
  return lumLoadStandin<lumStandinStubState>(variant, "liblumenadsp_stub.so", "lumStandinStub");
}

TEST(DspStub, FlushesAndLooksForLeaks) {
  LUM_NEEDS_OWN_PROCESS();
  lumStandinStubState& stub = loadStub("adsp");
  lumtest_adspstub_open();
  ASSERT_TRUE(lumenTestRunConfig.stubHandle);
  lumenTestRunConfig.cacheFlush = 1;
  char block[8];
  LUMEN_TEST_Buffer_Flush_Invalidate(1, static_cast<void*>(block), 8);
  EXPECT_EQ(stub.flushed, block);
  EXPECT_EQ(stub.flushedBytes, 8);
  lumtest_adspstub_close();
  lumtest_adspstub_close();
  LUMEN_TEST_Buffer_Flush_Invalidate(1, static_cast<void*>(block), 8);
  EXPECT_EQ(stub.flushes, 1u);
  EXPECT_EQ(stub.leakChecks, 1u);
}

TEST(DspStub, MayKnowNoLeakCheck) {
  LUM_NEEDS_OWN_PROCESS();
  loadStub("adspold");
  RecordedLog log;
  lumtest_adspstub_open();
  EXPECT_TRUE(lumenTestRunConfig.flushFn);
  EXPECT_FALSE(lumenTestRunConfig.leakCheckFn);
  EXPECT_THAT(log.take(),
              ElementsAre("D/lumen_test: Unable to find symbol lumCheckMemoryLeaksQ\n"));
  lumtest_adspstub_close();
  EXPECT_THAT(log.take(), IsEmpty());
}

// The golden rows on remote units: the stand-in runs reference code in their place.
class RemoteRun : public testing::Test {
 protected:
  ProgramRun run(const std::string& before) {
    const std::string properties =
        directory_.write("properties", "ro.board.platform=kemi\nvendor.runtime.lumen.log=1\n");
    return runLumenTest(LUMEN_TEST_DATA " -m ABSDIFF -f lumAbsDiffu8 -U",
                        before + " LUMEN_SYSTEM_PROPERTIES=" + properties + " LD_LIBRARY_PATH=" +
                            lumStandinPath("full", "") + ":" + lumStandinPath("nexcall", ""));
  }

 private:
  TempDirectory directory_;
};

TEST_F(RemoteRun, PassesWithARightRemoteUnit) {
  const ProgramRun right = run("");
  EXPECT_EQ(right.status, 0);
  EXPECT_THAT(right.err, HasSubstr("Shared-Lib version: 1.9.0"));
  for (const char* text : {"lumAbsDiffu8_ZDSP\n", "lumAbsDiffu8_GPU\n", "lumAbsDiffu8_Q =>PASS",
                           "lumAbsDiffu8_G =>PASS"}) {
    EXPECT_THAT(right.err, HasSubstr(text));
  }
  EXPECT_THAT(right.err, Not(HasSubstr("FAIL")));
}

TEST_F(RemoteRun, FailsWithOneThatDoesNothing) {
  const ProgramRun idle = run("LUM_STANDIN_IDLE=1");
  EXPECT_EQ(idle.status, 1);
  for (const char letter : std::string("QG")) {
    EXPECT_THAT(idle.err, ContainsRegex(std::string("lumAbsDiffu8_") + letter + "[^\n]* =>FAIL"));
  }
  EXPECT_THAT(idle.err, Not(ContainsRegex("lumAbsDiffu8_[CV][^\n]* =>FAIL")));
}

}  // namespace
