// Peer checks of the container format against Python's zlib: containers made by an
// independent writer must open with fopenEZ, and what WriteDeflateZip writes must decode
// with an independent reader.
#include <gtest/gtest.h>

#include <cstdlib>

#include "fileio/entropy.h"
#include "tests/support/testutil.h"

using testsupport::readFile;
using testsupport::run;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const char* kScript = R"PY(
import struct, sys, zlib

CHUNK = 32768

def sample(size, seed):
    out = bytearray()
    x = seed
    row = 0
    while len(out) < size:
        x = (x * 1103515245 + 12345) & 0xffffffff
        out += b"%6d %10d %c\n" % (row, x % 1000003, 65 + x % 26)
        row += 1
    return bytes(out[:size])

def pack(data):
    n = (len(data) + CHUNK - 1) // CHUNK
    chunks = []
    for i in range(n):
        part = data[i * CHUNK:(i + 1) * CHUNK]
        c = zlib.compressobj(6, zlib.DEFLATED, -15)
        z = c.compress(part) + c.flush()
        chunks.append(z + struct.pack("<II", zlib.crc32(part) & 0xffffffff, len(part)))
    offsets = []
    at = 6 + 8 * n
    for z in chunks:
        offsets.append(at)
        at += len(z)
    head = b"EZ" + struct.pack(">I", n)
    head += b"".join(struct.pack(">I", o) for o in offsets)
    head += b"".join(struct.pack(">I", len(z)) for z in chunks)
    return head + b"".join(chunks)

def unpack(buf):
    if buf[:2] != b"EZ":
        raise SystemExit("no magic")
    n = struct.unpack(">I", buf[2:6])[0]
    offsets = struct.unpack(">%dI" % n, buf[6:6 + 4 * n])
    sizes = struct.unpack(">%dI" % n, buf[6 + 4 * n:6 + 8 * n])
    out = bytearray()
    for i, (o, s) in enumerate(zip(offsets, sizes)):
        chunk = buf[o:o + s]
        d = zlib.decompressobj(-15)
        part = d.decompress(chunk[:-8]) + d.flush()
        if d.unused_data:
            raise SystemExit("chunk %d: data behind the deflate stream" % i)
        crc, length = struct.unpack("<II", chunk[-8:])
        if crc != zlib.crc32(part) & 0xffffffff or length != len(part):
            raise SystemExit("chunk %d: bad trailer" % i)
        if i < n - 1 and len(part) != CHUNK:
            raise SystemExit("chunk %d: short" % i)
        out += part
    return bytes(out)

if sys.argv[1] == "pack":
    folder = sys.argv[2]
    for size in [int(s) for s in sys.argv[3:]]:
        data = sample(size, size + 1)
        open("%s/%d.raw" % (folder, size), "wb").write(data)
        open("%s/%d.ez" % (folder, size), "wb").write(pack(data))
else:
    open(sys.argv[3], "wb").write(unpack(open(sys.argv[2], "rb").read()))
)PY";

std::string slurp(FILE* f) {
  std::string out;
  char buf[8192];
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
  return out;
}

}  // namespace

TEST(EZPeer, ContainersFromPythonZlibOpenWithFopenEZ) {
  TempDir dir;
  writeFile(dir.file("ez.py"), kScript);
  const int sizes[] = {0, 1, 32767, 32768, 32769, 300000};
  std::string cmd = "python3 " + dir.file("ez.py") + " pack " + dir.path();
  for (int s : sizes) {
    cmd += ' ';
    cmd += std::to_string(s);
  }
  auto r = run(cmd);
  ASSERT_EQ(r.status, 0) << r.err;
  for (int s : sizes) {
    std::string ez = dir.file(std::to_string(s) + ".ez");
    std::string raw = readFile(dir.file(std::to_string(s) + ".raw"));
    ASSERT_EQ(raw.size(), static_cast<size_t>(s));
    testing::internal::CaptureStderr();
    FILE* f = fopenEZ(ez.c_str(), "rb");
    ASSERT_NE(f, nullptr);
    std::string got = slurp(f);
    fclose(f);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << s;
    EXPECT_TRUE(got == raw) << "size " << s << ": got " << got.size() << " bytes";
    f = fopen(ez.c_str(), "rb");
    std::string why;
    EXPECT_TRUE(checkEZ(f, nullptr, &why)) << s << ": " << why;
    fclose(f);
  }
}

TEST(EZPeer, WhatWriteDeflateZipWritesDecodesWithPythonZlib) {
  TempDir dir;
  writeFile(dir.file("ez.py"), kScript);
  for (int size : {0, 1, 32767, 32768, 32769, 300000}) {
    std::string data;
    unsigned x = static_cast<unsigned>(size) * 31u + 7u;
    for (int i = 0; i < size; i++) {
      x = x * 1664525u + 1013904223u;
      // Half text, half noise: both kinds of block occur.
      data += (i / 4096) % 2 ? static_cast<char>(x >> 24) : static_cast<char>('0' + (x >> 28) % 10);
    }
    std::string ez = dir.file("w.ez");
    FILE* f = fopen(ez.c_str(), "wb");
    WriteDeflateZip(f, reinterpret_cast<unsigned char*>(data.data()), size);
    fclose(f);
    auto r = run("python3 " + dir.file("ez.py") + " unpack " + ez + " " + dir.file("w.raw"));
    ASSERT_EQ(r.status, 0) << size << ": " << r.err;
    EXPECT_TRUE(readFile(dir.file("w.raw")) == data) << size;
  }
}
