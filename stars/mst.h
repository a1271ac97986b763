// Minimum spanning tree of a set of points: Prim's algorithm on the implicit complete graph in O(n)
// memory, and the text file that holds a tree. Knows nothing of stars.
//
// A tree of n points is an array of n - 1 edges, each two ints (vertex indices in 0..n-1) one after
// the other: edge k is (edges[2k], edges[2k + 1]). find_MST stores each edge as (the vertex it
// added to the tree, that vertex's neighbour already in the tree).
//
// The file is text: a first line "MST-FILE <n> points", then n - 1 lines "<a> <b>".
#pragma once

#include <cstddef>

// Sets the allocator pair through which the trees and the work arrays are taken and given back;
// it starts as malloc and free. Returns nothing, prints nothing.
void setAllocFunc_MST(void* (*allocFunc)(size_t), void (*freeFunc)(void*));

// Squared Euclidean distance of two points of dim coordinates (no square root: it only orders).
// distanceFunc3 is the same for dim 3, unrolled. Print nothing.
double distanceFunc(double* a, double* b, int dim);
double distanceFunc3(double* a, double* b);

// The minimum spanning tree of n points, given as n rows of dim doubles. Returns a new array of
// n - 1 edges from the allocator, which the caller owns and gives back through the freeing
// function; null when any array can't be had, or when there is no tree to find (points null,
// n below 2 or dim below 1). Prints nothing.
int* find_MST(double* points, int n, int dim);

// Writes the tree of n points (n - 1 edges) to the file at path. 1, or -1 after
// "Err (save_MST): opening file [<path>]\n" (or, for a write that fails or a tree that isn't one,
// another line beginning "Err (save_MST): ") on standard error. Never exits.
int save_MST(const char* path, int* edges, int n);

// Reads the tree file at path. Returns a new array of edges from the allocator, which the caller
// owns, and writes the number of points to *n; or null after a one-line message beginning
// "Err (load_MST): " on standard error, with *n untouched. A damaged file, however it is damaged,
// gives such a message: it neither hangs nor takes more memory than the file can fill. Never exits.
int* load_MST(const char* path, int* n);
