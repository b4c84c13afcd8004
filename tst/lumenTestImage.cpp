#include "lumenTestImage.h"

#include <algorithm>
#include <cstring>

#include "lumenTestLines.h"
#include "lumenTestLog.h"
#include "lumenTestNumbers.h"

namespace {

constexpr int kHeaderLine = 1024;
constexpr int64_t kMaxExtent = 65536;
constexpr int64_t kArm = 3;

struct Header {
  int width = 0;
  int height = 0;
  int channels = 0;

  uint64_t bytes() const {
    return static_cast<uint64_t>(width) * static_cast<uint64_t>(height) *
           static_cast<uint64_t>(channels);
  }
};

int readHeader(FILE* file, Header& header) {
  char line[kHeaderLine];
  const char* text = get_a_valid_line(file, line, sizeof(line));
  if (text && std::strncmp(text, "P6", 2) == 0) header.channels = 3;
  else if (text && std::strncmp(text, "P5", 2) == 0) header.channels = 1;
  else return LUMEN_TEST_IMGIO_KIND;

  int64_t size[2];
  text = get_a_valid_line(file, line, sizeof(line));
  if (!text || !LUMEN_TEST_ParseIntegers(text, ' ', size, 2)) return LUMEN_TEST_IMGIO_HEADER;
  header.width = static_cast<int>(std::clamp<int64_t>(size[0], INT32_MIN, INT32_MAX));
  header.height = static_cast<int>(std::clamp<int64_t>(size[1], INT32_MIN, INT32_MAX));
  for (const int64_t extent : size) {
    if (extent < 1 || extent > kMaxExtent) return LUMEN_TEST_IMGIO_SIZE;
  }

  text = get_a_valid_line(file, line, sizeof(line));
  if (!text || std::strncmp(text, "255", 3) != 0) return LUMEN_TEST_IMGIO_HEADER;
  // Asked here, before a caller makes room for pixels that are not there.
  return LUMEN_TEST_BytesLeft(file) < header.bytes() ? LUMEN_TEST_IMGIO_PIXELS
                                                     : LUMEN_TEST_IMGIO_READ;
}

// Opens, reads the header, lets `pixelsFor` give the room for the pixels or a result that ends the
// read, and reads them.
template <class PixelsFor>
int readImage(const char* path, Header& header, PixelsFor pixelsFor) {
  const LUMEN_TEST_File file = LUMEN_TEST_OpenData(path);
  if (!file) return LUMEN_TEST_IMGIO_OPEN;
  int result = readHeader(file.get(), header);
  if (result == LUMEN_TEST_IMGIO_READ) {
    void* pixels = nullptr;
    result = pixelsFor(pixels);
    const auto bytes = static_cast<size_t>(header.bytes());
    if (result == LUMEN_TEST_IMGIO_READ && std::fread(pixels, 1, bytes, file.get()) != bytes) {
      result = LUMEN_TEST_IMGIO_PIXELS;
    }
  }
  if (result != LUMEN_TEST_IMGIO_READ) {
    LUMEN_TEST_Log("Invalid image file '%s' - result %d\n", path, result);
  }
  return result;
}

}  // namespace

int LUMEN_TEST_IMGIO_readppm(LUMEN_TEST_Buffer& buffer, int* width, int* height, int* channels,
                             const char* path, lumMemOption opt) {
  Header header;
  const int result = readImage(path, header, [&](void*& pixels) -> int {
    const LUMEN_TEST_Buffer::MemShape_ shape = {
        header.width,    header.height,       0, 0, header.width, header.height,
        header.channels, buffer.shape().align};
    if (!buffer.Shape(shape, opt, true)) return LUMEN_TEST_IMGIO_MEMORY;
    pixels = buffer.data();
    return LUMEN_TEST_IMGIO_READ;
  });
  if (result != LUMEN_TEST_IMGIO_READ) buffer.Release();
  *width = header.width;
  *height = header.height;
  *channels = header.channels;
  return result;
}

int LUMEN_TEST_IMGIO_ReadPGM(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt) {
  int width, height, channels;
  return LUMEN_TEST_IMGIO_readppm(buffer, &width, &height, &channels, path, opt);
}

int LUMEN_TEST_ReadPgmForPyramid_v2(void* pixels, int width, int height, const char* path) {
  Header header;
  return readImage(path, header, [&](void*& room) -> int {
    // The caller's memory has no room for more channels.
    if (header.channels != 1) return LUMEN_TEST_IMGIO_KIND;
    if (header.width != width || header.height != height) return LUMEN_TEST_IMGIO_PIXELS;
    room = pixels;
    return LUMEN_TEST_IMGIO_READ;
  });
}

int LUMEN_TEST_IMGIO_writeppm(const unsigned char* pixels, int width, int height, int channels,
                              const char* path) {
  if (channels != 1 && channels != 3) return LUMEN_TEST_IMGIO_KIND;
  if (width < 1 || height < 1) return LUMEN_TEST_IMGIO_SIZE;
  LUMEN_TEST_File file(std::fopen(path, "wb"));
  if (!file) {
    LUMEN_TEST_Log("Could not open '%s'...\n", path);
    return LUMEN_TEST_IMGIO_OPEN;
  }
  const Header header = {width, height, channels};
  if (std::fprintf(file.get(), "%s\n%d %d\n255\n", channels == 1 ? "P5" : "P6", width, height) <
      0) {
    LUMEN_TEST_Log("Could not write '%s'...\n", path);
    return LUMEN_TEST_IMGIO_HEADER;
  }
  const auto bytes = static_cast<size_t>(header.bytes());
  const bool isWritten = std::fwrite(pixels, 1, bytes, file.get()) == bytes;
  // A full disk may show only when the file is closed.
  if (std::fclose(file.release()) != 0 || !isWritten) {
    LUMEN_TEST_Log("Could not write '%s'...\n", path);
    return LUMEN_TEST_IMGIO_PIXELS;
  }
  return LUMEN_TEST_IMGIO_WRITTEN;
}

int LUMEN_TEST_IMGIO_ppm_copy_grayscale_to_color(const unsigned char* gray, lumBuffer& rgb,
                                                 int width, int height, lumMemOption opt) {
  uint64_t bytes = 0;
  if (!LUMEN_TEST_Product({width, height, 3}, bytes) || bytes > UINT32_MAX ||
      !rgb.Size(static_cast<uint32_t>(bytes), opt, true)) {
    LUMEN_TEST_Log("Failed to allocate memory!!\n");
    return 1;
  }
  unsigned char* out = rgb.data();
  for (const unsigned char* end = gray + bytes / 3; gray != end; ++gray) {
    out = std::fill_n(out, 3, *gray);
  }
  return 0;
}

void LUMEN_TEST_IMGIO_ppm_put_cross(unsigned char* rgb, int width, int height, int x, int y,
                                    const unsigned char colour[3]) {
  const int64_t w = width, h = height, column = x, row = y;
  const auto brighten = [&](int64_t atColumn, int64_t atRow) {
    unsigned char* pixel = rgb + (atRow * w + atColumn) * 3;
    for (int channel = 0; channel < 3; ++channel) {
      pixel[channel] = std::max(pixel[channel], colour[channel]);
    }
  };
  const auto arm = [](int64_t centre, int64_t size, auto put) {
    if (centre < -kArm || centre >= size + kArm) return;
    const int64_t end = std::min(centre + kArm, size - 1);
    for (int64_t at = std::max<int64_t>(centre - kArm, 0); at <= end; ++at) put(at);
  };
  if (column >= 0 && column < w) arm(row, h, [&](int64_t at) { brighten(column, at); });
  if (row >= 0 && row < h - 1) arm(column, w, [&](int64_t at) { brighten(at, row); });
}
