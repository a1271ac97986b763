// Texture image readers: SGI files, verbatim and run-length, and binary PNM.
#include "fileio/sgi.h"

#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"
#include "fileio/entropy.h"

void* (*ptrSGIMalloc)(size_t) = malloc;
void (*ptrSGIFree)(void*) = free;

void setAllocFunc_SGI(void* (*mallocFunc)(size_t), void (*freeFunc)(void*)) {
  ptrSGIMalloc = mallocFunc;
  ptrSGIFree = freeFunc;
}

void ConvertShort(unsigned short* array, long length) {
  for (long i = 0; i < length; i++) {
    unsigned short v = array[i];
    array[i] = static_cast<unsigned short>((v >> 8) | (v << 8));
  }
}

void ConvertLong(unsigned int* array, long length) {
  for (long i = 0; i < length; i++) {
    unsigned int v = array[i];
    array[i] = (v >> 24) | ((v >> 8) & 0xff00u) | ((v << 8) & 0xff0000u) | (v << 24);
  }
}

namespace {

// The header area of an SGI file; tables or pixels start behind it.
constexpr long kSGIHeaderBytes = 512;

// How much shorter than its pixels a texture file may be and still be read. A file cut a
// little short is read as far as it goes, its tail unread (the lenient way these readers
// have always had); a header that claims far more than the file holds is refused before
// anything is allocated for it, so that a few bytes can't ask for gigabytes.
constexpr long long kShortfallAllowance = 1LL << 20;

// Length of the stream in bytes, the position kept; -1 if it can't be learned.
long long streamLength(FILE* f) {
  long here = ftell(f);
  if (here < 0 || fseek(f, 0, SEEK_END) != 0) return -1;
  long end = ftell(f);
  if (fseek(f, here, SEEK_SET) != 0) return -1;
  return end;
}

// A run-length packet of two bytes (a count and a value) gives at most 127 samples: no row
// expands more than that, however its packets are laid out.
constexpr long long kRunSamples = 127;
constexpr long long kRunPacketBytes = 2;

// The SGI header against the file's length. A verbatim file must hold its planes, give or take
// the allowance. A run-length file must hold its row tables whole, as no row can be found
// without them, and behind them enough packet bytes for its samples, give or take the
// allowance. Prints one line on standard error and returns false for a file that can't.
bool sgiSizeFits(const char* name, FILE* f, const ImageRec* image) {
  long long length = streamLength(f);
  long long rows = static_cast<long long>(image->ysize) * image->zsize;
  long long samples = rows * image->xsize;
  if ((image->type & 0xFF00) == 0x0100) {
    long long tableEnd = kSGIHeaderBytes + 2 * static_cast<long long>(sizeof(unsigned int)) * rows;
    if (length < 0 || tableEnd > length) {
      fprintf(stderr, "ImageOpen : Row tables of %u x %u entries are larger than the file [%s]!\n",
              unsigned{image->ysize}, unsigned{image->zsize}, name);
      return false;
    }
    if (samples > (length - tableEnd) / kRunPacketBytes * kRunSamples + kShortfallAllowance) {
      fprintf(stderr, "ImageOpen : Size %u x %u x %u is larger than the file [%s]!\n", unsigned{image->xsize},
              unsigned{image->ysize}, unsigned{image->zsize}, name);
      return false;
    }
    return true;
  }
  if (length < 0 || kSGIHeaderBytes + samples > length + kShortfallAllowance) {
    fprintf(stderr, "ImageOpen : Size %u x %u x %u is larger than the file [%s]!\n", unsigned{image->xsize},
            unsigned{image->ysize}, unsigned{image->zsize}, name);
    return false;
  }
  return true;
}

}  // namespace

void ImageClose(ImageRec* image) {
  if (!image) return;
  if (image->file) fclose(image->file);
  free(image->tmp);
  free(image->tmpR);
  free(image->tmpG);
  free(image->tmpB);
  free(image->rowStart);
  free(image->rowSize);
  free(image);
}

ImageRec* ImageOpen(const char* name) {
  ImageRec* image = static_cast<ImageRec*>(calloc(1, sizeof(ImageRec)));
  if (!image) return nullptr;
  image->file = fopenEZ(name, "rb");
  if (!image->file) {
    ImageClose(image);
    return nullptr;
  }
  unsigned short head[6];
  // A file shorter than its 12 header bytes is refused, rather than read with whatever
  // the record held.
  if (fread(head, 1, 12, image->file) != 12) {
    ImageClose(image);
    return nullptr;
  }
  ConvertShort(head, 6);
  image->imagic = head[0];  // not checked: any magic number is read
  image->type = head[1];
  image->dim = head[2];
  image->xsize = head[3];
  image->ysize = head[4];
  image->zsize = head[5];
  if (!sgiSizeFits(name, image->file, image)) {
    ImageClose(image);
    return nullptr;
  }
  size_t rowBytes = static_cast<size_t>(image->xsize) * 256;
  image->tmp = static_cast<unsigned char*>(malloc(rowBytes + 1));
  image->tmpR = static_cast<unsigned char*>(malloc(rowBytes + 1));
  image->tmpG = static_cast<unsigned char*>(malloc(rowBytes + 1));
  image->tmpB = static_cast<unsigned char*>(malloc(rowBytes + 1));
  if (!image->tmp || !image->tmpR || !image->tmpG || !image->tmpB) {
    ImageClose(image);
    return nullptr;
  }
  if ((image->type & 0xFF00) == 0x0100) {
    size_t entries = static_cast<size_t>(image->ysize) * image->zsize;
    size_t x = entries * sizeof(unsigned int);
    image->rowStart = static_cast<unsigned int*>(malloc(x + 1));
    image->rowSize = static_cast<int*>(malloc(x + 1));
    if (!image->rowStart || !image->rowSize) {
      ImageClose(image);
      return nullptr;
    }
    image->rleEnd = kSGIHeaderBytes + 2 * x;
    // Tables cut short by the file's end are refused, so that no unread entry is used.
    if (fseek(image->file, kSGIHeaderBytes, SEEK_SET) != 0 ||
        fread(image->rowStart, 1, x, image->file) != x || fread(image->rowSize, 1, x, image->file) != x) {
      ImageClose(image);
      return nullptr;
    }
    ConvertLong(image->rowStart, static_cast<long>(entries));
    ConvertLong(reinterpret_cast<unsigned int*>(image->rowSize), static_cast<long>(entries));
  }
  return image;
}

void ImageGetRow(ImageRec* image, unsigned char* buffer, int y, int z) {
  if ((image->type & 0xFF00) == 0x0100) {
    // A row or plane outside the image has no table entry and is left alone, so that the
    // tables aren't indexed past their end.
    if (y < 0 || z < 0 || y >= image->ysize || z >= image->zsize) return;
    size_t idx = static_cast<size_t>(y) + static_cast<size_t>(z) * image->ysize;
    long size = image->rowSize[idx];
    long room = static_cast<long>(image->xsize) * 256;
    // A row larger than the row buffer, or negative, is cut to it, so no read goes past the buffer.
    if (size < 0) size = 0;
    if (size > room) size = room;
    if (fseek(image->file, static_cast<long>(image->rowStart[idx]), SEEK_SET) != 0) return;
    size_t got = fread(image->tmp, 1, static_cast<size_t>(size), image->file);
    // The packets are decoded within the bytes really read and within the row's xsize
    // bytes: a damaged packet stream could otherwise read and write past both.
    const unsigned char* in = image->tmp;
    const unsigned char* inEnd = image->tmp + got;
    unsigned char* out = buffer;
    unsigned char* outEnd = buffer + image->xsize;
    while (in < inEnd) {
      unsigned char pixel = *in++;
      int count = pixel & 0x7f;
      if (count == 0) return;
      if (pixel & 0x80) {
        while (count-- > 0 && in < inEnd) {
          unsigned char v = *in++;
          if (out < outEnd) *out++ = v;
        }
      } else {
        if (in >= inEnd) return;
        unsigned char v = *in++;
        while (count-- > 0 && out < outEnd) *out++ = v;
      }
    }
  } else {
    long offset = kSGIHeaderBytes + static_cast<long>(y) * image->xsize +
                  static_cast<long>(z) * image->xsize * image->ysize;
    if (fseek(image->file, offset, SEEK_SET) != 0) return;
    size_t got = fread(buffer, 1, image->xsize, image->file);
    (void)got;  // a short read isn't noticed: the row's tail keeps what it held
  }
}

void bwtorgba(unsigned char* b, unsigned char* out, int count) {
  while (count-- > 0) {
    out[0] = *b;
    out[1] = *b;
    out[2] = *b;
    out[3] = 0xff;
    out += 4;
    b++;
  }
}

void latorgba(unsigned char* b, unsigned char* a, unsigned char* out, int count) {
  while (count-- > 0) {
    out[0] = *b;
    out[1] = *b;
    out[2] = *b;
    out[3] = *a;
    out += 4;
    b++;
    a++;
  }
}

void rgbtorgba(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* out, int count) {
  while (count-- > 0) {
    out[0] = *r++;
    out[1] = *g++;
    out[2] = *b++;
    out[3] = 0xff;
    out += 4;
  }
}

void rgbatorgba(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* a, unsigned char* out,
                int count) {
  while (count-- > 0) {
    out[0] = *r++;
    out[1] = *g++;
    out[2] = *b++;
    out[3] = *a++;
    out += 4;
  }
}

void bwtobw(unsigned char* b, unsigned char* out, int count) {
  while (count-- > 0) *out++ = *b++;
}

void latola(unsigned char* b, unsigned char* a, unsigned char* out, int count) {
  while (count-- > 0) {
    out[0] = *b++;
    out[1] = *a++;
    out += 2;
  }
}

void rgbtorgb(unsigned char* r, unsigned char* g, unsigned char* b, unsigned char* out, int count) {
  while (count-- > 0) {
    out[0] = *r++;
    out[1] = *g++;
    out[2] = *b++;
    out += 3;
  }
}

namespace {

// Shared body of read_sgi (perPixel 0: as many bytes a pixel as the file has channels,
// at most four packed) and read_texture (perPixel 4).
unsigned char* readSGIImage(const char* name, int* width, int* height, int* channels, int perPixel) {
  ImageRec* image = ImageOpen(name);
  if (!image) return nullptr;
  int xs = image->xsize, ys = image->ysize, zs = image->zsize;
  *width = xs;
  *height = ys;
  *channels = zs;
  // A file of no channels is refused: each row would be written into a buffer of 0 bytes.
  if (zs < 1) {
    ImageClose(image);
    return nullptr;
  }
  // Sizes in size_t: zsize times xsize alone can pass what an int holds.
  size_t stride = static_cast<size_t>(perPixel ? perPixel : zs) * static_cast<size_t>(xs);
  size_t total = stride * static_cast<size_t>(ys);
  unsigned char* base = static_cast<unsigned char*>(ptrSGIMalloc(total ? total : 1));
  unsigned char* rbuf = static_cast<unsigned char*>(calloc(xs + 1, 1));
  unsigned char* gbuf = static_cast<unsigned char*>(calloc(xs + 1, 1));
  unsigned char* bbuf = static_cast<unsigned char*>(calloc(xs + 1, 1));
  unsigned char* abuf = static_cast<unsigned char*>(calloc(xs + 1, 1));
  if (!base || !rbuf || !gbuf || !bbuf || !abuf) {
    if (base) ptrSGIFree(base);
    free(rbuf);
    free(gbuf);
    free(bbuf);
    free(abuf);
    ImageClose(image);
    return nullptr;
  }
  memset(base, 0, total);
  // A verbatim file a little short of its pixels is read, its missing rows black. A row that
  // begins at or past the file's end has nothing to read: it is passed over, instead of a seek
  // and a read of nothing each (a 15-byte file claiming 65280 rows of three planes made that
  // nearly two hundred thousand of each).
  const long fileBytes = getFileSize(image->file);
  const bool verbatim = (image->type & 0xFF00) != 0x0100;
  auto getRow = [&](unsigned char* buffer, int y, int z) {
    long start = kSGIHeaderBytes + static_cast<long>(y) * xs + static_cast<long>(z) * xs * ys;
    if (verbatim && fileBytes >= 0 && start >= fileBytes) return;
    ImageGetRow(image, buffer, y, z);
  };
  unsigned char* lptr = base;
  // An image without columns has no pixels: its rows are not read, which for a header that
  // claims 65535 rows of several planes would be a quarter of a million seeks for nothing.
  for (int y = 0; y < ys && xs > 0; y++) {
    if (zs >= 4) {
      getRow(rbuf, y, 0);
      getRow(gbuf, y, 1);
      getRow(bbuf, y, 2);
      getRow(abuf, y, 3);
      rgbatorgba(rbuf, gbuf, bbuf, abuf, lptr, xs);
    } else if (zs == 3) {
      getRow(rbuf, y, 0);
      getRow(gbuf, y, 1);
      getRow(bbuf, y, 2);
      if (perPixel)
        rgbtorgba(rbuf, gbuf, bbuf, lptr, xs);
      else
        rgbtorgb(rbuf, gbuf, bbuf, lptr, xs);
    } else if (zs == 2) {
      getRow(rbuf, y, 0);
      getRow(abuf, y, 1);
      if (perPixel)
        latorgba(rbuf, abuf, lptr, xs);
      else
        latola(rbuf, abuf, lptr, xs);
    } else {
      getRow(rbuf, y, 0);
      if (perPixel)
        bwtorgba(rbuf, lptr, xs);
      else
        bwtobw(rbuf, lptr, xs);
    }
    lptr += stride;
  }
  ImageClose(image);
  free(rbuf);
  free(gbuf);
  free(bbuf);
  free(abuf);
  return base;
}

bool startsWith(const char* line, const char* prefix) {
  return strncmp(line, prefix, strlen(prefix)) == 0;
}

// Reads the next line (255-byte limit) into line; false at the end of the file.
bool nextLine(FILE* fp, char* line) {
  return fgets(line, 255, fp) != nullptr;
}

}  // namespace

unsigned char* read_sgi(const char* name, int* width, int* height, int* channels) {
  return readSGIImage(name, width, height, channels, 0);
}

unsigned char* read_texture(const char* name, int* width, int* height, int* channels) {
  return readSGIImage(name, width, height, channels, 4);
}

unsigned char* read_pnm_tobuf(const char* name, int* width, int* height, int* channels,
                              unsigned char* buffer) {
  FILE* fp = fopenEZ(name, "rb");
  if (!fp) return nullptr;
  char line[256];
  bool ok;
  while ((ok = nextLine(fp, line)) && line[0] == '#') {
  }
  int comps = 0;
  if (ok && startsWith(line, "P6")) comps = 3;
  if (ok && startsWith(line, "P5")) comps = 1;
  if (!comps) {  // P3, P2 and all else
    fclose(fp);
    return nullptr;
  }
  *channels = comps;
  while ((ok = nextLine(fp, line)) && (line[0] == '#' || isspace(static_cast<unsigned char>(line[0])))) {
  }
  int fields = ok ? sscanf(line, "%d %d", width, height) : 0;
  // Width and height on two lines leave the height unset. Going on would use the unset
  // value, so the image is refused, and the height is left as it was.
  if (fields < 2) {
    fclose(fp);
    return nullptr;
  }
  while (nextLine(fp, line) && line[0] == '#') {
  }
  int maximum = 0;
  sscanf(line, "%d", &maximum);  // read and ignored: samples are bytes
  // Negative sizes, and sizes whose byte count overflows an int, are refused: their count
  // would wrap and that much would be read into the buffer.
  long long bytes = static_cast<long long>(*width) * *height * comps;
  if (*width < 0 || *height < 0) {
    fclose(fp);
    return nullptr;
  }
  // Pixels the rest of the file can't hold, give or take the allowance, are refused with a
  // message before any buffer is taken for them.
  long long here = ftell(fp);
  long long length = streamLength(fp);
  if (here < 0 || length < 0 || bytes > length - here + kShortfallAllowance) {
    fprintf(stderr, "read_pnm : Size %d x %d x %d is larger than the file [%s]!\n", *width, *height, comps,
            name);
    fclose(fp);
    return nullptr;
  }
  if (bytes > INT_MAX) {
    fclose(fp);
    return nullptr;
  }
  unsigned char* buf =
      buffer ? buffer : static_cast<unsigned char*>(ptrSGIMalloc(static_cast<size_t>(bytes ? bytes : 1)));
  if (!buf) {
    fclose(fp);
    return nullptr;
  }
  // A short read isn't reported; the pixels the file lacks are black rather than whatever the
  // buffer held, so that a file cut short always gives the same picture.
  size_t got = fread(buf, 1, static_cast<size_t>(bytes), fp);
  if (got < static_cast<size_t>(bytes)) memset(buf + got, 0, static_cast<size_t>(bytes) - got);
  fclose(fp);
  return buf;
}

unsigned char* read_pnm(const char* name, int* width, int* height, int* channels) {
  return read_pnm_tobuf(name, width, height, channels, nullptr);
}

int write_pnm(const char* path, int width, int height, int channels, unsigned char* pixels) {
  if (channels != 1 && channels != 3) return 2;
  // A negative size would have sent cp_fwrite over a huge count: refused as a bad argument.
  if (width < 0 || height < 0 || static_cast<long long>(width) * height * channels > INT_MAX) return 2;
  FILE* fp = fopen(path, "wb");
  if (!fp) return 1;
  fprintf(fp, channels == 1 ? "P5\n%d %d\n255\n" : "P6\n%d %d\n255\n", width, height);
  long bytes = static_cast<long>(width) * height * channels;
  long here = ftell(fp);
  if (fseek(fp, bytes, SEEK_CUR) != 0) fprintf(stderr, "Disk Full? Failed to fseek in write_pnm.\n\n");
  if (fseek(fp, here, SEEK_SET) != 0) fprintf(stderr, "Disaster? Failed to fseek back.\n\n");
  if (bytes > 0) cp_fwrite(pixels, 1, static_cast<unsigned>(bytes), fp);
  fclose(fp);
  return 0;
}
