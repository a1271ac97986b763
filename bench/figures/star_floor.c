/* The floor for reading a .star file: a plain C reader that converts the same 22 columns with
 * strtod, strtof and strtol into records of the catalogue's size, and with -s also sorts them
 * nearest first (qsort of an index, then the records moved in place). star_floor [-s] FILE. */
#include <ctype.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* The size of the catalogue's star record, so that both hold the same memory. */
enum { RECORD_BYTES = 368, LINE_BYTES = 512, TOKEN_BYTES = 32 };

struct Fields {
  double base[4], pos[4], vel[3], velErr[3];
  float distErr, bv, lum, rgba[4], spNum;
  int hd, hic;
  char cls[4], type[12], name[TOKEN_BYTES];
};

/* One record, padded to the catalogue's size. */
union Star {
  struct Fields f;
  char bytes[RECORD_BYTES];
};
_Static_assert(sizeof(union Star) == RECORD_BYTES, "record size");

struct Key {
  double s;
  int i;
};

static int byKey(const void* a, const void* b) {
  double x = ((const struct Key*)a)->s, y = ((const struct Key*)b)->s;
  return x < y ? -1 : x > y;
}

static char* token(char* p, char* dst, size_t size) {
  while (isspace((unsigned char)*p)) p++;
  size_t n = 0;
  while (*p && !isspace((unsigned char)*p)) {
    if (n + 1 < size) dst[n++] = *p;
    p++;
  }
  dst[n] = 0;
  return p;
}

int main(int argc, char** argv) {
  int sort = argc == 3 && strcmp(argv[1], "-s") == 0;
  const char* path = argv[argc - 1];
  FILE* f = fopen(path, "r");
  if (!f) return 1;
  char line[LINE_BYTES], word[LINE_BYTES];
  int n = 0;
  float factor = 1, exponent = 0;
  if (!fgets(line, sizeof line, f) || sscanf(line, "%511s %d", word, &n) != 2) return 1;
  if (!fgets(line, sizeof line, f) || sscanf(line, "%511s %f %f", word, &factor, &exponent) != 3) return 1;
  union Star* st = calloc((size_t)n, sizeof *st);
  if (!st) return 1;
  for (int i = 0; i < n;) {
    if (!fgets(line, sizeof line, f)) break;
    char* p = line;
    while (isspace((unsigned char)*p)) p++;
    if (*p == 0 || *p == '#') continue;
    struct Fields* s = &st[i++].f;
    double d[10] = {0};
    for (int k = 0; k < 10; k++) d[k] = strtod(p, &p);
    s->bv = strtof(p, &p);
    s->lum = strtof(p, &p);
    for (int k = 0; k < 4; k++) s->rgba[k] = strtof(p, &p);
    p = token(p, s->cls, sizeof s->cls);
    s->spNum = strtof(p, &p);
    p = token(p, s->type, sizeof s->type);
    s->hd = (int)strtol(p, &p, 10);
    s->hic = (int)strtol(p, &p, 10);
    token(p, s->name, sizeof s->name);
    s->distErr = (float)d[3];
    for (int k = 0; k < 3; k++) {
      s->base[k] = d[k] * factor;
      s->vel[k] = d[4 + k];
      s->velErr[k] = d[7 + k];
    }
    double r = sqrt(s->base[0] * s->base[0] + s->base[1] * s->base[1] + s->base[2] * s->base[2]);
    for (int k = 0; k < 3; k++) s->pos[k] = r > 0 ? s->base[k] / r : 0;
    s->pos[3] = exponent + (r > 0 ? log10(r) : 0);
  }
  fclose(f);
  if (sort) {
    struct Key* key = malloc(sizeof *key * (size_t)(n ? n : 1));
    if (!key) return 1;
    for (int i = 0; i < n; i++) key[i] = (struct Key){st[i].f.pos[3], i};
    qsort(key, (size_t)n, sizeof *key, byKey);
    for (int start = 0; start < n; start++) {
      if (key[start].i < 0 || key[start].i == start) continue;
      union Star held = st[start];
      int to = start;
      for (;;) {
        int from = key[to].i;
        key[to].i = -1;
        if (from == start) {
          st[to] = held;
          break;
        }
        st[to] = st[from];
        to = from;
      }
    }
    free(key);
  }
  printf("%d\n", n);
  return 0;
}
