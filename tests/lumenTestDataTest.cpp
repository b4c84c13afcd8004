#include "lumenTestData.h"

#include <limits>
#include <optional>

#include "lumenTestFiles.h"
#include "lumenTestLines.h"

namespace {

using std::string;

class TestData : public testing::Test {
 protected:
  // What a reader says of a file with this content; a failed one must leave the buffer empty.
  template <class Read>
  Lines failureOf(const string& content, Read read) {
    const string path = directory.write("file", content);
    LUMEN_TEST_Buffer buffer;
    EXPECT_TRUE(buffer.Shape({8, 8, 0, 0, 8, 8, 1, 0}, LUMEN_MEM_HEAP, true));
    EXPECT_EQ(read(path.c_str(), buffer), 1) << content;
    EXPECT_EQ(buffer.data(), nullptr) << content;
    Lines lines = log.take();
    for (string& line : lines) {
      const size_t at = line.find(path);
      if (at != string::npos) line = line.substr(0, at) + 'F' + line.substr(at + path.size());
    }
    return lines;
  }

  static int readU8(const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_ReadDataBuffer<unsigned char>(path, buffer, LUMEN_MEM_HEAP, "unsigned_char");
  }
  template <class T>
  static int readCsv(const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_ReadCsvBuffer<T>(path, buffer, LUMEN_MEM_HEAP);
  }
  static int readStruct(const char* path, LUMEN_TEST_Buffer& buffer) {
    return LUMEN_TEST_ReadStructBuffer(path, buffer, LUMEN_MEM_HEAP);
  }

  TempDirectory directory;
  LogCapture log;
};

}  // namespace

TEST_F(TestData, DataFilesAreShapedInPixels) {
  const string path = directory.write("a.data", "# made by hand\r\n\r\n  short\r\n2 1\r\n3\r\n" +
                                                    string("\1\0\2\0\3\0\n\0 \0#\0", 12));
  LUMEN_TEST_Buffer buffer;
  ASSERT_EQ(LUMEN_TEST_ReadDataBuffer<short>(path.c_str(), buffer, LUMEN_MEM_LIBRARY, "short"), 0);
  const auto& shape = buffer.shape();
  EXPECT_EQ(shape.stride, 2);
  EXPECT_EQ(shape.height, 1);
  EXPECT_EQ(shape.roiX, 0);
  EXPECT_EQ(shape.roiWidth, 2);
  EXPECT_EQ(shape.roiHeight, 1);
  EXPECT_EQ(shape.elemSize, 6);
  EXPECT_EQ(shape.align, 2);
  EXPECT_EQ(elementsOf<short>(buffer), (std::vector<short>{1, 2, 3, '\n', ' ', '#'}));
  EXPECT_EQ(buffer.memOption(), LUMEN_MEM_LIBRARY);
}

TEST_F(TestData, BadDataFilesAreRefused) {
  const Lines invalid = {"Invalid .data file 'F' \n"};
  for (const char* content :
       {"", "\n\n# only a comment", "char\n1 1\n1\nx", "unsigned_char", "unsigned_char\n1\n1\nx",
        "unsigned_char\n0 1\n1\nx", "unsigned_char\n1 0\n1\nx", "unsigned_char\n1 1\n0\nx",
        "unsigned_char\n-1 -1\n1\nx", "unsigned_char\n1 1\nx", "\xff\xfe\x80\x01",
        "unsigned_char\n99999999999999999999 1\n1\nx", "unsigned_char\n1,1\n1\nx"}) {
    EXPECT_EQ(failureOf(content, readU8), invalid) << content;
  }
  EXPECT_EQ(failureOf("unsigned_char\n3 3\n1\n12345678", readU8),
            Lines{"Invalid .data file 'F'. Expecting 9 bytes of binary data\n"});
  // Declared sizes do not make it allocate: these would be far more than there is memory.
  EXPECT_EQ(failureOf("unsigned_char\n65536 65536\n4\nxxxx", readU8),
            Lines{"Invalid .data file 'F'. Expecting 17179869184 bytes of binary data\n"});
  EXPECT_EQ(failureOf("unsigned_char\n2147483647 2147483647\n2147483647\nxxxx", readU8).size(), 1u);
  EXPECT_EQ(failureOf("unsigned_char" + string(300, ' ') + "\n1 1\n1\nx", readU8).size(), 2u);

  LUMEN_TEST_Buffer buffer;
  for (const string& path : {directory.path(), directory.path() + "/missing.data"}) {
    EXPECT_EQ(readU8(path.c_str(), buffer), 1);
    EXPECT_EQ(log.take(), Lines{"Could not open '" + path + "'...\n"});
  }
}

TEST_F(TestData, CsvBuffersTakeShapeAndRowsFromTheFile) {
  const string path = directory.write("a.csv",
                                      " 3 , 3 ,1,0 , 2,-1\r\n"
                                      "1 , -2.9,\t3e2\n\n# a row that says nothing\n"
                                      "4,5,6,7,8\n");
  LUMEN_TEST_Buffer buffer;
  ASSERT_EQ(LUMEN_TEST_ReadCsvBuffer<short>(path.c_str(), buffer, LUMEN_MEM_HEAP), 0);
  EXPECT_EQ(buffer.shape().roiX, 1);
  EXPECT_EQ(buffer.shape().roiWidth, 2);
  EXPECT_EQ(buffer.shape().roiHeight, -1);
  EXPECT_EQ(buffer.shape().elemSize, 2);
  EXPECT_EQ(buffer.shape().align, 0);
  // The missing row is zero, what follows the last column is not read.
  EXPECT_EQ(elementsOf<short>(buffer), (std::vector<short>{1, -2, 300, 4, 5, 6, 0, 0, 0}));
  EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TestData, CsvValuesMustFitTheirType) {
  const auto read = [&]<class T>(const char* value, T) {
    directory.write("v.csv", string("1,1,0,0,1,1\n") + value);
    LUMEN_TEST_Buffer buffer;
    const int result =
        LUMEN_TEST_ReadCsvBuffer<T>((directory.path() + "/v.csv").c_str(), buffer, LUMEN_MEM_HEAP);
    return result == 0 ? std::optional<T>(*buffer.roi<T>()) : std::nullopt;
  };
  using u8 = unsigned char;
  using u64 = unsigned long long;
  EXPECT_EQ(read("255.9", u8{}), u8{255});
  EXPECT_EQ(read("-1", u8{}), u8{255});
  EXPECT_EQ(read("256", u8{}), std::nullopt);
  EXPECT_EQ(read("-129", u8{}), std::nullopt);
  EXPECT_EQ(read("200", char{}), static_cast<char>(200));
  EXPECT_EQ(read("4294967295", 0u), 4294967295u);
  EXPECT_EQ(read("nan", 0), std::nullopt);
  EXPECT_EQ(read("18446744073709549568", u64{}), u64{18446744073709549568u});
  EXPECT_EQ(read("18446744073709551616", u64{}), std::nullopt);
  EXPECT_EQ(read("1e300", 0.f), std::numeric_limits<float>::infinity());
  EXPECT_EQ(read("2", false), true);
  EXPECT_EQ(read("x", 0), std::nullopt);
  EXPECT_EQ(read("", 0), 0);
}

TEST_F(TestData, BadCsvBuffersAreRefused) {
  const Lines noHeader = {"Invalid CSV file 'F' - no stride, height and region\n"};
  for (const char* content : {"", "1,1,0,0,1\n1", "1 1 0 0 1 1\n1", "a,1,0,0,1,1\n1",
                              "99999999999,1,0,0,1,1\n1", "\x89PNG\r\n\x1a\n"}) {
    EXPECT_EQ(failureOf(content, readCsv<int>), noHeader) << content;
  }
  for (const char* content :
       {"2,1,0,0,1,1\n1", "2,1,0,0,1,1\n1 2", "2,1,0,0,1,1\n1,,2", "2,2,0,0,1,1\n1,2\n3,x"}) {
    EXPECT_EQ(failureOf(content, readCsv<float>).back(), "Invalid CSV file 'F'\n") << content;
  }
  // A line may have 64 characters a number; a longer one is not read in parts.
  EXPECT_EQ(failureOf("1,3,0,0,1,3\n1\n2" + string(70, ' ') + "3\n4", readCsv<int>),
            (Lines{"Row 1 does not hold 1 numbers of its type\n", "Invalid CSV file 'F'\n"}));
  for (const char* content :
       {"-1,1,0,0,1,1\n1", "100000,100000,0,0,1,1\n1", "2147483647,2147483647,0,0,1,1\n1"}) {
    EXPECT_EQ(failureOf(content, readCsv<unsigned long long>).size(), 1u) << content;
  }
}

TEST_F(TestData, FillArrayReadsDenseRows) {
  const string path = directory.write("a.txt", "1,2\n3,4\n");
  float array[6] = {9, 9, 9, 9, 9, 9};
  ASSERT_EQ(fillarray(array, 2, 3, LUMEN_TEST_OpenData(path.c_str()).get()), 0);
  EXPECT_EQ(std::vector<float>(array, array + 6), (std::vector<float>{1, 2, 3, 4, 9, 9}));
  unsigned char bytes[3];
  EXPECT_EQ(fillarray(bytes, 3, 1, LUMEN_TEST_OpenData(path.c_str()).get()), 1);
}

TEST_F(TestData, StructFilesHaveARowForEachRecord) {
  const string path = directory.write("a.struct", "2\n# size\n3\nabcdef");
  LUMEN_TEST_Buffer buffer;
  ASSERT_EQ(readStruct(path.c_str(), buffer), 0);
  EXPECT_EQ(buffer.shape().stride, 3);
  EXPECT_EQ(buffer.shape().height, 2);
  EXPECT_EQ(buffer.shape().elemSize, 1);
  EXPECT_EQ(elementsOf<char>(buffer), (std::vector<char>{'a', 'b', 'c', 'd', 'e', 'f'}));

  const string invalid = "Invalid .struct file 'F'";
  EXPECT_EQ(failureOf("", readStruct), Lines{invalid + " - try to get number of struct\n"});
  EXPECT_EQ(failureOf("2", readStruct), Lines{invalid + " - try to get struct size\n"});
  EXPECT_EQ(failureOf("2\n0\n", readStruct), Lines{invalid + " - structSize 0, numStruct 2\n"});
  EXPECT_EQ(failureOf("-2\n8\n", readStruct), Lines{invalid + " - structSize 8, numStruct -2\n"});
  EXPECT_EQ(failureOf("2\n3\nabcde", readStruct),
            Lines{"Invalid .data file 'F'. Expecting 6 bytes of binary data\n"});
  EXPECT_EQ(failureOf("2147483647\n2147483647\nabcde", readStruct),
            Lines{"Invalid .data file 'F'. Expecting 4611686014132420609 bytes of binary data\n"});
}

TEST_F(TestData, RectanglesAreOneLine) {
  LUMEN_TEST_Rect rect = {9, 9, 9, 9};
  EXPECT_EQ(LUMEN_TEST_ReadMiraRect(directory.write("r", "# r\n-1, 2 ,30,40\n").c_str(), rect), 0);
  EXPECT_EQ(rect.x, -1);
  EXPECT_EQ(rect.y, 2);
  EXPECT_EQ(rect.width, 30);
  EXPECT_EQ(rect.height, 40);
  for (const char* content : {"", "1,2,3", "1,2,3,99999999999"}) {
    EXPECT_EQ(LUMEN_TEST_ReadMiraRect(directory.write("r", content).c_str(), rect), 1) << content;
    EXPECT_EQ(log.take().size(), 1u);
  }
  EXPECT_EQ(rect.height, 40);
}

TEST_F(TestData, LinesThatDoNotFitArePassedOverWhole) {
  const string path = directory.write("lines", " \t \n  # " + string(50, 'c') + "\n \tword \r\n" +
                                                   string(50, 'x') + "\n1234567\n12345678\nlast");
  const LUMEN_TEST_File file = LUMEN_TEST_OpenData(path.c_str());
  char line[9];
  EXPECT_STREQ(get_a_valid_line(file.get(), line, sizeof(line)), "word");
  EXPECT_EQ(get_a_valid_line(file.get(), line, sizeof(line)), nullptr);
  EXPECT_EQ(log.take(), Lines{"A line is longer than 9 characters\n"});
  EXPECT_STREQ(get_a_valid_line(file.get(), line, sizeof(line)), "1234567");
  EXPECT_STREQ(get_a_valid_line(file.get(), line, sizeof(line)), "12345678");
  EXPECT_STREQ(get_a_valid_line(file.get(), line, sizeof(line)), "last");
  EXPECT_EQ(get_a_valid_line(file.get(), line, sizeof(line)), nullptr);
  EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TestData, FieldsAreSplitOutsideQuotes) {
  using Fields = std::vector<string>;
  EXPECT_EQ(LUMEN_TEST_SplitCsvString("a,,\"b,c\" d,\"\"\r\n"), (Fields{"a", "", "b,c d", ""}));
  EXPECT_EQ(LUMEN_TEST_SplitCsvString(""), Fields{""});
  EXPECT_EQ(LUMEN_TEST_SplitCsvString("\"a,b"), Fields{"a,b"});
}

TEST_F(TestData, PathsAreNeverCut) {
  LUMEN_TEST_Path path;
  EXPECT_TRUE(
      LUMEN_TEST_MakePath(path, "%s/%s", string(200, 'd').c_str(), string(53, 'f').c_str()));
  EXPECT_EQ(string(path).size(), 254u);
  EXPECT_FALSE(
      LUMEN_TEST_MakePath(path, "%s/%s", string(200, 'd').c_str(), string(54, 'f').c_str()));
  EXPECT_EQ(log.take().size(), 1u);
  EXPECT_STREQ(path, "");
}
