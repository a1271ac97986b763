// The texts that name the data: the star parameter file, the texture list and data/SOURCES.md.
#pragma once

#include <string>

#include "skydata/hipcat.h"

namespace skydata {

std::string starParameterText();
std::string textureListText();
std::string sourcesText(const Catalog& cat);

}  // namespace skydata
