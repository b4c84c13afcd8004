#include "lumenTestImage.h"

#include <cstring>

#include "lumenTestFiles.h"

namespace {

using std::string;

class TestImage : public testing::Test {
 protected:
  int read(const string& content) {
    return LUMEN_TEST_IMGIO_readppm(buffer, &width, &height, &channels,
                                    directory.write("image", content).c_str(), LUMEN_MEM_HEAP);
  }

  TempDirectory directory;
  LogCapture log;
  LUMEN_TEST_Buffer buffer;
  int width = -1, height = -1, channels = -1;
};

}  // namespace

TEST_F(TestImage, ReadsGreyAndColour) {
  ASSERT_TRUE(buffer.Shape({1, 1, 0, 0, 1, 1, 1, 16}, LUMEN_MEM_HEAP, true));
  ASSERT_EQ(
      read("P5\r\n# comment " + string(2000, '#') + "\n  # another\n3 2 # a 4 5\n255\n\n#\tdef"),
      0);
  EXPECT_EQ(width, 3);
  EXPECT_EQ(height, 2);
  EXPECT_EQ(channels, 1);
  // Pixels begin right after the header, whatever they are.
  EXPECT_EQ(elementsOf<char>(buffer), (std::vector<char>{'\n', '#', '\t', 'd', 'e', 'f'}));
  const auto& shape = buffer.shape();
  EXPECT_EQ(shape.stride, 3);
  EXPECT_EQ(shape.roiWidth, 3);
  EXPECT_EQ(shape.height, 2);
  EXPECT_EQ(shape.roiHeight, 2);
  EXPECT_EQ(shape.elemSize, 1);
  EXPECT_EQ(shape.align, 16);

  const string path = directory.write("c.ppm", "P6\n1 2\n2550\nrgbRGB and more");
  ASSERT_EQ(LUMEN_TEST_IMGIO_ReadPGM(path.c_str(), buffer, LUMEN_MEM_HEAP), 0);
  EXPECT_EQ(buffer.shape().elemSize, 3);
  EXPECT_EQ(elementsOf<char>(buffer), (std::vector<char>{'r', 'g', 'b', 'R', 'G', 'B'}));
  EXPECT_EQ(log.take(), Lines{});
}

TEST_F(TestImage, NamesWhatIsWrongWithAFile) {
  const struct {
    int result;
    const char* content;
  } cases[] = {
      {-1, ""},
      {-1, "P4\n1 1\n255\nx"},
      {-1, "\x1f\x8b\x08"},
      {-4, "P5\n"},
      {-4, "P5\n1\n1\n255\nx"},
      {-4, "P5\nwidth height\n255\nx"},
      {-2, "P5\n0 1\n255\nx"},
      {-2, "P5\n1 65537\n255\nx"},
      {-2, "P5\n-1 -1\n255\nx"},
      {-2, "P5\n1 99999999999999999999\n255\nx"},
      {-4, "P5\n1 1\n65535\nxx"},
      {-4, "P5\n1 1\n"},
      {-5, "P5\n2 2\n255\nxyz"},
      {-5, "P6\n65536 65536\n255\nxyz"},
  };
  for (const auto& [result, content] : cases) {
    ASSERT_TRUE(buffer.Shape({1, 1, 0, 0, 1, 1, 1, 0}, LUMEN_MEM_HEAP, true));
    EXPECT_EQ(read(content), result) << content;
    EXPECT_EQ(buffer.data(), nullptr) << content;
    EXPECT_FALSE(log.take().empty()) << content;
  }
  EXPECT_EQ(read("P5\n7\n"), -4);
  EXPECT_EQ(width, 0);
  EXPECT_EQ(height, 0);
  EXPECT_EQ(LUMEN_TEST_IMGIO_ReadPGM(directory.path().c_str(), buffer, LUMEN_MEM_HEAP), -3);
}

TEST_F(TestImage, PyramidReaderTakesOneChannelOfTheGivenSizeOnly) {
  const string path = directory.write("p.pgm", "P5\n2 2\n255\nabcd");
  char pixels[5] = "....";
  EXPECT_EQ(LUMEN_TEST_ReadPgmForPyramid_v2(pixels, 2, 1, path.c_str()), -5);
  EXPECT_EQ(LUMEN_TEST_ReadPgmForPyramid_v2(pixels, 1, 2, path.c_str()), -5);
  EXPECT_STREQ(pixels, "....");
  EXPECT_EQ(LUMEN_TEST_ReadPgmForPyramid_v2(pixels, 2, 2, path.c_str()), 0);
  EXPECT_STREQ(pixels, "abcd");
  directory.write("p.pgm", "P6\n2 2\n255\nabcdefghijkl");
  EXPECT_EQ(LUMEN_TEST_ReadPgmForPyramid_v2(pixels, 2, 2, path.c_str()), -1);
  EXPECT_EQ(LUMEN_TEST_ReadPgmForPyramid_v2(pixels, 2, 2, "no such file"), -3);
}

TEST_F(TestImage, WriterAndReaderAreOneFormat) {
  const string path = directory.path() + "/written.ppm";
  const unsigned char pixels[] = {0, 10, 13, 35, 255, 32};
  for (const int of : {1, 3}) {
    ASSERT_EQ(LUMEN_TEST_IMGIO_writeppm(pixels, 6 / of, 1, of, path.c_str()), 1);
    ASSERT_EQ(
        LUMEN_TEST_IMGIO_readppm(buffer, &width, &height, &channels, path.c_str(), LUMEN_MEM_HEAP),
        0);
    EXPECT_EQ(channels, of);
    EXPECT_EQ(width, 6 / of);
    EXPECT_EQ(elementsOf<unsigned char>(buffer), std::vector<unsigned char>(pixels, pixels + 6));
  }
  EXPECT_EQ(LUMEN_TEST_IMGIO_writeppm(pixels, 1, 1, 2, path.c_str()), -1);
  EXPECT_EQ(LUMEN_TEST_IMGIO_writeppm(pixels, 0, 1, 1, path.c_str()), -2);
  EXPECT_EQ(LUMEN_TEST_IMGIO_writeppm(pixels, 1, 1, 1, directory.path().c_str()), -3);
  if (std::filesystem::exists("/dev/full")) {
    EXPECT_EQ(LUMEN_TEST_IMGIO_writeppm(pixels, 1, 1, 1, "/dev/full"), -5);
  }
}

TEST_F(TestImage, GreyBecomesColour) {
  lumBuffer rgb;
  const unsigned char gray[] = {1, 2};
  ASSERT_EQ(LUMEN_TEST_IMGIO_ppm_copy_grayscale_to_color(gray, rgb, 2, 1, LUMEN_MEM_LIBRARY), 0);
  EXPECT_EQ(std::vector<int>(rgb.data(), rgb.data() + rgb.size()),
            (std::vector<int>{1, 1, 1, 2, 2, 2}));
  EXPECT_EQ(
      LUMEN_TEST_IMGIO_ppm_copy_grayscale_to_color(gray, rgb, 65536, 65536, LUMEN_MEM_LIBRARY), 1);
  rgb.Free(LUMEN_MEM_LIBRARY);
}

// Draws on a black image with a frame of guard pixels before and after, as a picture.
static string cross(int width, int height, int x, int y) {
  std::vector<unsigned char> rgb(static_cast<size_t>(width * (height + 2) * 3));
  const unsigned char colour[3] = {9, 0, 7};
  LUMEN_TEST_IMGIO_ppm_put_cross(rgb.data() + width * 3, width, height, x, y, colour);
  string picture;
  for (size_t i = 0; i < rgb.size(); i += 3) {
    const bool isDrawn = rgb[i] == 9 && rgb[i + 1] == 0 && rgb[i + 2] == 7;
    picture += isDrawn ? '+' : rgb[i] || rgb[i + 1] || rgb[i + 2] ? '?' : '.';
  }
  EXPECT_EQ(picture.substr(0, static_cast<size_t>(width)), string(static_cast<size_t>(width), '.'));
  EXPECT_EQ(picture.substr(picture.size() - static_cast<size_t>(width)),
            string(static_cast<size_t>(width), '.'));
  return picture.substr(static_cast<size_t>(width), static_cast<size_t>(width * height));
}

TEST_F(TestImage, CrossesAreClippedAndLackTheirRowAtTheBottom) {
  EXPECT_EQ(cross(5, 3, 1, 1),
            ".+..."
            "+++++"
            ".+...");
  EXPECT_EQ(cross(5, 3, 1, 2),
            ".+..."
            ".+..."
            ".+...");
  EXPECT_EQ(cross(5, 3, -3, 0),
            "+...."
            "....."
            ".....");
  EXPECT_EQ(cross(5, 3, 2, 5),
            "....."
            "....."
            "..+..");
  EXPECT_EQ(cross(5, 3, 7, 1),
            "....."
            "....+"
            ".....");
  for (const auto& [x, y] : {std::pair{-4, 0}, {8, 0}, {0, -4}, {0, 6}, {INT32_MAX, INT32_MIN}}) {
    EXPECT_EQ(cross(5, 3, x, y), string(15, '.'));
  }
  unsigned char bright[3] = {20, 1, 3};
  const unsigned char colour[3] = {9, 9, 9};
  LUMEN_TEST_IMGIO_ppm_put_cross(bright, 1, 1, 0, 0, colour);
  EXPECT_EQ(std::vector<int>(bright, bright + 3), (std::vector<int>{20, 9, 9}));
}
