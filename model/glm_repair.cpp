// Spatial queries and mesh repairs of a model: inside test, shortest distance, welding,
// removal of redundant triangles and vertices, and the winding repair.
#include <cassert>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "coords/math3D.h"
#include "coords/randvar.h"
#include "model/glm.h"
#include "model/glm_internal.h"

namespace {

float* vtx(_GLMmodel* model, unsigned int i) {
  return model->vertices + 3 * static_cast<size_t>(i);
}

// Sort arrays hold triangle indices; after the triangles move they are made again at the next
// sorted draw.
void dropSortArrays(_GLMmodel* model) {
  for (_GLMgroup* g = model->groups; g; g = g->next) {
    if (g->sortKeys) ptrFree(g->sortKeys);
    if (g->sortedTriangles) ptrFree(g->sortedTriangles);
    g->sortKeys = nullptr;
    g->sortedTriangles = nullptr;
  }
}

void resizeVertices(_GLMmodel* model, unsigned int count) {
  auto* fresh =
      static_cast<float*>(glm_detail::allocOrDie(sizeof(float) * 3 * (static_cast<size_t>(count) + 1)));
  memcpy(fresh, model->vertices, sizeof(float) * 3 * (static_cast<size_t>(count) + 1));
  ptrFree(model->vertices);
  model->vertices = fresh;
  model->numvertices = count;
}

void swapCorners23(_GLMmodel* model, _GLMtriangle& t) {
  std::swap(t.vindices[1], t.vindices[2]);
  if (model->normals) std::swap(t.nindices[1], t.nindices[2]);
  if (model->texcoords) std::swap(t.tindices[1], t.tindices[2]);
}

}  // namespace

int glmInsideTest(_GLMmodel* model, const float* testPoint) {
  assert(model);
  assert(model->vertices);
  assert(model->triangles);
  assert(testPoint);
  double dir[3];
  do {
    for (int k = 0; k < 3; k++) dir[k] = uniformRV() - 0.5;
  } while (!unify3D(dir));
  double origin[3] = {testPoint[0], testPoint[1], testPoint[2]};
  unsigned int count = 0;
  for (unsigned int i = 0; i < model->numtriangles; i++) {
    const _GLMtriangle& t = model->triangles[i];
    double c[3][3];
    for (int k = 0; k < 3; k++)
      for (int j = 0; j < 3; j++) c[k][j] = vtx(model, t.vindices[k])[j];
    double hit[3], normal[3];
    if (hitTriangle(c[0], c[1], c[2], origin, dir, hit, normal) > 1e-7) count++;
  }
  return count % 2 == 1 ? 1 : 0;
}

float glmMinDistSegment(const float* a, const float* b, const float* m, const float* q) {
  float e[3], qa[3], qb[3];
  glmMinus(b, a, e);
  glmMinus(q, a, qa);
  glmMinus(q, b, qb);
  if (glmDot(e, qa) <= 0) return glmLength(qa);
  if (glmDot(e, qb) >= 0) return glmLength(qb);
  return glmAbs(glmDot(qa, m));
}

float glmMinDistTriangle(const float* p, const float* a, const float* b, const float* c,
                         const float* normal) {
  float n[3], pa[3], q[3];
  glmCopy(n, normal);
  glmNormalize(n);
  glmMinus(p, a, pa);
  float h = glmDot(pa, n);
  glmAddMul(p, -h, n, q);

  // Each edge (from, to) with the opposite corner: q outside the edge when the opposite corner
  // and q lie on different sides of it.
  const float* edges[3][3] = {{a, b, c}, {b, c, a}, {c, a, b}};
  for (auto& edge : edges) {
    const float *from = edge[0], *to = edge[1], *opposite = edge[2];
    float e[3], m[3], oc[3], qc[3];
    glmMinus(to, from, e);
    glmCross(n, e, m);
    glmNormalize(m);
    glmMinus(opposite, to, oc);
    glmMinus(q, to, qc);
    if (glmDot(m, oc) * glmDot(m, qc) < 0) {
      float d = glmMinDistSegment(from, to, m, q);
      return std::sqrt(d * d + h * h);
    }
  }
  return glmAbs(h);
}

float glmShortestDist(_GLMmodel* model, const float* testPoint) {
  assert(model);
  assert(model->vertices);
  assert(model->triangles);
  assert(testPoint);
  if (!model->facetnorms) glmFacetNormals(model);
  float best = 3.4028235e38f;
  for (unsigned int i = 0; i < model->numtriangles; i++) {
    const _GLMtriangle& t = model->triangles[i];
    unsigned int f = t.findex <= model->numfacetnorms ? t.findex : 0;
    float d = glmMinDistTriangle(testPoint, vtx(model, t.vindices[0]), vtx(model, t.vindices[1]),
                                 vtx(model, t.vindices[2]), model->facetnorms + 3 * static_cast<size_t>(f));
    if (d < best) best = d;
  }
  return best;
}

void glmWeld(_GLMmodel* model, float epsilon) {
  assert(model);
  assert(model->vertices);
  // glmWeldVectors: each vertex against the unique ones found so far, first match wins.
  std::vector<unsigned int> map(static_cast<size_t>(model->numvertices) + 1, 0);
  unsigned int unique = 0;
  for (unsigned int i = 1; i <= model->numvertices; i++) {
    unsigned int found = 0;
    for (unsigned int j = 1; j <= unique && !found; j++)
      if (glmEqual(vtx(model, i), vtx(model, j), epsilon)) found = j;
    if (!found) {
      found = ++unique;
      glmCopy(vtx(model, found), vtx(model, i));  // j <= i, so the slot is already read
    }
    map[i] = found;
  }
  for (unsigned int i = 0; i < model->numtriangles; i++)
    for (int k = 0; k < 3; k++) model->triangles[i].vindices[k] = map[model->triangles[i].vindices[k]];
  resizeVertices(model, unique);
}

unsigned int glmRemoveRedundantTri(_GLMmodel* model) {
  assert(model);
  auto redundant = [&](const _GLMtriangle& t) {
    const unsigned int* v = t.vindices;
    if (v[0] == v[1] || v[1] == v[2] || v[2] == v[0]) return true;
    for (int k = 0; k < 3; k++)
      if (glmDist(vtx(model, v[k]), vtx(model, v[(k + 1) % 3])) < 1e-7f) return true;
    return false;
  };

  std::vector<char> used(model->numtriangles, 0);
  for (_GLMgroup* g = model->groups; g; g = g->next) {
    unsigned int kept = 0;
    for (unsigned int i = 0; i < g->numtriangles; i++) {
      unsigned int tri = g->triangles[i];
      if (redundant(model->triangles[tri])) continue;
      g->triangles[kept++] = tri;
      used[tri] = 1;
    }
    g->numtriangles = kept;
  }

  std::vector<unsigned int> newIndex(model->numtriangles, 0);
  unsigned int kept = 0;
  for (unsigned int i = 0; i < model->numtriangles; i++) {
    if (!used[i]) continue;
    newIndex[i] = kept;
    if (kept != i) model->triangles[kept] = model->triangles[i];
    kept++;
  }
  unsigned int removed = model->numtriangles - kept;
  if (removed) {
    for (_GLMgroup* g = model->groups; g; g = g->next)
      for (unsigned int i = 0; i < g->numtriangles; i++) g->triangles[i] = newIndex[g->triangles[i]];
    dropSortArrays(model);
  }
  model->numtriangles = kept;
  return removed;
}

unsigned int glmRemoveRedundantVertex(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  unsigned int n = model->numvertices;
  if (n == 0) return 0;
  std::vector<unsigned int> target(static_cast<size_t>(n) + 1);
  std::vector<char> kept(static_cast<size_t>(n) + 1, 0);
  for (unsigned int i = 0; i <= n; i++) target[i] = i;
  kept[1] = 1;
  for (unsigned int i = 2; i <= n; i++) {
    kept[i] = 1;
    for (unsigned int j = 1; j < i; j++)
      if (kept[j] && glmEqual(vtx(model, i), vtx(model, j), 1e-7f)) {
        kept[i] = 0;
        target[i] = j;  // mapVID: triangles of i now use j
        break;
      }
  }
  for (unsigned int t = 0; t < model->numtriangles; t++)
    for (int k = 0; k < 3; k++) {
      unsigned int& v = model->triangles[t].vindices[k];
      v = target[v];
    }

  std::vector<char> used(static_cast<size_t>(n) + 1, 0);
  for (unsigned int t = 0; t < model->numtriangles; t++)
    for (int k = 0; k < 3; k++) used[model->triangles[t].vindices[k]] = 1;

  std::vector<unsigned int> moved(static_cast<size_t>(n) + 1, 0);
  unsigned int count = 0;
  for (unsigned int i = 1; i <= n; i++) {
    if (!kept[i] || !used[i]) continue;
    moved[i] = ++count;
    if (count != i) glmCopy(vtx(model, count), vtx(model, i));
  }
  for (unsigned int t = 0; t < model->numtriangles; t++)
    for (int k = 0; k < 3; k++) {
      unsigned int& v = model->triangles[t].vindices[k];
      v = moved[v];
    }
  unsigned int removed = n - count;
  model->numvertices = count;
  return removed;
}

void glmFixOrder(_GLMmodel* model) {
  assert(model);
  assert(model->vertices);
  unsigned int nt = model->numtriangles;
  std::vector<unsigned int> marks(nt, 0);

  // fixOrderKernel, with an explicit stack in place of the recursion so that a large piece can't
  // exhaust the call stack; frames run in the order the recursion would run them.
  struct Frame {
    unsigned int p, q, scan;
  };
  auto flood = [&](unsigned int p0, unsigned int q0, unsigned int piece) {
    std::vector<Frame> stack{{p0, q0, 0}};
    while (!stack.empty()) {
      Frame& f = stack.back();
      unsigned int found = nt;
      for (unsigned int j = f.scan; j < nt; j++) {
        if (marks[j]) continue;
        const unsigned int* v = model->triangles[j].vindices;
        bool hasP = v[0] == f.p || v[1] == f.p || v[2] == f.p;
        bool hasQ = v[0] == f.q || v[1] == f.q || v[2] == f.q;
        if (hasP && hasQ && f.p != f.q) {
          found = j;
          break;
        }
      }
      if (found == nt) {
        stack.pop_back();
        continue;
      }
      f.scan = found + 1;
      unsigned int p = f.p, q = f.q;
      _GLMtriangle& t = model->triangles[found];
      int ip = t.vindices[0] == p ? 0 : t.vindices[1] == p ? 1 : 2;
      if (t.vindices[(ip + 1) % 3] != q) swapCorners23(model, t);  // q was followed by p
      unsigned int r = t.vindices[0];
      for (int k = 0; k < 3; k++)
        if (t.vindices[k] != p && t.vindices[k] != q) r = t.vindices[k];
      marks[found] = piece;
      stack.push_back({p, r, 0});  // runs second
      stack.push_back({r, q, 0});  // runs first
    }
  };

  unsigned int piece = 1;
  for (unsigned int start = 0; start < nt; start++) {
    if (marks[start]) continue;  // the scan for the next unmarked triangle ends with the array
    const unsigned int* v = model->triangles[start].vindices;
    unsigned int a = v[0], b = v[1], c = v[2];
    marks[start] = piece;
    flood(b, a, piece);
    flood(c, b, piece);
    flood(a, c, piece);

    float centre[3] = {0, 0, 0};
    unsigned int corners = 0;
    for (unsigned int i = 0; i < nt; i++) {
      if (marks[i] != piece) continue;
      for (int k = 0; k < 3; k++) glmAdd(centre, vtx(model, model->triangles[i].vindices[k]), centre);
      corners += 3;
    }
    glmMult(centre, 1.0f / corners);
    float sum = 0;
    for (unsigned int i = 0; i < nt; i++) {
      if (marks[i] != piece) continue;
      const unsigned int* w = model->triangles[i].vindices;
      float e1[3], e2[3], cross[3], out[3];
      glmMinus(vtx(model, w[1]), vtx(model, w[0]), e1);
      glmMinus(vtx(model, w[2]), vtx(model, w[1]), e2);
      glmCross(e1, e2, cross);
      float area = glmLength(cross) / 2.0f;
      glmMinus(vtx(model, w[0]), centre, out);
      glmNormalize(out);
      glmNormalize(cross);
      float s = glmDot(out, cross);
      if (s > 1e-7f) sum += area;
      if (s < -1e-7f) sum -= area;
    }
    if (sum < 0)
      for (unsigned int i = 0; i < nt; i++)
        if (marks[i] == piece) swapCorners23(model, model->triangles[i]);
    piece++;
  }
}
