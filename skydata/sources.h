// The texts that name the data: the star parameter file, the texture list and data/SOURCES.md.
#pragma once

#include <string>

#include "skydata/hipcat.h"
#include "skydata/planets.h"

namespace skydata {

std::string starParameterText();
std::string textureListText();
// The sources of every output; `planets` are the planets written to the planet table.
std::string sourcesText(const Catalog& cat, const std::vector<PlanetRow>& planets);

}  // namespace skydata
