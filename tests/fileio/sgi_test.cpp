// Texture reading: SGI files and binary PNM, with ImageMagick as the independent peer.
#include "fileio/sgi.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "fileio/entropy.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testsupport::fileExists;
using testsupport::readFile;
using testsupport::run;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

using Bytes = std::string;

Bytes be16(unsigned v) {
  return Bytes{static_cast<char>(v >> 8), static_cast<char>(v & 0xff)};
}
Bytes be32(unsigned v) {
  return be16(v >> 16) + be16(v & 0xffff);
}

// A 512-byte SGI header: magic, type, dim, xsize, ysize, zsize, then zeros.
Bytes sgiHeader(unsigned x, unsigned y, unsigned z, bool rle, unsigned magic = 474) {
  Bytes h = be16(magic) + be16(rle ? 0x0101 : 0x0001) + be16(z > 1 ? 3 : 2) + be16(x) + be16(y) + be16(z);
  return h + Bytes(512 - h.size(), '\0');
}

// A run-length file from the rows' packet bytes, rows indexed y + z * ysize.
Bytes sgiRLE(unsigned x, unsigned y, unsigned z, const std::vector<Bytes>& rows) {
  Bytes starts, sizes, data;
  unsigned at = 512 + 8 * y * z;
  for (const Bytes& r : rows) {
    starts += be32(at);
    sizes += be32(static_cast<unsigned>(r.size()));
    data += r;
    at += static_cast<unsigned>(r.size());
  }
  return sgiHeader(x, y, z, true) + starts + sizes + data;
}

Bytes bytes(const unsigned char* p, size_t n) {
  return Bytes(reinterpret_cast<const char*>(p), n);
}

// The test image: w x h pixels, 3 channels, top row first as in a PNM file.
std::vector<unsigned char> testImage(int w, int h) {
  std::vector<unsigned char> px(w * h * 3);
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      unsigned char* p = &px[(y * w + x) * 3];
      p[0] = static_cast<unsigned char>(x * 40 + 5);
      p[1] = static_cast<unsigned char>(y * 60 + 7);
      p[2] = static_cast<unsigned char>((x + y) % 2 ? 200 : (x * y * 11) % 256);
    }
  return px;
}

// Rows reversed: the order an SGI file keeps them in, bottom first.
std::vector<unsigned char> flipRows(const std::vector<unsigned char>& px, int w, int h, int comps) {
  std::vector<unsigned char> out(px.size());
  for (int y = 0; y < h; y++)
    memcpy(&out[(h - 1 - y) * w * comps], &px[y * w * comps], static_cast<size_t>(w) * comps);
  return out;
}

}  // namespace

TEST(SGI, VerbatimOneChannelFourByTwoReadsRowsAt512And516) {
  TempDir dir;
  writeFile(dir.file("v.sgi"), sgiHeader(4, 2, 1, false) + "abcd" + "efgh");
  int w = 0, h = 0, c = 0;
  unsigned char* px = read_sgi(dir.file("v.sgi").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(w, 4);
  EXPECT_EQ(h, 2);
  EXPECT_EQ(c, 1);
  EXPECT_EQ(bytes(px, 8), "abcdefgh");
  free(px);
  ImageRec* img = ImageOpen(dir.file("v.sgi").c_str());
  ASSERT_NE(img, nullptr);
  unsigned char row[4];
  ImageGetRow(img, row, 1, 0);
  EXPECT_EQ(bytes(row, 4), "efgh");
  EXPECT_EQ(img->rowStart, nullptr);
  EXPECT_EQ(img->rowSize, nullptr);
  ImageClose(img);
}

TEST(SGI, WrongMagicIsReadAllTheSame) {
  TempDir dir;
  writeFile(dir.file("m.sgi"), sgiHeader(2, 1, 1, false, 0x1234) + "xy");
  int w, h, c;
  unsigned char* px = read_sgi(dir.file("m.sgi").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(bytes(px, 2), "xy");
  free(px);
  ImageRec* img = ImageOpen(dir.file("m.sgi").c_str());
  EXPECT_EQ(img->imagic, 0x1234);
  ImageClose(img);
}

TEST(SGI, RunLengthPackets) {
  TempDir dir;
  // 0x83 copies the next three bytes, 0x03 repeats the next byte three times, 0 ends the row.
  writeFile(dir.file("r.sgi"), sgiRLE(6, 1, 1,
                                      {Bytes("\x83"
                                             "abc"
                                             "\x03"
                                             "z"
                                             "\x00",
                                             7)}));
  ImageRec* img = ImageOpen(dir.file("r.sgi").c_str());
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(img->rleEnd, 512u + 8u);
  EXPECT_EQ(img->rowStart[0], 520u);
  EXPECT_EQ(img->rowSize[0], 7);
  unsigned char row[6] = {0};
  ImageGetRow(img, row, 0, 0);
  EXPECT_EQ(bytes(row, 6), "abczzz");
  ImageClose(img);
}

TEST(SGI, RunLengthPacketsThatWouldWritePastTheRowAreCut) {
  TempDir dir;
  // 127 literal bytes and a run of 127 into a row of 4: the row is filled and nothing more.
  Bytes row = "\xff" + Bytes(127, 'L') + "\x7f" + "R";
  writeFile(dir.file("o.sgi"), sgiRLE(4, 1, 1, {row}));
  ImageRec* img = ImageOpen(dir.file("o.sgi").c_str());
  ASSERT_NE(img, nullptr);
  std::vector<unsigned char> buf(4 + 8, '#');
  ImageGetRow(img, buf.data(), 0, 0);
  EXPECT_EQ(bytes(buf.data(), 12), "LLLL########");
  ImageClose(img);
  int w, h, c;
  unsigned char* px = read_texture(dir.file("o.sgi").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(bytes(px, 16), "LLL\xffLLL\xffLLL\xffLLL\xff");
  free(px);
}

TEST(SGI, DamagedRunLengthFilesAreSafe) {
  TempDir dir;
  Bytes good = sgiRLE(4, 2, 1, {Bytes("\x04q\0", 3), Bytes("\x84wxyz\0", 6)});
  std::vector<std::pair<std::string, Bytes>> cases;
  // Row size far beyond the row buffer, and negative.
  Bytes big = good;
  big.replace(512 + 8, 4, be32(0x7fffffff));
  cases.push_back({"huge row size", big});
  Bytes neg = good;
  neg.replace(512 + 8, 4, be32(0xfffffff0u));
  cases.push_back({"negative row size", neg});
  // Row start outside the file.
  Bytes far = good;
  far.replace(512, 4, be32(0x7ffffff0));
  cases.push_back({"row start outside", far});
  // Packets with no end marker, and a run with no byte to repeat.
  cases.push_back({"no end marker", sgiRLE(4, 1, 1,
                                           {Bytes("\x82"
                                                  "ab"
                                                  "\x82"
                                                  "cd"
                                                  "\x82",
                                                  7)})});
  cases.push_back({"run without value", sgiRLE(4, 1, 1, {Bytes("\x05", 1)})});
  cases.push_back({"literal runs short", sgiRLE(4, 1, 1,
                                                {Bytes("\x90"
                                                       "ab",
                                                       3)})});
  // Tables cut short, header cut short, no channels, more channels than the packers take.
  cases.push_back({"tables cut", good.substr(0, 515)});
  cases.push_back({"header cut", good.substr(0, 7)});
  cases.push_back({"zero channels", sgiRLE(4, 1, 0, {})});
  cases.push_back({"zero width", sgiRLE(0, 1, 1, {Bytes("\x84wxyz\0", 6)})});
  for (auto& [name, b] : cases) {
    writeFile(dir.file("d.sgi"), b);
    int w = -1, h = -1, c = -1;
    unsigned char* px = read_sgi(dir.file("d.sgi").c_str(), &w, &h, &c);
    if (px) free(px);
    px = read_texture(dir.file("d.sgi").c_str(), &w, &h, &c);
    if (px) free(px);
  }
  // The packet cases decode as far as the bytes go, and no further than the row.
  auto firstRow = [&](const Bytes& file) {
    writeFile(dir.file("p.sgi"), file);
    ImageRec* img = ImageOpen(dir.file("p.sgi").c_str());
    std::vector<unsigned char> row(4 + 4, '-');
    if (img) ImageGetRow(img, row.data(), 0, 0);
    ImageClose(img);
    return bytes(row.data(), row.size());
  };
  EXPECT_EQ(firstRow(sgiRLE(4, 1, 1,
                            {Bytes("\x82"
                                   "ab"
                                   "\x82"
                                   "cd"
                                   "\x82",
                                   7)})),
            "abcd----");
  EXPECT_EQ(firstRow(sgiRLE(4, 1, 1, {Bytes("\x05", 1)})), "--------");
  EXPECT_EQ(firstRow(sgiRLE(4, 1, 1,
                            {Bytes("\x90"
                                   "ab",
                                   3)})),
            "ab------");
  // A row size far beyond the row buffer is cut to it; the row still decodes.
  EXPECT_EQ(firstRow(big), "qqqq----");
  // A negative row size reads nothing.
  EXPECT_EQ(firstRow(neg), "--------");
  // Of these, the header and table cuts and the file without channels give nothing.
  writeFile(dir.file("d.sgi"), good.substr(0, 515));
  int w, h, c;
  EXPECT_EQ(read_sgi(dir.file("d.sgi").c_str(), &w, &h, &c), nullptr);
  writeFile(dir.file("d.sgi"), good.substr(0, 7));
  EXPECT_EQ(ImageOpen(dir.file("d.sgi").c_str()), nullptr);
  writeFile(dir.file("d.sgi"), sgiRLE(4, 1, 0, {}));
  EXPECT_EQ(read_sgi(dir.file("d.sgi").c_str(), &w, &h, &c), nullptr);
  EXPECT_EQ(c, 0);
}

TEST(SGI, RowOutsideTheImageIsLeftAlone) {
  TempDir dir;
  writeFile(dir.file("r.sgi"), sgiRLE(2, 1, 1, {Bytes("\x02q\0", 3)}));
  ImageRec* img = ImageOpen(dir.file("r.sgi").c_str());
  unsigned char row[2] = {'-', '-'};
  ImageGetRow(img, row, 5, 0);
  ImageGetRow(img, row, 0, 3);
  ImageGetRow(img, row, -1, 0);
  EXPECT_EQ(bytes(row, 2), "--");
  ImageClose(img);
}

TEST(SGI, MoreThanFourChannelsReadAsFourWithTheFileStride) {
  TempDir dir;
  // 2 x 2 pixels, 5 planes, verbatim: row y of plane z holds bytes 'a'+z and 'A'+z, plus 10 y.
  Bytes planes;
  for (int z = 0; z < 5; z++)
    for (int y = 0; y < 2; y++)
      planes += Bytes{static_cast<char>('a' + z + 10 * y), static_cast<char>('A' + z + 10 * y)};
  writeFile(dir.file("5.sgi"), sgiHeader(2, 2, 5, false) + planes);
  int w, h, c;
  unsigned char* px = read_sgi(dir.file("5.sgi").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(c, 5);
  // Four bytes a pixel packed, but each row starts 2 x 5 bytes after the last.
  EXPECT_EQ(bytes(px, 8), "abcdABCD");
  EXPECT_EQ(bytes(px + 10, 8), "klmnKLMN");
  free(px);
  px = read_texture(dir.file("5.sgi").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(c, 5);
  EXPECT_EQ(bytes(px, 16), "abcdABCDklmnKLMN");
  free(px);
}

TEST(SGI, VerbatimShortReadIsNotNoticed) {
  TempDir dir;
  // 4 x 2, one plane, the second row cut to two bytes: the row buffer keeps the rest of row 0.
  writeFile(dir.file("s.sgi"), sgiHeader(4, 2, 1, false) + "abcd" + "ef");
  int w, h, c;
  unsigned char* px = read_sgi(dir.file("s.sgi").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(bytes(px, 8), "abcdefcd");
  free(px);
}

TEST(SGI, VerbatimRowsAreSoughtByTheirOffsetAlone) {
  TempDir dir;
  // Row y of plane z at 512 + y xsize + z xsize ysize, with no check against the image:
  // row 2 of plane 0 of a 4 x 2 image is the bytes behind it, where plane 1 would begin.
  writeFile(dir.file("v.sgi"), sgiHeader(4, 2, 1, false) + "abcd" + "efgh" + "ijkl");
  ImageRec* img = ImageOpen(dir.file("v.sgi").c_str());
  ASSERT_NE(img, nullptr);
  unsigned char row[4] = {'-', '-', '-', '-'};
  ImageGetRow(img, row, 2, 0);
  EXPECT_EQ(bytes(row, 4), "ijkl");
  ImageGetRow(img, row, 0, 1);
  EXPECT_EQ(bytes(row, 4), "ijkl");
  ImageClose(img);
}

TEST(SGI, ReadTextureGivesFourBytesPerPixel) {
  TempDir dir;
  writeFile(dir.file("g.sgi"), sgiHeader(2, 1, 1, false) + "\x10\x20");
  writeFile(dir.file("la.sgi"), sgiHeader(2, 1, 2, false) + "\x10\x20" + "\x01\x02");
  writeFile(dir.file("rgb.sgi"), sgiHeader(2, 1, 3, false) + "ab" + "cd" + "ef");
  int w, h, c;
  unsigned char* px = read_texture(dir.file("g.sgi").c_str(), &w, &h, &c);
  EXPECT_EQ(c, 1);
  EXPECT_EQ(bytes(px, 8), "\x10\x10\x10\xff\x20\x20\x20\xff");
  free(px);
  px = read_texture(dir.file("la.sgi").c_str(), &w, &h, &c);
  EXPECT_EQ(c, 2);
  EXPECT_EQ(bytes(px, 8), Bytes("\x10\x10\x10\x01\x20\x20\x20\x02", 8));
  free(px);
  px = read_sgi(dir.file("la.sgi").c_str(), &w, &h, &c);
  EXPECT_EQ(bytes(px, 4), Bytes("\x10\x01\x20\x02", 4));
  free(px);
  px = read_texture(dir.file("rgb.sgi").c_str(), &w, &h, &c);
  EXPECT_EQ(c, 3);
  EXPECT_EQ(bytes(px, 8),
            "ace\xff"
            "bdf\xff");
  free(px);
}

TEST(SGI, MissingFileGivesNull) {
  int w, h, c;
  EXPECT_EQ(read_sgi("/no/such.sgi", &w, &h, &c), nullptr);
  EXPECT_EQ(read_texture("/no/such.sgi", &w, &h, &c), nullptr);
  EXPECT_EQ(ImageOpen("/no/such.sgi"), nullptr);
}

TEST(SGI, AllocatorPairIsUsedForThePixels) {
  TempDir dir;
  writeFile(dir.file("v.sgi"), sgiHeader(2, 1, 1, false) + "ab");
  int w, h, c;
  {
    testsupport::FailAllocScope never(-1);
    setAllocFunc_SGI(testsupport::failingAlloc, free);
    unsigned char* px = read_sgi(dir.file("v.sgi").c_str(), &w, &h, &c);
    EXPECT_EQ(testsupport::failingAllocCalls(), 1);
    free(px);
  }
  {
    testsupport::FailAllocScope always(0);
    EXPECT_EQ(read_sgi(dir.file("v.sgi").c_str(), &w, &h, &c), nullptr);
  }
  setAllocFunc_SGI(malloc, free);
}

TEST(SGI, ConvertShortAndLong) {
  unsigned short s[2] = {0x0102, 0xA0B0};
  ConvertShort(s, 2);
  EXPECT_EQ(s[0], 0x0201);
  EXPECT_EQ(s[1], 0xB0A0);
  unsigned int l[1] = {0x01020304u};
  ConvertLong(l, 1);
  EXPECT_EQ(l[0], 0x04030201u);
}

TEST(SGI, RowPackers) {
  unsigned char r[2] = {1, 2}, g[2] = {3, 4}, b[2] = {5, 6}, a[2] = {7, 8}, out[8];
  bwtorgba(r, out, 2);
  EXPECT_EQ(bytes(out, 8), Bytes("\1\1\1\xff\2\2\2\xff", 8));
  latorgba(r, a, out, 2);
  EXPECT_EQ(bytes(out, 8), Bytes("\1\1\1\7\2\2\2\x08", 8));
  rgbtorgba(r, g, b, out, 2);
  EXPECT_EQ(bytes(out, 8), Bytes("\1\3\5\xff\2\4\6\xff", 8));
  rgbatorgba(r, g, b, a, out, 2);
  EXPECT_EQ(bytes(out, 8), Bytes("\1\3\5\7\2\4\6\x08", 8));
  bwtobw(r, out, 2);
  EXPECT_EQ(bytes(out, 2), Bytes("\1\2", 2));
  latola(r, a, out, 2);
  EXPECT_EQ(bytes(out, 4), Bytes("\1\7\2\x08", 4));
  rgbtorgb(r, g, b, out, 2);
  EXPECT_EQ(bytes(out, 6), Bytes("\1\3\5\2\4\6", 6));
}

TEST(SGIPeer, ImageMagickVerbatimAndRunLengthFilesReadWithRowsBottomFirst) {
  TempDir dir;
  const int w = 7, h = 5;
  std::vector<unsigned char> px = testImage(w, h);
  ASSERT_EQ(write_pnm(dir.file("src.ppm").c_str(), w, h, 3, px.data()), 0);
  std::vector<unsigned char> grey(w * h);
  for (int i = 0; i < w * h; i++) grey[i] = px[i * 3 + 1];
  ASSERT_EQ(write_pnm(dir.file("src.pgm").c_str(), w, h, 1, grey.data()), 0);
  std::vector<unsigned char> bottomFirst = flipRows(px, w, h, 3);
  std::vector<unsigned char> greyBottomFirst = flipRows(grey, w, h, 1);
  for (const char* compress : {"None", "RLE"}) {
    std::string sgi = dir.file(std::string("c-") + compress + ".sgi");
    auto r = run("convert " + dir.file("src.ppm") + " -compress " + compress + " " + sgi);
    ASSERT_EQ(r.status, 0) << r.err;
    ImageRec* img = ImageOpen(sgi.c_str());
    ASSERT_NE(img, nullptr);
    EXPECT_EQ((img->type & 0xFF00) == 0x0100, std::string(compress) == "RLE");
    ImageClose(img);
    int rw, rh, rc;
    unsigned char* got = read_sgi(sgi.c_str(), &rw, &rh, &rc);
    ASSERT_NE(got, nullptr) << compress;
    EXPECT_EQ(rw, w);
    EXPECT_EQ(rh, h);
    EXPECT_EQ(rc, 3);
    EXPECT_EQ(bytes(got, px.size()), bytes(bottomFirst.data(), px.size())) << compress;
    free(got);
    got = read_texture(sgi.c_str(), &rw, &rh, &rc);
    ASSERT_NE(got, nullptr);
    for (int i = 0; i < w * h; i++) {
      EXPECT_EQ(bytes(got + 4 * i, 3), bytes(&bottomFirst[3 * i], 3)) << compress << i;
      EXPECT_EQ(got[4 * i + 3], 255);
    }
    free(got);

    std::string gsgi = dir.file(std::string("g-") + compress + ".sgi");
    r = run("convert " + dir.file("src.pgm") + " -compress " + compress + " " + gsgi);
    ASSERT_EQ(r.status, 0) << r.err;
    got = read_sgi(gsgi.c_str(), &rw, &rh, &rc);
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(rc, 1);
    EXPECT_EQ(bytes(got, grey.size()), bytes(greyBottomFirst.data(), grey.size())) << compress;
    free(got);

    // With an alpha plane taken from the grey image.
    std::string asgi = dir.file(std::string("a-") + compress + ".sgi");
    r = run("convert " + dir.file("src.ppm") + " " + dir.file("src.pgm") +
            " -alpha off -compose CopyOpacity -composite -compress " + compress + " " + asgi);
    ASSERT_EQ(r.status, 0) << r.err;
    got = read_texture(asgi.c_str(), &rw, &rh, &rc);
    ASSERT_NE(got, nullptr);
    EXPECT_EQ(rc, 4);
    for (int i = 0; i < w * h; i++) {
      EXPECT_EQ(bytes(got + 4 * i, 3), bytes(&bottomFirst[3 * i], 3)) << compress << i;
      EXPECT_EQ(got[4 * i + 3], greyBottomFirst[i]) << compress << i;
    }
    free(got);
  }
}

TEST(SGIPeer, EZPackedImagesReadTheSame) {
  TempDir dir;
  const int w = 6, h = 4;
  std::vector<unsigned char> px = testImage(w, h);
  write_pnm(dir.file("src.ppm").c_str(), w, h, 3, px.data());
  ASSERT_EQ(run("convert " + dir.file("src.ppm") + " -compress RLE " + dir.file("a.sgi")).status, 0);
  for (const char* name : {"a.sgi", "src.ppm"}) {
    FILE* in = fopen(dir.file(name).c_str(), "rb");
    FILE* out = fopen(dir.file(std::string(name) + ".ez").c_str(), "wb");
    PackFromFile(out, in);
    fclose(in);
    fclose(out);
  }
  int w1, h1, c1, w2, h2, c2;
  unsigned char* a = read_sgi(dir.file("a.sgi").c_str(), &w1, &h1, &c1);
  unsigned char* b = read_sgi(dir.file("a.sgi.ez").c_str(), &w2, &h2, &c2);
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(bytes(a, w * h * 3), bytes(b, w * h * 3));
  free(a);
  free(b);
  a = read_pnm(dir.file("src.ppm.ez").c_str(), &w1, &h1, &c1);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(bytes(a, px.size()), bytes(px.data(), px.size()));
  free(a);
}

TEST(TexturePNM, ReadsP6AndP5TopRowFirst) {
  TempDir dir;
  writeFile(dir.file("c.ppm"), "P6\n# comment\n2 2\n255\nabcdefghijkl");
  int w = 0, h = 0, c = 0;
  unsigned char* px = read_pnm(dir.file("c.ppm").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(w, 2);
  EXPECT_EQ(h, 2);
  EXPECT_EQ(c, 3);
  EXPECT_EQ(bytes(px, 12), "abcdefghijkl");
  free(px);
  writeFile(dir.file("g.pgm"), "# leading comment\nP5\n\n 3 1\n3 1\n# between\n255\nxyz");
  px = read_pnm(dir.file("g.pgm").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(w, 3);
  EXPECT_EQ(h, 1);
  EXPECT_EQ(c, 1);
  EXPECT_EQ(bytes(px, 3), "xyz");
  free(px);
}

TEST(TexturePNM, LinesAreReadWithA255ByteLimit) {
  TempDir dir;
  int w, h, c;
  // A comment that fits is skipped.
  writeFile(dir.file("a.pgm"), "# " + Bytes(200, 'x') + "\nP5\n1 1\n255\nQ");
  unsigned char* px = read_pnm(dir.file("a.pgm").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(px[0], 'Q');
  free(px);
  // A longer one is read in two pieces; the second doesn't begin with '#' and is taken for
  // the first line, which isn't "P5" or "P6".
  writeFile(dir.file("b.pgm"), "# " + Bytes(300, 'x') + "\nP5\n1 1\n255\nQ");
  EXPECT_EQ(read_pnm(dir.file("b.pgm").c_str(), &w, &h, &c), nullptr);
}

TEST(TexturePNM, TextFormatsAreRejectedByTheirFirstLine) {
  TempDir dir;
  writeFile(dir.file("p3.ppm"), "P3\n1 1\n255\n1 2 3\n");
  writeFile(dir.file("p2.pgm"), "P2\n1 1\n255\n7\n");
  int w, h, c;
  EXPECT_EQ(read_pnm(dir.file("p3.ppm").c_str(), &w, &h, &c), nullptr);
  EXPECT_EQ(read_pnm(dir.file("p2.pgm").c_str(), &w, &h, &c), nullptr);
  EXPECT_EQ(read_pnm("/no/such.ppm", &w, &h, &c), nullptr);
}

TEST(TexturePNM, WidthAndHeightOnTwoLinesLeaveTheHeightUnset) {
  TempDir dir;
  writeFile(dir.file("two.pgm"), "P5\n2\n2\n255\nabcd");
  int w = -7, h = -7, c = -7;
  unsigned char* px = read_pnm(dir.file("two.pgm").c_str(), &w, &h, &c);
  EXPECT_EQ(w, 2);
  EXPECT_EQ(h, -7);
  EXPECT_EQ(px, nullptr);  // no height to size the image with: nothing is read
}

TEST(TexturePNM, MaximumOf65535IsReadAsBytes) {
  TempDir dir;
  // Two 16-bit samples 0x0102 and 0x0304: read as the bytes 1 and 2, the image is wrong.
  writeFile(dir.file("16.pgm"), Bytes("P5\n2 1\n65535\n\x01\x02\x03\x04", 17));
  int w, h, c;
  unsigned char* px = read_pnm(dir.file("16.pgm").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(bytes(px, 2), Bytes("\x01\x02", 2));
  free(px);
}

TEST(TexturePNM, IntoTheCallersBuffer) {
  TempDir dir;
  writeFile(dir.file("c.ppm"), "P6\n1 1\n255\nrgb");
  unsigned char buf[5] = {'-', '-', '-', '-', '-'};
  int w, h, c;
  EXPECT_EQ(read_pnm_tobuf(dir.file("c.ppm").c_str(), &w, &h, &c, buf), buf);
  EXPECT_EQ(bytes(buf, 5), "rgb--");
  {
    testsupport::FailAllocScope never(-1);
    setAllocFunc_SGI(testsupport::failingAlloc, free);
    unsigned char* px = read_pnm_tobuf(dir.file("c.ppm").c_str(), &w, &h, &c, nullptr);
    EXPECT_EQ(testsupport::failingAllocCalls(), 1);
    free(px);
  }
  setAllocFunc_SGI(malloc, free);
}

TEST(TexturePNM, DamagedSizesAreRefused) {
  TempDir dir;
  int w, h, c;
  for (const char* f :
       {"P6\n-1 5\n255\nabcdefghijklmnop", "P6\n5 -1\n255\nabc", "P6\n70000 70000\n255\nabc", "P6\n", "P5"}) {
    writeFile(dir.file("d.ppm"), f);
    unsigned char buf[4] = {'-', '-', '-', '-'};
    EXPECT_EQ(read_pnm(dir.file("d.ppm").c_str(), &w, &h, &c), nullptr) << f;
    EXPECT_EQ(read_pnm_tobuf(dir.file("d.ppm").c_str(), &w, &h, &c, buf), nullptr) << f;
    EXPECT_EQ(bytes(buf, 4), "----") << f;
  }
}

TEST(TexturePNM, AShortReadLeavesTheMissingPixelsBlack) {
  TempDir dir;
  int w = 0, h = 0, c = 0;
  // Pixels cut short: the bytes that are there arrive, the pixels missing are black, and the
  // caller's buffer behind the image is not touched.
  writeFile(dir.file("s.ppm"), "P6\n2 2\n255\nabcde");
  unsigned char buf[14];
  memset(buf, '-', sizeof buf);
  EXPECT_EQ(read_pnm_tobuf(dir.file("s.ppm").c_str(), &w, &h, &c, buf), buf);
  EXPECT_EQ(w, 2);
  EXPECT_EQ(h, 2);
  EXPECT_EQ(c, 3);
  EXPECT_EQ(bytes(buf, 14), std::string("abcde") + std::string(7, '\0') + "--");
  unsigned char* px = read_pnm(dir.file("s.ppm").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(bytes(px, 5), "abcde");
  free(px);
  // A header promising far more than the file holds, but less than the allowance, reads the same way.
  writeFile(dir.file("b.ppm"), "P6\n100 100\n255\nabc");
  px = read_pnm(dir.file("b.ppm").c_str(), &w, &h, &c);
  ASSERT_NE(px, nullptr);
  EXPECT_EQ(w, 100);
  EXPECT_EQ(bytes(px, 3), "abc");
  EXPECT_EQ(bytes(px + 3, 4), std::string(4, '\0'));
  EXPECT_EQ(bytes(px + 100 * 100 * 3 - 4, 4), std::string(4, '\0'));
  free(px);
  // No maximum line and no pixels: the one pixel is black.
  writeFile(dir.file("n.ppm"), "P6\n1 1\n");
  memset(buf, '-', sizeof buf);
  EXPECT_EQ(read_pnm_tobuf(dir.file("n.ppm").c_str(), &w, &h, &c, buf), buf);
  EXPECT_EQ(bytes(buf, 4), std::string(3, '\0') + "-");
  // An image of no pixels is an empty buffer, not a failure.
  writeFile(dir.file("z.pgm"), "P5\n0 3\n255\n");
  px = read_pnm(dir.file("z.pgm").c_str(), &w, &h, &c);
  EXPECT_NE(px, nullptr);
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 3);
  free(px);
}

TEST(TexturePNM, WritePnmAndImageMagick) {
  TempDir dir;
  const int w = 4, h = 3;
  std::vector<unsigned char> px = testImage(w, h);
  EXPECT_EQ(write_pnm(dir.file("c.ppm").c_str(), w, h, 3, px.data()), 0);
  EXPECT_EQ(readFile(dir.file("c.ppm")).substr(0, 11), "P6\n4 3\n255\n");
  auto r = run("convert " + dir.file("c.ppm") + " -depth 8 rgb:-");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, bytes(px.data(), px.size()));
  auto id = run("identify -format '%w %h' " + dir.file("c.ppm"));
  EXPECT_EQ(id.out, "4 3");
  std::vector<unsigned char> grey(w * h, 9);
  EXPECT_EQ(write_pnm(dir.file("g.pgm").c_str(), w, h, 1, grey.data()), 0);
  EXPECT_EQ(readFile(dir.file("g.pgm")), "P5\n4 3\n255\n" + Bytes(12, '\x09'));
  r = run("convert " + dir.file("g.pgm") + " -depth 8 gray:-");
  EXPECT_EQ(r.out, Bytes(12, '\x09'));
}

TEST(TexturePNM, WritePnmFailures) {
  TempDir dir;
  unsigned char px[16] = {0};
  EXPECT_EQ(write_pnm(dir.file("four.pam").c_str(), 2, 2, 4, px), 2);
  EXPECT_FALSE(fileExists(dir.file("four.pam")));
  EXPECT_EQ(write_pnm("/no/such/dir/x.ppm", 2, 2, 3, px), 1);
  EXPECT_EQ(write_pnm(dir.file("neg.ppm").c_str(), -2, 2, 3, px), 2);
}

TEST(TexturePNM, WritePnmSpaceTestOnAStreamThatCantSeek) {
  // /dev/stdout of a child piped to cat can't seek: both messages, and the pixels still go out.
  TempDir dir;
  unsigned char px[3] = {'a', 'b', 'c'};
  int fds[2];
  ASSERT_EQ(pipe(fds), 0);
  std::string path = "/proc/self/fd/" + std::to_string(fds[1]);
  testing::internal::CaptureStderr();
  EXPECT_EQ(write_pnm(path.c_str(), 1, 1, 3, px), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Disk Full? Failed to fseek in write_pnm.\n\nDisaster? Failed to fseek back.\n\n");
  close(fds[1]);
  char buf[64];
  ssize_t n = read(fds[0], buf, sizeof buf);
  close(fds[0]);
  EXPECT_EQ(Bytes(buf, n > 0 ? n : 0), "P6\n1 1\n255\nabc");
}
