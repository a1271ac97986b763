// ezpack: packs a file into an EZ container, unpacks one, or tells what one holds.
//
//   ezpack pack IN OUT     compress IN into the container OUT
//   ezpack unpack IN OUT   expand the container IN into OUT
//   ezpack info IN         list the chunks of the container IN
//
// A damaged container is refused: unpacking checks each chunk as it writes it. OUT is written
// under a temporary name beside it and renamed at the end, so a failure leaves no partial file.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fileio/entropy.h"

namespace {

const char* kUsage =
    "Usage: ezpack pack IN OUT     compress IN into the EZ container OUT\n"
    "       ezpack unpack IN OUT   expand the EZ container IN into OUT\n"
    "       ezpack info IN         list the chunks of the EZ container IN\n"
    "       ezpack --help | -h     show this text\n";

int fail(const std::string& message) {
  fprintf(stderr, "ezpack: %s\n", message.c_str());
  return 1;
}

// A temporary file beside `out`, opened for writing.
FILE* openTemp(const std::string& out, std::string* tempName) {
  std::string pattern = out + ".ezpackXXXXXX";
  std::string buf = pattern;
  int fd = mkstemp(buf.data());
  if (fd < 0) return nullptr;
  FILE* f = fdopen(fd, "w+b");
  if (!f) {
    close(fd);
    unlink(buf.c_str());
    return nullptr;
  }
  *tempName = buf;
  return f;
}

// Closes the temporary file and moves it to `out`; removes it on any failure.
bool finish(FILE* f, const std::string& tempName, const std::string& out, std::string* why) {
  bool ok = fflush(f) == 0 && !ferror(f);
  if (fclose(f) != 0) ok = false;
  if (!ok) {
    *why = "cannot write " + out + ": " + strerror(errno);
    unlink(tempName.c_str());
    return false;
  }
  if (rename(tempName.c_str(), out.c_str()) != 0) {
    *why = "cannot rename to " + out + ": " + strerror(errno);
    unlink(tempName.c_str());
    return false;
  }
  return true;
}

// Packs `in` into `out` as WriteDeflateZip lays a container out, the same bytes, one chunk at
// a time: a chunk of input and its compressed form are all it holds. The tables are written as
// placeholders first and filled in at the end. False if `in` can't be read whole.
bool packChunks(FILE* out, FILE* in, int size) {
  long start = ftell(out);
  unsigned chunkCount = static_cast<unsigned>((static_cast<long long>(size) + EZ_CHUNK_SIZE - 1) / EZ_CHUNK_SIZE);
  std::vector<unsigned> offsets(chunkCount, 0), sizes(chunkCount, 0);
  std::vector<unsigned char> input(EZ_CHUNK_SIZE), packed(EZ_INBUF_SIZE);
  fwrite("EZ", 1, 2, out);
  cp_fwrite(&chunkCount, 4, 1, out);
  if (chunkCount > 0) {
    cp_fwrite(offsets.data(), 4, chunkCount, out);
    cp_fwrite(sizes.data(), 4, chunkCount, out);
  }
  int done = 0;
  for (unsigned i = 0; i < chunkCount; i++) {
    int n = size - done < EZ_CHUNK_SIZE ? size - done : EZ_CHUNK_SIZE;
    if (fread(input.data(), 1, static_cast<size_t>(n), in) != static_cast<size_t>(n)) return false;
    int outSize = 0;
    entropyZip(input.data(), packed.data(), n, &outSize, EZ_INBUF_SIZE);
    sizes[i] = static_cast<unsigned>(outSize);
    offsets[i] = static_cast<unsigned>(ftell(out));
    fwrite(packed.data(), 1, static_cast<size_t>(outSize), out);
    done += n;
  }
  long end = ftell(out);
  fseek(out, start + 6, SEEK_SET);
  if (chunkCount > 0) {
    cp_fwrite(offsets.data(), 4, chunkCount, out);
    cp_fwrite(sizes.data(), 4, chunkCount, out);
  }
  fseek(out, end, SEEK_SET);
  return true;
}

int pack(const std::string& in, const std::string& out) {
  FILE* fin = fopen(in.c_str(), "rb");
  if (!fin) return fail("cannot open " + in + ": " + strerror(errno));
  int size = getFileSize(fin);
  if (size < 0) {
    fclose(fin);
    return fail(in + " is not a regular file or is too large (2 GB at most)");
  }
  std::string tempName;
  FILE* fout = openTemp(out, &tempName);
  if (!fout) {
    fclose(fin);
    return fail("cannot create a file beside " + out + ": " + strerror(errno));
  }
  bool readOk = packChunks(fout, fin, size) && !ferror(fin);
  fclose(fin);
  if (!readOk) {
    fclose(fout);
    unlink(tempName.c_str());
    return fail("cannot read " + in);
  }
  std::string why;
  if (!finish(fout, tempName, out, &why)) return fail(why);
  return 0;
}

// Opens IN and checks it strictly; on failure prints why and returns null.
FILE* openChecked(const std::string& in, EZInfo* info) {
  FILE* fin = fopen(in.c_str(), "rb");
  if (!fin) {
    fail("cannot open " + in + ": " + strerror(errno));
    return nullptr;
  }
  std::string why;
  if (!checkEZ(fin, info, &why)) {
    fclose(fin);
    fail(in + ": damaged or not an EZ container: " + why);
    return nullptr;
  }
  return fin;
}

int unpack(const std::string& in, const std::string& out) {
  FILE* fin = fopen(in.c_str(), "rb");
  if (!fin) return fail("cannot open " + in + ": " + strerror(errno));
  std::string tempName;
  FILE* fout = openTemp(out, &tempName);
  if (!fout) {
    // A damaged container is named before an output that can't be made.
    int createErrno = errno;
    std::string damage;
    bool sound = checkEZ(fin, nullptr, &damage);
    fclose(fin);
    if (!sound) return fail(in + ": damaged or not an EZ container: " + damage);
    return fail("cannot create a file beside " + out + ": " + strerror(createErrno));
  }
  // Checked while it is written, in one pass; a fault throws the temporary file away.
  EZInfo info;
  std::string why;
  bool sound = expandCheckedEZ(fin, fout, &info, &why);
  fclose(fin);
  if (!sound) {
    fclose(fout);
    unlink(tempName.c_str());
    return fail(in + ": damaged or not an EZ container: " + why);
  }
  if (!finish(fout, tempName, out, &why)) return fail(why);
  return 0;
}

int info(const std::string& in) {
  EZInfo info;
  FILE* fin = openChecked(in, &info);
  if (!fin) return 1;
  fclose(fin);
  printf("%s: EZ container, %u chunk%s\n", in.c_str(), info.chunkCount, info.chunkCount == 1 ? "" : "s");
  printf("%8s %10s %10s %10s %8s\n", "chunk", "offset", "packed", "size", "ratio");
  long packed = 0;
  for (unsigned i = 0; i < info.chunkCount; i++) {
    const EZChunkInfo& c = info.chunks[i];
    packed += c.size;
    printf("%8u %10u %10u %10u %8.3f\n", i + 1, c.offset, c.size, c.length,
           c.length ? double(c.size) / c.length : 0.0);
  }
  printf("file %ld bytes, expanded %ld bytes, chunks %ld bytes, ratio %.3f\n", info.fileSize,
         info.expandedSize, packed, info.expandedSize ? double(info.fileSize) / info.expandedSize : 0.0);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && (strcmp(argv[1], "--help") == 0 || strcmp(argv[1], "-h") == 0)) {
    fputs(kUsage, stdout);
    return 0;
  }
  if (argc == 4 && strcmp(argv[1], "pack") == 0) return pack(argv[2], argv[3]);
  if (argc == 4 && strcmp(argv[1], "unpack") == 0) return unpack(argv[2], argv[3]);
  if (argc == 3 && strcmp(argv[1], "info") == 0) return info(argv[2]);
  fputs(kUsage, stderr);
  return 2;
}
