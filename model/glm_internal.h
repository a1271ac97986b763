// Helpers shared by the files of the model library; not part of its public set.
#pragma once

#include <cstddef>

#include "fileio/common.h"
#include "model/glm.h"

namespace glm_detail {

// ptrMalloc that ends the process with "Err: not enough memory!\n\n" (silently when quiet).
void* allocOrDie(size_t bytes, bool quiet = false);
// A zero-filled block from allocOrDie.
void* zallocOrDie(size_t bytes, bool quiet = false);
// Makes a group of that name with all counts and pointers zero, pushes it on the head of the
// model's groups and raises numgroups, without looking for one of the same name first: for a
// caller that has looked already. Returns the group, which the model owns.
_GLMgroup* pushNewGroup(_GLMmodel* model, const char* name);
// Sets every field of a material to its default.
void setMaterialDefaults(_GLMmaterial* material);

}  // namespace glm_detail
