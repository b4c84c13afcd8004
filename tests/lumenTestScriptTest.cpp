#include "lumenTestScript.h"

#include "lumenTestFiles.h"
#include "lumenTestLines.h"

namespace {

using std::string;

class TestScript : public testing::Test {
 protected:
  void open(const string& content) {
    script = LUMEN_TEST_OpenData(directory.write("control_script.csv", content).c_str());
    ASSERT_NE(script, nullptr);
  }
  template <class... Destination>
  int row(int numArguments, Destination... destination) {
    return LUMEN_TEST_ReadControlScript(directory.path().c_str(), script.get(), numArguments,
                                        LUMEN_MEM_HEAP, destination...);
  }
  // One column of this type with this field.
  template <class Destination>
  int field(const string& type, const string& text, Destination destination) {
    open("name\n" + type + "\n\"" + text + "\"\n");
    return row(1, destination);
  }
  // The reason that the log gives for a refused field.
  string reason() {
    const Lines lines = log.take();
    return lines.empty() ? "" : lines.back().substr(lines.back().rfind("': ") + 3);
  }

  TempDirectory directory;
  LogCapture log;
  LUMEN_TEST_File script;
  LUMEN_TEST_Buffer buffer;
};

}  // namespace

TEST_F(TestScript, RowsComeOneByOneUntilTheEnd) {
  open("name,count,scale\r\nchar*,int,float\r\n\r\n# first\r\n\"a,b\",1,0.5\r\nsecond,-2,1e3");
  char text[99];
  int count = 0;
  float scale = 0;
  const LUMEN_TEST_Text name = {text, sizeof(text)};
  ASSERT_EQ(row(3, name, &count, &scale), 1);
  EXPECT_STREQ(text, "a,b");
  EXPECT_EQ(count, 1);
  EXPECT_EQ(scale, 0.5f);
  ASSERT_EQ(row(3, name, &count, &scale), 1);
  EXPECT_STREQ(text, "second");
  EXPECT_EQ(count, -2);
  EXPECT_EQ(scale, 1000.f);
  EXPECT_EQ(row(3, name, &count, &scale), 0);
  EXPECT_EQ(row(3, name, &count, &scale), 0);
  EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TestScript, BadScriptsAreRefusedInTheirOwnWords) {
  const string error = "Error: Bad Formatting in " + directory.path() + "/controlscript";
  open("");
  EXPECT_EQ(row(0), 0);
  EXPECT_EQ(log.take(), Lines{error + " - Cannot read Parameter names."});
  open("a,b\n");
  EXPECT_EQ(row(2), 0);
  EXPECT_EQ(log.take(), Lines{error + "- Cannot read Parameter types.\n"});
  open("a,b\nint,int\n");
  EXPECT_EQ(row(2), 0);
  EXPECT_EQ(log.take(), Lines{});
  int a = 7, b = 7, c = 7;
  open("a,b\nint,int\n1\n2,3\n");
  EXPECT_EQ(row(2, &a, &b), 0);
  EXPECT_EQ(log.take(),
            Lines{error + " - Cannot read test case parameters. ncol 1, numArguments 2 "});
  EXPECT_EQ(a, 7);
  EXPECT_EQ(row(2, &a, &b, &c), 0);  // a variable would stay as it was
  EXPECT_EQ(log.take().size(), 1u);
  a = 7;
  open("a\nint\n1," + string(40000, '2') + "\n3\n");
  EXPECT_EQ(row(1, &a), 0);
  EXPECT_EQ(log.take().size(), 1u);
  EXPECT_EQ(a, 7);
}

TEST_F(TestScript, NumbersAreReadAsTheScriptSaysAndStoredAsTheTestWants) {
  unsigned char u8 = 0;
  char c = 0;
  int i = 0;
  unsigned int u32 = 0;
  long l = 0;
  unsigned short u16 = 0;
  bool b = false;
  float f = 0;
  EXPECT_EQ(field("int", " +12 ", &u8), 1);
  EXPECT_EQ(u8, 12);
  EXPECT_EQ(field("char", "200", &c), 1);
  EXPECT_EQ(c, static_cast<char>(200));
  EXPECT_EQ(field("unsignedint", "4294967295", &i), 1);
  EXPECT_EQ(i, -1);
  EXPECT_EQ(field("int", "-1", &u32), 1);
  EXPECT_EQ(u32, 0xffffffffu);
  EXPECT_EQ(field("long", "-2147483648", &l), 1);
  EXPECT_EQ(l, -2147483647 - 1);
  EXPECT_EQ(field("float", "2.75", &u16), 1);
  EXPECT_EQ(u16, 2);
  EXPECT_EQ(field("int", "2.75", &f), 1);
  EXPECT_EQ(f, 2.f);
  EXPECT_EQ(field("float", "-2.5f", &f), 1);
  EXPECT_EQ(f, -2.5f);
  EXPECT_EQ(field("bool", "2", &i), 1);
  EXPECT_EQ(i, 1);
  EXPECT_EQ(field("float", "0.5", &b), 1);
  EXPECT_FALSE(b);
  EXPECT_EQ(field("unsignedshort", "", &i), 1);
  EXPECT_EQ(i, 0);

  EXPECT_EQ(log.take(), Lines{});
  const string noNumber = "this is no number of that type\n";
  const string noRoom = "the test's variable does not hold this number\n";
  for (const char* text : {"x", "12x", "0x10", "--1", "99999999999999999999", "4294967296"}) {
    EXPECT_EQ(field("int", text, &i), 0) << text;
    EXPECT_EQ(reason(), noNumber) << text;
  }
  EXPECT_EQ(field("unsignedchar", "256", &i), 0);
  EXPECT_EQ(reason(), noNumber);
  for (const char* text : {"99999999999999999999", "-99999999999999999999"}) {
    EXPECT_EQ(field("long", text, &l), 0);
    EXPECT_EQ(reason(), noNumber);
  }
  EXPECT_EQ(field("int", "70000", &u16), 0);
  EXPECT_EQ(reason(), noRoom);
  EXPECT_EQ(field("float", "1e30", &i), 0);
  EXPECT_EQ(reason(), noRoom);
  EXPECT_EQ(i, 0);
}

TEST_F(TestScript, OtherKindsThanExpectedNeverReachTheDestination) {
  int number = 7;
  char text[4] = "abc";
  const LUMEN_TEST_Text name = {text, sizeof(text)};
  LUMEN_TEST_Rect rect = {};
  EXPECT_EQ(field("char*", "12", &number), 0);
  EXPECT_EQ(reason(), "the test expects no text here\n");
  EXPECT_EQ(field("char*", "12", text), 0);
  EXPECT_EQ(reason(), "the test expects no text here\n");
  EXPECT_EQ(field("int", "12", name), 0);
  EXPECT_EQ(reason(), "the test expects no number here\n");
  EXPECT_EQ(field("int", "12", LUMEN_TEST_ElementsOf<int>(buffer)), 0);
  EXPECT_EQ(reason(), "the test expects no number here\n");
  EXPECT_EQ(field("struct", "a.struct", &rect), 0);
  EXPECT_EQ(reason(), "the test expects no buffer here\n");
  EXPECT_EQ(field("miraRect", "a.rect", &number), 0);
  EXPECT_EQ(reason(), "the test expects no rectangle here\n");
  EXPECT_EQ(number, 7);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(field("char*", "wxyz", name), 1);
  EXPECT_STREQ(text, "wxy");
  char longText[200];
  EXPECT_EQ(field("char*", string(150, 'n'), LUMEN_TEST_Text{longText, sizeof(longText)}), 1);
  EXPECT_EQ(string(longText), string(98, 'n'));

  for (const char* type :
       {"miraCorrespondences", "miraContours", "lumPyramidLevel", "lumPyramidLevel_v2"}) {
    EXPECT_EQ(field(type, "a.csv", LUMEN_TEST_ElementsOf<int>(buffer)), 0);
    EXPECT_EQ(reason(), "the format of these files is not built yet\n");
  }
}

TEST_F(TestScript, ShortTypesMeanTheFirstThatBeginsSo) {
  open(
      ",unsigned,cha,unsignedlongl,noSuchType,int \n,unsigned,cha,unsignedlongl,noSuchType,int\n"
      "1,2,3,a.csv,9,-5\n");
  directory.write("a.csv", "1,1,0,0,1,1\n8\n");
  int first = 0, second = 0, third = 0, last = 0;
  ASSERT_EQ(
      row(6, &first, &second, &third, LUMEN_TEST_ElementsOf<unsigned long long>(buffer), &last), 1);
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 2);
  EXPECT_EQ(third, 3);
  EXPECT_EQ(last, -5);
  EXPECT_EQ(log.take().size(), 1u);
  int wide = 0;
  EXPECT_EQ(field("unsigned", "256", &wide), 0);  // an unsignedchar
}

TEST_F(TestScript, ColumnsWithoutADestinationAreNotRead) {
  directory.write("a.csv", "1,1,0,0,1,1\n8\n");
  open("a,b,c,\nint[],int[],lumPyramidLevel,\na.csv,missing.csv,missing.pyr,x\n");
  ASSERT_EQ(row(4, LUMEN_TEST_ElementsOf<int>(buffer)), 1);
  EXPECT_EQ(*buffer.roi<int>(), 8);
  EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TestScript, FilesAreReadByTheEndOfTheirNames) {
  directory.write("a.pgm", "P5\n1 1\n255\n\x05");
  directory.write("rgb.pgm", "P6\n1 1\n255\nabc");
  directory.write("a.csv", "1,1,0,0,1,1\n6\n");
  directory.write("plain", "1,1,0,0,1,1\n7\n");
  directory.write("a.struct", "1\n2\nxy");
  directory.write("a.rect", "1,2,3,4\n");
  const auto data = [&](const string& tag, size_t size) {
    directory.write("a.data", tag + "\n1 1\n1\n\x08" + string(size - 1, '\0'));
  };
  const auto read = [&]<class T>(const char* type, const char* file, T) {
    const int result = field(type, file, LUMEN_TEST_ElementsOf<T>(buffer));
    return result == 1 && buffer.roi<T>() ? static_cast<int>(*buffer.roi<T>()) : -1;
  };
  using u8 = unsigned char;
  EXPECT_EQ(read("unsignedchar[]", "a.pgm", u8{}), 5);
  EXPECT_EQ(read("unsignedchar[]", " a.csv ", u8{}), 6);
  EXPECT_EQ(read("unsignedchar[]", "plain", u8{}), 7);
  EXPECT_EQ(read("unsignedlong[]", "plain", 0ul), 7);
  EXPECT_EQ(read("float[]", "a.csv", 0.f), 6);
  data("unsigned_char", 1);
  EXPECT_EQ(read("unsignedchar[]", "a.data", u8{}), 8);
  data("unsigned_short", 2);
  EXPECT_EQ(read("unsignedshort[]", "a.data", static_cast<unsigned short>(0)), 8);
  data("int", 4);
  EXPECT_EQ(read("int[]", "a.data", 0), 8);
  EXPECT_EQ(log.take(), Lines{});

  EXPECT_EQ(read("unsignedchar[]", "a.data", u8{}), -1);    // holds int
  EXPECT_EQ(read("signedchar[]", "a.data", int8_t{}), -1);  // read as CSV
  EXPECT_EQ(read("float[]", "plain", 0.f), -1);             // not named csv
  EXPECT_EQ(read("int[]", "a.pgm", 0), -1);                 // bytes
  EXPECT_EQ(read("unsignedchar[]", "rgb.pgm", u8{}), -1);   // three channels
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(read("int[]", string(300, 'n').c_str(), 0), -1);
  EXPECT_EQ(read("int[]", "", 0), -1);
  EXPECT_EQ(log.take().size(), 14u);  // each says why, and which column was refused

  EXPECT_EQ(field("unsignedchar[]", "rgb.pgm", LUMEN_TEST_BufferOf{&buffer, 0}), 1);
  EXPECT_EQ(buffer.shape().elemSize, 3);
  EXPECT_EQ(field("struct", "a.struct", LUMEN_TEST_ElementsOf<char>(buffer)), 1);
  EXPECT_EQ(elementsOf<char>(buffer), (std::vector<char>{'x', 'y'}));
  LUMEN_TEST_Rect rect = {};
  EXPECT_EQ(field("miraRect", "a.rect", &rect), 1);
  EXPECT_EQ(rect.height, 4);
  EXPECT_EQ(field("miraRect", "missing.rect", &rect), 0);
}
