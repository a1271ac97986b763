// Retimed export: a script whose keyframes are the frames of this path, spaced evenly or by a
// speed per frame along its arc length in metres.
#include "coords/math3D.h"
#include "movie/movierec.h"

namespace {

// Lengths are measured in metres: the frame of scale 0.
constexpr double kMetreScale = 0.0;

void writeKeyFrame(FILE* fp, int number, const View* view) {
  std::fprintf(fp, "KeyFrame %d\n", number);
  std::fprintf(fp, "-----------\n");
  printView(fp, view);
  std::fprintf(fp, "\n");
}

}  // namespace

int MovieRecord::writeHead(FILE* fp, int n, bool nFramesWord) const {
  std::fprintf(fp, "Movie Script\n------------\n\n\n");
  std::fprintf(fp, "#####################################\n# Header\n#####################################\n\n");
  std::fprintf(fp, "resolution : %d x %d\n", winW, winH);
  std::fprintf(fp, "interp     : linear\n");
  if (nFramesWord)
    std::fprintf(fp, "nFrames    : %d\n", n);
  else
    std::fprintf(fp, "nKeyFrames : %d\n", n);
  std::fprintf(fp, "\n\n");
  printDefinitons(fp);
  std::fprintf(fp, "#####################################\n# KeyFrames\n#####################################\n\n");
  return 1;
}

double* MovieRecord::cumulativeLengths(int n) const {
  double* cumulative = static_cast<double*>(allocFunc(sizeof(double) * static_cast<size_t>(nKeyFrames)));
  if (!cumulative) return nullptr;
  cumulative[0] = 0.0;
  for (int i = 0; i < nKeyFrames - 1; i++) {
    double l = computeLength(i, 0.0, 1.0, kMetreScale);
    cumulative[i + 1] = cumulative[i] + l;
    std::fprintf(stderr, "length(%2d) = %e\n", i, l);
  }
  const double total = cumulative[nKeyFrames - 1];
  std::fprintf(stderr, "total length = %e\n", total);
  std::fprintf(stderr, "total nodes  = %d\n", n);
  std::fprintf(stderr, "step size    = %e\n", total / (n - 1));
  return cumulative;
}

int MovieRecord::outputUniformSpeedPath(const char* path, int doubleFrames) {
  std::fprintf(stderr, "saving script file [%s]...\n", path);
  FILE* fp = std::fopen(path, "w");
  if (!fp) return -1;
  int n = getNFrames();
  if (doubleFrames) n = 2 * n - 1;
  writeHead(fp, n, false);
  if (keyFrames) writeKeyFrame(fp, 0, &keyFrames->view);
  if (nKeyFrames >= 2) {
    double* cumulative = cumulativeLengths(n);
    if (!cumulative) {
      std::fclose(fp);
      return -1;
    }
    const double total = cumulative[nKeyFrames - 1];
    const double step = total / (n - 1);
    int span = 0;
    for (int i = 1; i <= n - 2; i++) {
      const double distance = step * i;
      while (span < nKeyFrames - 2 && cumulative[span + 1] < distance) span++;
      View view = binSearchView(span, distance - cumulative[span], kMetreScale);
      std::fprintf(stderr, "Dump frame %d\n", i);
      writeKeyFrame(fp, i, &view);
    }
    View last;
    retrieveFrame(nKeyFrames - 1, 0.0, &last);
    writeKeyFrame(fp, n - 1, &last);
    freeFunc(cumulative);
  }
  std::fclose(fp);
  std::fprintf(stderr, "finished\n");
  return 1;
}

int MovieRecord::outputVariableSpeedPath(const char* path, const double* speed, int doubleFrames) {
  int n = getNFrames();
  if (doubleFrames) n = 2 * n - 1;
  // Mean speed over each step between output frames.
  double* means = nullptr;
  double sum = 0.0;
  if (n > 1) {
    means = static_cast<double*>(allocFunc(sizeof(double) * static_cast<size_t>(n - 1)));
    if (!means) return -1;
    for (int i = 0; i < n - 1; i++) {
      means[i] = (speed[i] + speed[i + 1]) / 2.0;
      sum += means[i];
    }
  }
  std::fprintf(stderr, "saving script file [%s]...\n", path);
  FILE* fp = std::fopen(path, "w");
  if (!fp) {
    freeFunc(means);  // nothing is lost to a path that can't be written
    return -1;
  }
  writeHead(fp, n, true);
  if (keyFrames) writeKeyFrame(fp, 0, &keyFrames->view);
  if (nKeyFrames >= 2) {
    double* cumulative = cumulativeLengths(n);
    if (!cumulative) {
      freeFunc(means);
      std::fclose(fp);
      return -1;
    }
    const double total = cumulative[nKeyFrames - 1];
    // The steps add up to the path's length.
    for (int i = 0; i < n - 1; i++) means[i] = means[i] / sum * total;
    int span = 0;
    double distance = 0.0;
    for (int i = 1; i <= n - 2; i++) {
      distance += means[i - 1];
      while (span < nKeyFrames - 2 && cumulative[span + 1] < distance) span++;
      View view = binSearchView(span, distance - cumulative[span], kMetreScale);
      std::fprintf(stderr, "Dump frame %d (speed %f and length %e)\n", i, speed[i], means[i - 1]);
      writeKeyFrame(fp, i, &view);
    }
    View last;
    retrieveFrame(nKeyFrames - 1, 0.0, &last);
    writeKeyFrame(fp, n - 1, &last);
    freeFunc(cumulative);
  }
  freeFunc(means);
  std::fclose(fp);
  std::fprintf(stderr, "finished\n");
  return 1;
}
