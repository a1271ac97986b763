// ezpack: packs a file into an EZ container, unpacks one, or tells what one holds.
//
//   ezpack pack IN OUT     compress IN into the container OUT
//   ezpack unpack IN OUT   expand the container IN into OUT
//   ezpack info IN         list the chunks of the container IN
//
// A damaged container is refused before anything is written. OUT is written under a
// temporary name beside it and renamed at the end, so a failure leaves no partial file.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

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

int pack(const std::string& in, const std::string& out) {
  FILE* fin = fopen(in.c_str(), "rb");
  if (!fin) return fail("cannot open " + in + ": " + strerror(errno));
  if (getFileSize(fin) < 0) {
    fclose(fin);
    return fail(in + " is not a regular file or is too large (2 GB at most)");
  }
  std::string tempName;
  FILE* fout = openTemp(out, &tempName);
  if (!fout) {
    fclose(fin);
    return fail("cannot create a file beside " + out + ": " + strerror(errno));
  }
  PackFromFile(fout, fin);
  bool readOk = !ferror(fin);
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
  EZInfo info;
  FILE* fin = openChecked(in, &info);
  if (!fin) return 1;
  std::string tempName;
  FILE* fout = openTemp(out, &tempName);
  if (!fout) {
    fclose(fin);
    return fail("cannot create a file beside " + out + ": " + strerror(errno));
  }
  ExpandToFile(fin, fout);
  fclose(fin);
  std::string why;
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
