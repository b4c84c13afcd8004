// 8-bit PGM and PPM images: reading, writing, and marks on results that are written out.
//
// A reader that fails says so in the log and releases the buffer.

#ifndef LUMEN_TEST_IMAGE_H
#define LUMEN_TEST_IMAGE_H

#include <cstdint>

#include "lumenTestBuffer.h"

// What the reader and the writer of images return. They differ in success: 0 for the reader, 1 for
// the writer.
enum LUMEN_TEST_IMGIO_RESULT : int {
  LUMEN_TEST_IMGIO_READ = 0,
  LUMEN_TEST_IMGIO_WRITTEN = 1,
  LUMEN_TEST_IMGIO_KIND = -1,    // neither one channel nor three
  LUMEN_TEST_IMGIO_SIZE = -2,    // width or height outside 1..65536 (writer: below 1)
  LUMEN_TEST_IMGIO_OPEN = -3,    // the file cannot be opened
  LUMEN_TEST_IMGIO_HEADER = -4,  // bad header (writer: the header was not written)
  LUMEN_TEST_IMGIO_PIXELS = -5,  // fewer pixels than declared; not the size that was asked for
  LUMEN_TEST_IMGIO_MEMORY = -6,
};

// Reads "P5" (one channel) and "P6" (three) with 255 as the greatest value; of that line only the
// first three characters count. An element of the buffer is a pixel; its `align` stays.
int LUMEN_TEST_IMGIO_readppm(LUMEN_TEST_Buffer& buffer, int* width, int* height, int* channels,
                             const char* path, lumMemOption opt);

// The same with the size left in the buffer's shape.
int LUMEN_TEST_IMGIO_ReadPGM(const char* path, LUMEN_TEST_Buffer& buffer, lumMemOption opt);

// Reads an image of one channel and exactly this size into memory of width x height bytes.
int LUMEN_TEST_ReadPgmForPyramid_v2(void* pixels, int width, int height, const char* path);

int LUMEN_TEST_IMGIO_writeppm(const unsigned char* pixels, int width, int height, int channels,
                              const char* path);

// Makes `rgb` width x height pixels of three channels, each with the grey value. 0, or 1 when there
// is no memory.
int LUMEN_TEST_IMGIO_ppm_copy_grayscale_to_color(const unsigned char* gray, lumBuffer& rgb,
                                                 int width, int height, lumMemOption opt);

// Draws a cross with arms of 3 pixels around (x, y), clipped to the image; each channel becomes the
// greater of its value and the colour's. The arm along the row is never drawn on the last row.
void LUMEN_TEST_IMGIO_ppm_put_cross(unsigned char* rgb, int width, int height, int x, int y,
                                    const unsigned char colour[3]);

#endif  // LUMEN_TEST_IMAGE_H
