// Records of a run. tests/lumenRecordTest.py reads those of whole runs with other readers.

#include "lumenTestRecord.h"

#include <signal.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "lumenTestDifference.h"
#include "lumenTestDriverSupport.h"
#include "lumenTestEnvironment.h"
#include "lumenTestExtras.h"
#include "lumenTestFiles.h"
#include "lumenTestRecordRun.h"
#include "lumenTestText.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Verdict = LUMEN_TEST_Verdict;

std::vector<std::string> linesOf(const std::string& path) {
  std::vector<std::string> lines;
  std::istringstream text(textOf(path));
  for (std::string line; std::getline(text, line);) lines.push_back(line);
  return lines;
}

// Both records of this process, as long as the test lives.
class Records : public testing::Test {
  TempDirectory directory_;

 protected:
  const std::string json = directory_.path() + "/run.json";
  const std::string junit = directory_.path() + "/run.xml";

  void open(bool withJson = true, bool withJunit = true) {
    if (withJson) lumenTestExtras.json = json;
    if (withJunit) lumenTestExtras.junit = junit;
    const char* const arguments[] = {"lumenTest", "dir"};
    ASSERT_TRUE(LUMEN_TEST_OpenRecords(2, arguments));
    LUMEN_TEST_RecordRun(7, 0x16);
  }
  void TearDown() override {
    LUMEN_TEST_CloseRecords(0);
    LUMEN_TEST_ForwardChecks(nullptr);
    lumenTestExtras = {};
  }
  static void check(const char* name, Verdict verdict) {
    LUMEN_TEST_RecordCheck({.function = "lumF", .slot = 'V', .check = name, .verdict = verdict});
  }
};

template <class Append, class... Value>
std::string appended(Append append, Value... value) {
  std::string text;
  append(text, value...);
  return text;
}

}  // namespace

TEST(RecordText, EscapesAnyBytes) {
  const struct {
    std::string_view text, json, xml;
  } kCases[] = {
      {"", "", ""},
      {"a/b 'c' \x7F", "a/b 'c' \x7F", "a/b 'c' \x7F"},
      {"\"\\<&>", "\\\"\\\\<&>", "&quot;\\&lt;&amp;&gt;"},
      {"\n\t\r", "\\n\\t\\u000d", "&#10;&#9;&#13;"},
      {{"\0\x1F", 2}, "\\u0000\\u001f", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      // Characters of two, three and four bytes, the first and the last of each length.
      {"\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF", "\xC2\x80\xDF\xBF"},
      {"\xE0\xA0\x80\xED\x9F\xBF", "\xE0\xA0\x80\xED\x9F\xBF", "\xE0\xA0\x80\xED\x9F\xBF"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {"\xEF\xBF\xBE", "\xEF\xBF\xBE", "\xEF\xBF\xBD"},  // U+FFFE, which XML does not allow
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(appended(LUMEN_TEST_AppendJson, c.text), c.json);
    EXPECT_EQ(appended(LUMEN_TEST_AppendXml, c.text), c.xml);
  }
  // No UTF-8: lone bytes, cut and overlong characters, a surrogate, one beyond the last.
  for (const char* text : {"\x80", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xC0\x80", "\xC1\xBF",
                           "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
    std::string expected;
    for (size_t i = 0; i < std::strlen(text); ++i) expected += "\xEF\xBF\xBD";
    EXPECT_EQ(appended(LUMEN_TEST_AppendJson, text), expected);
  }
  EXPECT_EQ(appended(LUMEN_TEST_AppendJson, "\xC3("), "\xEF\xBF\xBD(");
}

TEST_F(Records, HoldEveryKindOfMember) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  open(true, false);
  {
    LUMEN_TEST_JsonLine line("te\"st");
    line.text("text", "a\nb")
        .number("number", 0.1)
        .number("none", std::nan(""))
        .boolean("no", false);
    line.integer("least", INT64_MIN).numbers("numbers", {}).texts("texts", {});
    line.numbers("more", std::vector{1e300, -0.0, -kInfinity, 1.0 / 3});
    line.texts("words", std::vector<std::string>{"\"", "x"})
        .about("lumF", 'C')
        .boolean("yes", true);
    EXPECT_EQ(linesOf(json).size(), 1u);  // written as a whole
  }
  EXPECT_EQ(linesOf(json).at(1),
            R"({"type":"te\"st","text":"a\nb","number":0.1,"none":null,"no":false,)"
            R"("least":-9223372036854775808,"numbers":[],"texts":[],)"
            R"("more":[1e+300,-0,null,0.3333333333333333],"words":["\"","x"],)"
            R"("module":"","function":"lumF","slot":"C","yes":true})");
}

TEST_F(Records, BeginWithTheRunAndEndWithItsVerdict) {
  open();
  LUMEN_TEST_RecordRun(8, 0);  // once only
  LUMEN_TEST_RecordModule("MODULE");
  LUMEN_TEST_RecordCheck({.function = "lumF",
                          .slot = 'Q',
                          .check = "sweep",
                          .verdict = Verdict::fail,
                          .cases = 5,
                          .failedCases = 2,
                          .difference = std::nan(""),
                          .tolerance = 0.5,
                          .seconds = 0.25,
                          .detail = "a \"b\" <c>"});
  LUMEN_TEST_RecordModuleVerdict("MODULE", Verdict::fail);
  LUMEN_TEST_RecordModuleVerdict("OTHER", Verdict::notBuilt);
  EXPECT_TRUE(LUMEN_TEST_CloseRecords(1));
  EXPECT_FALSE(LUMEN_TEST_KeepsRecords());

  const std::vector<std::string> lines = linesOf(json);
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_THAT(lines[0], StartsWith(R"({"type":"run","schema":1,"version":"1.7.1","started":"20)"));
  EXPECT_THAT(lines[0], HasSubstr(R"(Z","arguments":["lumenTest","dir"],)"));
  EXPECT_THAT(lines[0], HasSubstr(R"("seed":7,)"));
  EXPECT_THAT(lines[0], HasSubstr(R"("hardwareMask":22,)"));
  EXPECT_EQ(lines[1], R"({"type":"check","module":"MODULE","function":"lumF","slot":"Q",)"
                      R"("check":"sweep","verdict":"FAIL","cases":5,"failedCases":2,)"
                      R"("difference":null,"tolerance":0.5,"seconds":0.25,)"
                      R"("detail":"a \"b\" <c>"})");
  EXPECT_EQ(lines[2], R"({"type":"module","module":"MODULE","verdict":"FAIL"})");
  EXPECT_EQ(lines[3], R"({"type":"module","module":"OTHER","verdict":"NOT_BUILT"})");
  EXPECT_THAT(lines[4], StartsWith(R"({"type":"end","verdict":"FAIL","exitStatus":1,"seconds":)"));

  EXPECT_EQ(textOf(junit), R"(<?xml version="1.0" encoding="UTF-8"?>
<testsuites name="lumenTest" tests="2" failures="1" errors="0" skipped="1" time="0.250000">
  <testsuite name="MODULE" tests="1" failures="1" errors="0" skipped="0" time="0.250000">
    <testcase classname="MODULE" name="lumF/Q/sweep" time="0.250000">
      <failure message="FAIL: 2 of 5 cases, largest difference not finite, 0.5 allowed: )"
                           R"(a &quot;b&quot; &lt;c&gt;"/>
    </testcase>
  </testsuite>
  <testsuite name="OTHER" tests="1" failures="0" errors="0" skipped="1" time="0.000000">
    <testcase classname="OTHER" name="OTHER" time="0.000000">
      <skipped message="NOT_BUILT"/>
    </testcase>
  </testsuite>
</testsuites>
)");
}

TEST_F(Records, TellAFailureThatNoCheckTells) {
  open(false, true);
  LUMEN_TEST_RecordModule("GOOD");
  check("golden", Verdict::pass);
  LUMEN_TEST_RecordModuleVerdict("GOOD", Verdict::pass);
  LUMEN_TEST_RecordModule("BAD");
  check("golden", Verdict::pass);
  LUMEN_TEST_RecordModuleVerdict("BAD", Verdict::fail);
  LUMEN_TEST_CloseRecords(1);
  EXPECT_THAT(textOf(junit), HasSubstr(R"(<testsuites name="lumenTest" tests="3" failures="1")"));
  EXPECT_THAT(textOf(junit), HasSubstr(R"(classname="BAD" name="BAD")"));

  open(false, true);
  LUMEN_TEST_CloseRecords(1);
  EXPECT_THAT(textOf(junit), HasSubstr(R"(<failure message="The run failed."/>)"));
  open(false, true);
  LUMEN_TEST_CloseRecords(0);
  EXPECT_THAT(textOf(junit), HasSubstr(R"(tests="0" failures="0" errors="0")"));
}

// Of a crash, the files tell that there was one.
TEST_F(Records, SayThatARunDidNotEnd) {
  open();
  EXPECT_THAT(textOf(junit), HasSubstr(R"(<error message="The run did not end."/>)"));
  EXPECT_THAT(textOf(junit), EndsWith("</testsuites>\n"));
  check("golden", Verdict::timeout);
  LUMEN_TEST_CloseRecords(0);
  EXPECT_THAT(textOf(junit), Not(HasSubstr("did not end")));
  EXPECT_THAT(textOf(junit), HasSubstr(R"(tests="1" failures="0" errors="1" skipped="0")"));
}

TEST_F(Records, CountFailuresOfTheAdditionsChecksAlone) {
  const auto failsWith = [&](const char* name, Verdict verdict) {
    open(false, false);
    check(name, verdict);
    return LUMEN_TEST_AnyExtraCheckFailed();
  };
  for (Verdict verdict : {Verdict::fail, Verdict::crashed, Verdict::timeout}) {
    for (const char* name : {"sweep", "guard", "poison", "attest", "isolate"}) {
      EXPECT_TRUE(failsWith(name, verdict)) << name;
    }
    EXPECT_FALSE(failsWith("golden", verdict));
    EXPECT_FALSE(failsWith("exhaustive", verdict));
  }
  for (Verdict verdict : {Verdict::pass, Verdict::fellBack, Verdict::notBuilt, Verdict::skipped}) {
    EXPECT_FALSE(failsWith("sweep", verdict));
  }
}

TEST_F(Records, LeaveChecksToWhoeverWantsThem) {
  static std::vector<std::string> forwarded;
  open();
  LUMEN_TEST_ForwardChecks(
      [](const LUMEN_TEST_CheckResult& result) { forwarded.emplace_back(result.check); });
  check("sweep", Verdict::fail);
  EXPECT_THAT(forwarded, ElementsAre("sweep"));
  EXPECT_EQ(linesOf(json).size(), 1u);
  EXPECT_FALSE(LUMEN_TEST_AnyExtraCheckFailed());
}

TEST_F(Records, AreWrittenLineByLineBySeveralProcesses) {
  constexpr int kLines = 200;
  open(true, false);
  const std::string filler(3000, 'x');
  const auto write = [&](const char* who, int count) {
    for (int i = 0; i != count; ++i) {
      LUMEN_TEST_JsonLine("test").text("who", who).text("filler", filler);
    }
  };
  const pid_t child = fork();
  if (child == 0) {
    write("child", -1);
    _exit(0);
  }
  while (std::filesystem::file_size(json) < 10 * filler.size()) usleep(100);
  write("parent", kLines);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  check("isolate", Verdict::crashed);

  const std::string end = filler + "\"}";
  int parents = 0, cut = 0;
  const std::vector<std::string> lines = linesOf(json);
  EXPECT_THAT(lines.front(), StartsWith("{\"type\":\"run\","));
  EXPECT_THAT(lines.back(), StartsWith("{\"type\":\"check\","));
  for (size_t i = 1; i + 1 < lines.size(); ++i) {
    parents += lines[i] == "{\"type\":\"test\",\"who\":\"parent\",\"filler\":\"" + end;
    cut += lines[i] != "{\"type\":\"test\",\"who\":\"child\",\"filler\":\"" + end;
  }
  EXPECT_EQ(parents, kLines);
  EXPECT_LE(cut - parents, 1);  // what the signal interrupted
}

TEST_F(Records, GoOnAfterACutLine) {
  open(true, false);
  std::ofstream(json, std::ios::app) << "{\"type\":\"ro";
  check("isolate", Verdict::crashed);
  check("isolate", Verdict::crashed);
  const std::vector<std::string> lines = linesOf(json);
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[1], "{\"type\":\"ro");
  EXPECT_THAT(lines[2], StartsWith("{\"type\":\"check\","));
}

TEST_F(Records, AreRefusedOrStoppedWhereTheyCannotBeWritten) {
  const char* const arguments[] = {"lumenTest"};
  const auto errorOf = [](auto call) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(call());
    return testing::internal::GetCapturedStderr();
  };
  const auto openFails = [&] { return LUMEN_TEST_OpenRecords(1, arguments); };
  lumenTestExtras.json = "/nonexistent/run.json";
  EXPECT_EQ(errorOf(openFails),
            "ERROR: cannot write '/nonexistent/run.json': No such file or directory\n");
  lumenTestExtras.json = lumenTestExtras.junit = json;
  EXPECT_EQ(errorOf(openFails), "ERROR: '" + json + "' cannot be both records\n");
  LUMEN_TEST_CloseRecords(0);

  lumenTestExtras.json = "/dev/full";
  lumenTestExtras.junit.clear();
  const std::string error = errorOf([&] {
    EXPECT_TRUE(LUMEN_TEST_OpenRecords(1, arguments));
    check("golden", Verdict::pass);
    check("golden", Verdict::pass);
    return LUMEN_TEST_CloseRecords(0);
  });
  EXPECT_EQ(error, "ERROR: cannot write '/dev/full': No space left on device\n");
}

TEST_F(Records, AreNothingWithoutOptions) {
  open(false, false);
  EXPECT_FALSE(LUMEN_TEST_KeepsRecords());
  const std::string output = standardOutputOf([] {
    LUMEN_TEST_RecordModule("MODULE");
    check("golden", Verdict::fail);
    LUMEN_TEST_JsonLine("test").text("a", "b").numbers("c", {});
    LUMEN_TEST_RecordModuleVerdict("MODULE", Verdict::fail);
    EXPECT_TRUE(LUMEN_TEST_CloseRecords(1));
  });
  EXPECT_EQ(output, "");
  EXPECT_STREQ(LUMEN_TEST_CurrentModule(), "MODULE");
}

TEST(Difference, IsTheLargestInTheRegion) {
  LUMEN_TEST_Buffer ref, tst;
  const auto largest = [&]<class T>(std::vector<T> r, std::vector<T> t, int perElement = 1) {
    fillBuffer(ref, 2, r, perElement);
    fillBuffer(tst, 2, t, perElement);
    return LUMEN_TEST_LargestDifference<T>(ref, tst);
  };
  using Bytes = std::vector<uint8_t>;
  EXPECT_EQ(largest(Bytes{1, 2, 3, 250}, Bytes{1, 5, 3, 0}), 250);
  EXPECT_EQ(largest(Bytes{9, 9}, Bytes{9, 9}), 0);
  EXPECT_EQ(largest(Bytes{0, 0, 7, 0}, Bytes{0, 0, 0, 0}, 2), 7);
  using Words = std::vector<int32_t>;
  EXPECT_EQ(largest(Words{INT32_MIN, 0}, Words{INT32_MAX, 0}), 4294967295.0);

  const float kNan = std::nanf(""), kInfinity = std::numeric_limits<float>::infinity();
  using Floats = std::vector<float>;
  EXPECT_EQ(largest(Floats{1.5f, kNan, kInfinity, 0}, Floats{1.25f, kNan, kInfinity, -0.0f}), 0.25);
  EXPECT_EQ(largest(Floats{1, 2}, Floats{1, kInfinity}), std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(largest(Floats{1, 2}, Floats{9, kNan})));

  // Outside of the regions anything may differ; the rows' pitches are their own.
  fillBuffer(ref, 4, Bytes{9, 1, 2, 9, 9, 3, 4, 9});
  fillBuffer(tst, 3, Bytes{1, 2, 7, 3, 6, 7});
  EXPECT_TRUE(std::isnan(LUMEN_TEST_LargestDifference<uint8_t>(ref, tst)));
  LUMEN_TEST_Buffer region, narrow;
  ASSERT_TRUE(region.Shape({4, 2, 1, 0, 2, 2, 1, 0}, LUMEN_MEM_HEAP, true));
  ASSERT_TRUE(narrow.Shape({3, 2, 0, 0, 2, 2, 1, 0}, LUMEN_MEM_HEAP, true));
  std::memcpy(region.data(), ref.data(), ref.size());
  std::memcpy(narrow.data(), tst.data(), tst.size());
  EXPECT_EQ(LUMEN_TEST_LargestDifference<uint8_t>(region, narrow), 2);
}

TEST(RunFacts, NameTheProcessor) {
  EXPECT_EQ(
      LUMEN_TEST_ProcessorName("processor\t: 0\nmodel\t\t: 207\nmodel name\t: Some CPU @ 2:3\n"
                               "\nprocessor\t: 1\nmodel name\t: Some CPU @ 2:3\n"),
      "Some CPU @ 2:3");
  EXPECT_EQ(LUMEN_TEST_ProcessorName("CPU part\t: 0xd03\n\nCPU part\t: 0xd09\n\nCPU part\t: 0xd03\n"
                                     "\nHardware\t: Phone 8 \r\n"),
            "Phone 8, CPU part 0xd03, CPU part 0xd09");
  EXPECT_EQ(LUMEN_TEST_ProcessorName("model name\nmodel name :\nmodel name"), "");
}

TEST(RunFacts, HaveTheBuildsId) {
  EXPECT_THAT(LUMEN_TEST_BuildId(), testing::MatchesRegex("[0-9a-f]{40}"));
}

TEST(Environment, IsWhatTheSystemShows) {
  const TempDirectory sys;
  const LUMEN_TEST_Environment none = LUMEN_TEST_ReadEnvironment(sys.path());
  EXPECT_THAT(none.governor, IsEmpty());
  EXPECT_THAT(none.frequency, IsEmpty());
  EXPECT_THAT(none.temperature, IsEmpty());

  const auto write = [&](const std::string& folder, const std::string& file, const char* text) {
    std::filesystem::create_directories(sys.path() + folder);
    sys.write(folder + "/" + file, text);
  };
  write("/devices/system/cpu/cpu0/cpufreq", "scaling_governor", "performance\n");
  write("/devices/system/cpu/cpu0/cpufreq", "scaling_cur_freq", "1800000\n");
  write("/devices/system/cpu/cpu5/cpufreq", "scaling_governor", "schedutil\n");
  write("/class/thermal/thermal_zone0", "temp", "41500\n");
  write("/class/thermal/thermal_zone1", "temp", "not now\n");
  write("/class/thermal/thermal_zone2", "temp", "39\n");
  const LUMEN_TEST_Environment some = LUMEN_TEST_ReadEnvironment(sys.path());
  EXPECT_THAT(some.governor, ElementsAre("performance", "schedutil"));
  ASSERT_EQ(some.frequency.size(), 2u);
  EXPECT_EQ(some.frequency[0], 1800000);
  EXPECT_TRUE(std::isnan(some.frequency[1]));
  EXPECT_THAT(some.temperature, ElementsAre(41.5, 39));
}
