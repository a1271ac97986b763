// The EZ container: reading, packing and unpacking files kept as independent raw-DEFLATE chunks.
#include "fileio/entropy.h"

#include <zlib.h>

#include <climits>
#include <cstdlib>
#include <cstring>

void* (*ptrEZMalloc)(size_t) = malloc;
void (*ptrEZFree)(void*) = free;

void setAllocFunc_EZ(void* (*mallocFunc)(size_t), void (*freeFunc)(void*)) {
  ptrEZMalloc = mallocFunc;
  ptrEZFree = freeFunc;
}

namespace {

// The chunk codec reports in the form "\n<program>: <input>: <message>\n". The program
// name is never set by anyone, so it prints as an empty string; the input is always "stdin".
const char* progName = "";
const char* ifname = "stdin";

void chunkError(const char* message) {
  fprintf(stderr, "\n%s: %s: %s\n", progName, ifname, message);
}

// zlib's own state comes from the same allocator as the container's buffers.
voidpf zAlloc(voidpf, uInt items, uInt size) {
  return ptrEZMalloc(static_cast<size_t>(items) * size);
}
void zFree(voidpf, voidpf p) {
  ptrEZFree(p);
}

constexpr int kTrailer = 8;  // CRC-32 and length, little-endian

unsigned readLE32(const unsigned char* p) {
  return unsigned(p[0]) | unsigned(p[1]) << 8 | unsigned(p[2]) << 16 | unsigned(p[3]) << 24;
}

void writeLE32(unsigned char* p, unsigned v) {
  p[0] = v & 0xff;
  p[1] = (v >> 8) & 0xff;
  p[2] = (v >> 16) & 0xff;
  p[3] = (v >> 24) & 0xff;
}

enum class ChunkStatus { ok, noMemory, format, tooLong, crc, length, lengthAndCrc };

// One raw-inflate stream for a run of chunks: set up at the first chunk and reset for each
// further one, so that a container's chunks don't each pay for a fresh state and window.
class Inflater {
 public:
  Inflater() {
    memset(&zs_, 0, sizeof zs_);
    zs_.zalloc = zAlloc;
    zs_.zfree = zFree;
  }
  ~Inflater() {
    if (ready_) inflateEnd(&zs_);
  }
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;

  // The stream, empty and ready for a new chunk; null without memory for it.
  z_stream* fresh() {
    if (ready_) {
      if (inflateReset2(&zs_, -MAX_WBITS) == Z_OK) return &zs_;
      inflateEnd(&zs_);
      ready_ = false;
    }
    if (inflateInit2(&zs_, -MAX_WBITS) != Z_OK) return nullptr;
    ready_ = true;
    return &zs_;
  }

 private:
  z_stream zs_;
  bool ready_ = false;
};

// Inflates one chunk into at most outCapacity bytes and checks its trailer against all the
// output. *produced is what came out, whatever the status. With no inflater of the caller's,
// the chunk gets a stream of its own.
ChunkStatus inflateChunk(const unsigned char* in, int inSize, unsigned char* out, int outCapacity,
                         int* produced, unsigned* statedLength = nullptr, int* trailerEnd = nullptr,
                         Inflater* inflater = nullptr) {
  *produced = 0;
  if (inSize < 0) inSize = 0;
  if (outCapacity < 0) outCapacity = 0;
  Inflater own;
  z_stream* zs = (inflater ? inflater : &own)->fresh();
  if (!zs) return ChunkStatus::noMemory;
  zs->next_in = const_cast<unsigned char*>(in);
  zs->avail_in = static_cast<uInt>(inSize);
  zs->next_out = out;
  zs->avail_out = static_cast<uInt>(outCapacity);
  int rc = inflate(zs, Z_FINISH);
  *produced = static_cast<int>(zs->total_out);
  int consumed = static_cast<int>(zs->total_in);
  if (rc == Z_MEM_ERROR) return ChunkStatus::noMemory;
  if (rc != Z_STREAM_END) {
    // Output full while the stream goes on: the chunk expands past its room. Unbounded, this
    // would have written beyond the chunk's place in the output block.
    if (rc == Z_BUF_ERROR && zs->avail_out == 0 && zs->avail_in > 0) return ChunkStatus::tooLong;
    return ChunkStatus::format;
  }
  if (inSize - consumed < kTrailer) return ChunkStatus::format;
  unsigned crc = static_cast<unsigned>(crc32(0L, out, static_cast<uInt>(*produced)));
  unsigned wantCrc = readLE32(in + consumed);
  unsigned wantLen = readLE32(in + consumed + 4);
  if (statedLength) *statedLength = wantLen;
  if (trailerEnd) *trailerEnd = consumed + kTrailer;
  bool crcBad = crc != wantCrc;
  bool lenBad = wantLen != static_cast<unsigned>(*produced);
  if (crcBad && lenBad) return ChunkStatus::lengthAndCrc;
  if (crcBad) return ChunkStatus::crc;
  if (lenBad) return ChunkStatus::length;
  return ChunkStatus::ok;
}

// The lenient report of one chunk's status, as entropyUnzip gives it: 0 if sound, else 1.
int reportChunk(ChunkStatus st) {
  switch (st) {
    case ChunkStatus::ok:
      return 0;
    case ChunkStatus::noMemory:
      chunkError("out of memory");
      break;
    case ChunkStatus::format:
    case ChunkStatus::tooLong:
      chunkError("invalid compressed data--format violated");
      break;
    case ChunkStatus::crc:
      chunkError("invalid compressed data--crc error");
      break;
    case ChunkStatus::length:
      chunkError("invalid compressed data--length error");
      break;
    case ChunkStatus::lengthAndCrc:
      chunkError("invalid compressed data--crc error");
      chunkError("invalid compressed data--length error");
      break;
  }
  return 1;
}

bool readBE32(FILE* f, unsigned* v) {
  unsigned char b[4];
  if (fread(b, 1, 4, f) != 4) return false;
  *v = unsigned(b[0]) << 24 | unsigned(b[1]) << 16 | unsigned(b[2]) << 8 | unsigned(b[3]);
  return true;
}

void* mustAlloc(size_t bytes, const char* message) {
  void* p = ptrEZMalloc(bytes ? bytes : 1);
  if (!p) {
    fprintf(stderr, "%s", message);
    exit(1);
  }
  return p;
}

}  // namespace

int entropyZip(unsigned char* in, unsigned char* out, int inSize, int* outSize, int outCapacity) {
  *outSize = 0;
  if (inSize < 0) inSize = 0;
  z_stream zs;
  memset(&zs, 0, sizeof zs);
  zs.zalloc = zAlloc;
  zs.zfree = zFree;
  if (deflateInit2(&zs, 6, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
    chunkError("insufficient memory\n");
    return 1;
  }
  int room = outCapacity - kTrailer;
  if (room < 0) room = 0;
  zs.next_in = in;
  zs.avail_in = static_cast<uInt>(inSize);
  zs.next_out = out;
  zs.avail_out = static_cast<uInt>(room);
  int rc = deflate(&zs, Z_FINISH);
  *outSize = static_cast<int>(zs.total_out);
  deflateEnd(&zs);
  if (rc != Z_STREAM_END) {
    // The output block is full: reported, and nothing is written past its end.
    chunkError("out of memory");
    return 1;
  }
  unsigned crc = static_cast<unsigned>(crc32(0L, in, static_cast<uInt>(inSize)));
  writeLE32(out + *outSize, crc);
  writeLE32(out + *outSize + 4, static_cast<unsigned>(inSize));
  *outSize += kTrailer;
  return 0;
}

int entropyUnzip(unsigned char* in, unsigned char* out, int inSize, int* outSize, int outCapacity) {
  return reportChunk(inflateChunk(in, inSize, out, outCapacity, outSize));
}

namespace {

// The lenient reading of a container, shared by ReadDeflateZip and ExpandToFile: the magic, the
// tables, `begin(chunkCount)` to take the output's memory (a count the file can't hold gives
// begin(0) and no chunk), and each chunk in turn inflated through one stream into the 32768
// bytes at `room()`, then handed to `took(room, produced)`. Faults inside a chunk are reported
// and reading goes on. Ends the process, after a line on standard error, on a wrong magic or
// without memory for the buffers.
template <typename Begin, typename Room, typename Took>
void expandContainer(FILE* stream, Begin begin, Room room, Took took) {
  unsigned char* inbuf =
      static_cast<unsigned char*>(mustAlloc(EZ_INBUF_SIZE, "[ReadDeflateZip]: No memory for inbuf\n"));
  long start = ftell(stream);
  char magic[2] = {0, 0};
  if (fread(magic, 1, 2, stream) != 2 || magic[0] != 'E' || magic[1] != 'Z') {
    fprintf(stderr, "[ReadDeflateZip]: input file is not in our zip file format\n");
    exit(1);
  }
  unsigned chunkCount = 0;
  bool countRead = cp_fread(&chunkCount, 4, 1, stream) == 1;
  long fileSize = getFileSize(stream);
  // A chunk needs 8 bytes of table entries and at least 10 bytes of its own (the smallest
  // deflate stream and the trailer). A count the file can't hold (a truncated file, or a text
  // file that happens to start with "EZ") would ask for a block of count x 32768 bytes and
  // tables read past the file's end: it is refused here, and the reader gets an empty result.
  if (!countRead || fileSize < 0 || start < 0 ||
      static_cast<unsigned long long>(chunkCount) * 18 + 6 >
          static_cast<unsigned long long>(fileSize - start) ||
      chunkCount > static_cast<unsigned>(INT_MAX / EZ_CHUNK_SIZE)) {
    chunkError("invalid compressed data--format violated");
    ptrEZFree(inbuf);
    begin(0u);
    return;
  }
  unsigned* offsets = static_cast<unsigned*>(
      mustAlloc(sizeof(unsigned) * chunkCount, "[ReadDeflateZip]: no memory for offset table\n"));
  unsigned* sizes = static_cast<unsigned*>(
      mustAlloc(sizeof(unsigned) * chunkCount, "[ReadDeflateZip]: no memory for chrunksize table\n"));
  cp_fread(offsets, 4, chunkCount, stream);
  cp_fread(sizes, 4, chunkCount, stream);
  begin(chunkCount);
  Inflater inflater;
  for (unsigned i = 0; i < chunkCount; i++) {
    int want = static_cast<int>(sizes[i] > EZ_INBUF_SIZE ? EZ_INBUF_SIZE : sizes[i]);
    if (sizes[i] > EZ_INBUF_SIZE) {
      // Reading the stated size would go past the end of the 65536-byte buffer.
      chunkError("invalid compressed data--format violated");
    }
    // An offset at or past the file's end is refused without seeking there: the stream's
    // position is what ExpandToFile counts, and an offset such as 0x7fffffff would carry it
    // past what an int holds. Such a chunk delivers nothing, as any undecodable chunk.
    if (offsets[i] >= static_cast<unsigned>(fileSize)) {
      chunkError("invalid compressed data--format violated");
      continue;
    }
    int got = 0;
    // An offset inside the file but too near its end reads the short rest, and the chunk
    // fails to inflate, instead of inflating stale buffer contents.
    if (fseek(stream, static_cast<long>(offsets[i]), SEEK_SET) == 0) {
      got = static_cast<int>(fread(inbuf, 1, static_cast<size_t>(want), stream));
    }
    int produced = 0;
    // Each chunk gets its own 32768 bytes of room and writes nothing past them.
    unsigned char* out = room();
    reportChunk(inflateChunk(inbuf, got, out, EZ_CHUNK_SIZE, &produced, nullptr, nullptr, &inflater));
    took(out, produced);
  }
  ptrEZFree(offsets);
  ptrEZFree(sizes);
  ptrEZFree(inbuf);
}

}  // namespace

void ReadDeflateZip(FILE* stream, unsigned char** data, int* size) {
  *data = nullptr;
  *size = 0;
  unsigned char* outbuf = nullptr;
  long pos = 0;
  // One block for the whole container, chunkCount x 32768 bytes (one byte for none); each
  // chunk is inflated straight into its place.
  expandContainer(
      stream,
      [&](unsigned count) {
        outbuf = static_cast<unsigned char*>(mustAlloc(static_cast<size_t>(count) * EZ_CHUNK_SIZE,
                                                       "[ReadDeflateZip]: No memory for outbuf\n"));
      },
      [&]() { return outbuf + pos; }, [&](unsigned char*, int produced) { pos += produced; });
  *data = outbuf;
  *size = static_cast<int>(pos);
}

void WriteDeflateZip(FILE* stream, unsigned char* data, int size) {
  if (size < 0) size = 0;
  long start = ftell(stream);
  fwrite("EZ", 1, 2, stream);
  unsigned chunkCount = static_cast<unsigned>((size + EZ_CHUNK_SIZE - 1) / EZ_CHUNK_SIZE);
  unsigned char* buf =
      static_cast<unsigned char*>(mustAlloc(EZ_INBUF_SIZE, "[WriteDeflateZip]: Not enough memory.\n"));
  unsigned* offsets = static_cast<unsigned*>(
      mustAlloc(sizeof(unsigned) * chunkCount, "[WriteDeflateZip]: no memory for offset table\n"));
  unsigned* sizes = static_cast<unsigned*>(
      mustAlloc(sizeof(unsigned) * chunkCount, "[WriteDeflateZip]: no memory for chrunk size table\n"));
  memset(offsets, 0, sizeof(unsigned) * chunkCount);
  memset(sizes, 0, sizeof(unsigned) * chunkCount);
  cp_fwrite(&chunkCount, 4, 1, stream);
  cp_fwrite(offsets, 4, chunkCount, stream);
  cp_fwrite(sizes, 4, chunkCount, stream);
  int done = 0;
  for (unsigned i = 0; i < chunkCount; i++) {
    int n = size - done < EZ_CHUNK_SIZE ? size - done : EZ_CHUNK_SIZE;
    int outSize = 0;
    entropyZip(data + done, buf, n, &outSize, EZ_INBUF_SIZE);
    sizes[i] = static_cast<unsigned>(outSize);
    offsets[i] = static_cast<unsigned>(ftell(stream));
    fwrite(buf, 1, static_cast<size_t>(outSize), stream);
    done += n;
  }
  long end = ftell(stream);
  fseek(stream, start + 6, SEEK_SET);
  cp_fwrite(offsets, 4, chunkCount, stream);
  cp_fwrite(sizes, 4, chunkCount, stream);
  fseek(stream, end, SEEK_SET);
  ptrEZFree(offsets);
  ptrEZFree(sizes);
  ptrEZFree(buf);
}

int ExpandToFile(FILE* in, FILE* out) {
  long start = ftell(in);
  // Chunk by chunk through one buffer of 32768 bytes: the expanded file is never held whole.
  unsigned char* buf = nullptr;
  expandContainer(
      in,
      [&](unsigned count) {
        buf = static_cast<unsigned char*>(
            mustAlloc(count ? EZ_CHUNK_SIZE : 0, "[ReadDeflateZip]: No memory for outbuf\n"));
      },
      [&]() { return buf; },
      [&](unsigned char* bytes, int produced) {
        if (produced > 0) cp_fwrite(bytes, 1, static_cast<unsigned>(produced), out);
      });
  ptrEZFree(buf);
  // The extra 1 is part of the result as it always was; nobody looks at it. Counted wide and
  // kept within an int, whatever position the stream was left at.
  long long consumed = static_cast<long long>(ftell(in)) - start + 1;
  if (consumed > INT_MAX) consumed = INT_MAX;
  if (consumed < 0) consumed = 0;
  return static_cast<int>(consumed);
}

int PackFromFile(FILE* out, FILE* in) {
  long outStart = ftell(out);
  long here = ftell(in);
  fseek(in, 0, SEEK_END);
  long size = ftell(in);  // counted from the file's start: callers start at 0
  fseek(in, here, SEEK_SET);
  if (size < 0) size = 0;
  unsigned char* data = static_cast<unsigned char*>(
      mustAlloc(static_cast<size_t>(size), "[PackFromFile]: no memory for zipping\n"));
  // Only the bytes really read are packed: a caller that didn't start at 0 would otherwise
  // have the uninitialised tail of the block packed too.
  size_t got = fread(data, 1, static_cast<size_t>(size), in);
  WriteDeflateZip(out, data, static_cast<int>(got));
  ptrEZFree(data);
  return static_cast<int>(ftell(out) - outStart);
}

FILE* fopenEZ(const char* path, const char* mode) {
  FILE* f = fopen(path, "rb");
  if (!f) return nullptr;
  char magic[2] = {0, 0};
  size_t n = fread(magic, 1, 2, f);
  rewind(f);
  // A file shorter than two bytes has nothing to sniff: it is a plain file.
  if (n < 2 || magic[0] != 'E' || magic[1] != 'Z') {
    fclose(f);
    return fopen(path, mode);
  }
  FILE* tmp = tmpfile();
  if (!tmp) {
    fprintf(stderr, "Err: fopenEZ: no temporary file to expand [%s] into\n", path);
    fclose(f);
    return nullptr;
  }
  ExpandToFile(f, tmp);
  fclose(f);
  rewind(tmp);
  return tmp;
}

namespace {

// The strict check of checkEZ; with `out`, each chunk's bytes are written there as soon as the
// chunk has passed, so that one pass both checks and expands.
bool checkContainer(FILE* stream, EZInfo* info, std::string* error, FILE* out) {
  EZInfo local;
  EZInfo& r = info ? *info : local;
  r = EZInfo();
  std::string dummy;
  std::string& why = error ? *error : dummy;
  why.clear();
  long start = ftell(stream);
  int fileSize = getFileSize(stream);
  if (start < 0 || fileSize < 0) {
    why = "cannot seek in the file";
    return false;
  }
  r.start = start;
  r.fileSize = fileSize;
  auto fail = [&](const std::string& message) {
    why = message;
    fseek(stream, start, SEEK_SET);
    return false;
  };
  char magic[2] = {0, 0};
  if (fread(magic, 1, 2, stream) != 2 || magic[0] != 'E' || magic[1] != 'Z')
    return fail("not an EZ container (no \"EZ\" at its start)");
  unsigned count = 0;
  if (!readBE32(stream, &count)) return fail("truncated header: no chunk count");
  r.chunkCount = count;
  long avail = fileSize - start;
  unsigned long long tableEnd = 6ULL + 8ULL * count;
  if (tableEnd > static_cast<unsigned long long>(avail))
    return fail("chunk count " + std::to_string(count) + " needs tables longer than the file");
  r.chunks.resize(count);
  for (unsigned i = 0; i < count; i++) readBE32(stream, &r.chunks[i].offset);
  for (unsigned i = 0; i < count; i++) readBE32(stream, &r.chunks[i].size);
  std::vector<unsigned char> in(EZ_INBUF_SIZE), expanded(EZ_CHUNK_SIZE);
  Inflater inflater;
  for (unsigned i = 0; i < count; i++) {
    EZChunkInfo& c = r.chunks[i];
    std::string which = "chunk " + std::to_string(i + 1) + " of " + std::to_string(count);
    if (c.offset < start + tableEnd ||
        static_cast<unsigned long long>(c.offset) + c.size > static_cast<unsigned long long>(fileSize))
      return fail(which + ": offset " + std::to_string(c.offset) + " and size " + std::to_string(c.size) +
                  " lie outside the file");
    if (c.size < static_cast<unsigned>(kTrailer) || c.size > static_cast<unsigned>(EZ_INBUF_SIZE))
      return fail(which + ": compressed size " + std::to_string(c.size) + " is out of range");
    if (fseek(stream, static_cast<long>(c.offset), SEEK_SET) != 0 ||
        fread(in.data(), 1, c.size, stream) != c.size)
      return fail(which + ": cannot be read");
    int produced = 0;
    unsigned stated = 0;
    int trailerEnd = -1;
    ChunkStatus st = inflateChunk(in.data(), static_cast<int>(c.size), expanded.data(), EZ_CHUNK_SIZE,
                                  &produced, &stated, &trailerEnd, &inflater);
    c.length = stated;
    switch (st) {
      case ChunkStatus::ok:
        break;
      case ChunkStatus::noMemory:
        return fail(which + ": out of memory");
      case ChunkStatus::format:
        return fail(which + ": invalid compressed data");
      case ChunkStatus::tooLong:
        return fail(which + ": expands past " + std::to_string(EZ_CHUNK_SIZE) + " bytes");
      case ChunkStatus::crc:
      case ChunkStatus::lengthAndCrc:
        return fail(which + ": CRC error");
      case ChunkStatus::length:
        return fail(which + ": length error");
    }
    if (trailerEnd != static_cast<int>(c.size))
      return fail(which + ": " + std::to_string(c.size - trailerEnd) + " bytes behind its trailer");
    bool last = i + 1 == count;
    if ((!last && produced != EZ_CHUNK_SIZE) || (last && produced < 1))
      return fail(which + ": holds " + std::to_string(produced) + " bytes");
    r.expandedSize += produced;
    if (out && fwrite(expanded.data(), 1, static_cast<size_t>(produced), out) != static_cast<size_t>(produced))
      return fail(which + ": cannot be written out");
  }
  fseek(stream, start, SEEK_SET);
  return true;
}

}  // namespace

bool checkEZ(FILE* stream, EZInfo* info, std::string* error) {
  return checkContainer(stream, info, error, nullptr);
}

bool expandCheckedEZ(FILE* in, FILE* out, EZInfo* info, std::string* error) {
  return checkContainer(in, info, error, out);
}
